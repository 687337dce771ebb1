#include "connection/modem_connection.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "link/port_name.h"

namespace tavro {

namespace {

constexpr std::int32_t kWakeTimeout = 2000;  // ms for each answer of a modem that may be asleep
constexpr int kWakeAttempts = 3;
constexpr std::uint32_t kWakeInterval = 500;  // ms between the further ones

}  // namespace

ModemConnection::ModemConnection(const DialogueContext& dialogue, clsCOMM& comm, PinCheck& pin,
                                 Registration& registration, MessageMemory& memory, ModemInitialisation& initialisation)
    : DialoguePart(dialogue),
      comm_(comm),
      pin_(pin),
      registration_(registration),
      memory_(memory),
      initialisation_(initialisation) {
  exchange_.SetConnection(
      [this] {
        if (!connecting_) ConnectModem();
      },
      [this] { DisconnectModem(); });
}

bool ModemConnection::IsConnected() const { return comm_.IsOpen(settings_.portNumber); }

void ModemConnection::ResetConnectionState() {
  state_ = {};
  exchange_.Reset();
}

bool ModemConnection::ConnectModem() {
  if (IsConnected()) return true;
  if (const PendingError& refusal = pin_.Refusal()) {
    errors_.SetError(refusal);
    return false;
  }
  if (!ParsePortName(settings_.port)) {
    errors_.SetError(kCannotFindComPort);
    return false;
  }
  ResetConnectionState();
  ++count_;
  const std::string mode = "baud=" + std::to_string(settings_.baudRate) + " parity=" + settings_.parity +
                           " data=" + std::to_string(settings_.dataBits) + " stop=" + settings_.stopBits;
  log_.WriteLog("Opening port " + settings_.port + " [" + mode + "]");
  // Named by its number, so that every spelling that Port accepts ("COM007") finds the device.
  std::string device = "COM" + std::to_string(settings_.portNumber);
  if (comm_.CommOpen(settings_.portNumber, device, mode) != 0) return FailWith({kSerialPortError, comm_.ErrorText()});

  connecting_ = true;
  const bool connected = RunConnectSteps();
  connecting_ = false;
  if (connected) log_.WriteLog("Port " + settings_.port + " opened [" + mode + "]");
  return connected;
}

bool ModemConnection::RunConnectSteps() {
  RaiseLines();
  exchange_.Purge();
  if (!VerifyModem()) return DropAndFailWith(kModemNotFound);
  initialisation_.WakeIfAsleep();
  if (!pin_.CheckPIN()) return DropAndFailWith(pin_.Error());
  if (!initialisation_.InitializeModem()) {
    DropLines();
    return FailWith(errors_.Last());
  }
  if (!registration_.EnsureRegistered()) return DropAndFailWith(registration_.Error());
  if (!CheckPDUSupport() || !state_.pduSupported) return FailWith(kConnectNoPduMode);
  initialisation_.DisableNewMessageIndications();
  RestoreMessageMemory();
  // What failed since was no reason to give up, but a device that is gone is.
  return IsConnected() || FailWith(kCannotSendCommand);
}

// Raises the error, or the port's own where there is none, and closes the port.
bool ModemConnection::FailWith(const PendingError& error) {
  const std::string portError = comm_.ErrorText();
  if (error) errors_.SetError(error);
  DisconnectModem();
  if (!errors_.IsPending()) errors_.SetError(kSerialPortError, portError);
  return false;
}

bool ModemConnection::DropAndFailWith(const PendingError& error) {
  DropLines();
  errors_.ClearError();
  return FailWith(error);
}

// A line that cannot be set, as on a pseudo-terminal, is no obstacle.
void ModemConnection::RaiseLines() {
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineRts, 1);
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineDtr, 1);
}

void ModemConnection::DropLines() {
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineDtr, 0);
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineRts, 0);
}

bool ModemConnection::VerifyModem() {
  log_.WriteLog("Verifying if port connected");
  if (!IsConnected()) {
    log_.WriteLog("Port is not connected");
    return false;
  }
  log_.WriteLog("Port is connected");
  log_.WriteLog("Verifying if modem is connected");
  const bool present = manner_.wakesModem ? WakeModem() : exchange_.CheckCommandResponse("AT\r").HoldsOk();
  log_.WriteLog(present ? "Modem is connected" : "Modem is not connected");
  return present;
}

// Whether the modem answers within Timeout. It may be starting, at the prompt of a message that was broken off, have
// the rest of a command in its buffer, or give its result codes as numbers.
bool ModemConnection::WakeModem() {
  const WholeSecondWait wait(platform_, settings_.timeout);
  const std::int32_t timeout = std::exchange(settings_.timeout, std::min(settings_.timeout, kWakeTimeout));
  const auto answers = [this](const char* command) {
    exchange_.ForgetUnanswered();
    return exchange_.SendCommand(command).HoldsOk();
  };
  bool present = answers("AT\r");
  const bool atOnce = present;
  for (int attempt = 2; !present && IsConnected() && (attempt <= kWakeAttempts || !wait.IsOver()); ++attempt) {
    if (attempt == 2) {
      exchange_.CancelInput();
      exchange_.Write("\r");
    } else if (attempt == 3) {
      answers("ATV1\r");
      answers("ATE0\r");
    } else {
      platform_.Sleep(kWakeInterval);  // it answers, but not with OK
    }
    present = answers("AT\r");
  }
  if (present && !atOnce) exchange_.Resynchronise();
  if (present && exchange_.HasNumericResults()) answers("ATV1\r");
  settings_.timeout = timeout;
  errors_.ClearError();
  return present;
}

bool ModemConnection::CheckPDUSupport() {
  if (state_.pduSupportChecked) return true;
  log_.WriteLog("Setting PDU mode in GSM modem");
  const Answer answer = exchange_.CheckCommandResponse("AT+CMGF=0\r");
  if (errors_.IsPending() || answer.IsEmpty()) return false;
  state_.pduSupportChecked = true;
  state_.pduSupported = answer.IsGood();
  return true;
}

// Reading and deleting select it again; a connection does not fail for it, and nothing is raised.
void ModemConnection::RestoreMessageMemory() {
  if (!memory_.SelectMessageMemory(settings_.messageMemory)) errors_.ClearError();
}

bool ModemConnection::EnsureConnection() { return IsConnected() ? VerifyConnection() : ConnectModem(); }

bool ModemConnection::VerifyConnection() {
  log_.WriteLog("Verifying connection");
  if (exchange_.CheckCommandResponse("AT\r").HoldsOk()) {
    log_.WriteLog("Connection verified OK");
    return true;
  }
  errors_.SetError(kConnectionVerificationFailed);
  DisconnectModem();
  return false;
}

bool ModemConnection::ClosePort() {
  if (!IsConnected()) return true;
  DropLines();
  return comm_.CommClose(settings_.portNumber) == 0;
}

bool ModemConnection::DisconnectModem() {
  if (ClosePort()) return true;
  errors_.SetError(kCannotCloseComPort);
  return false;
}

}  // namespace tavro
