#include "connection/modem_connection.h"

#include <algorithm>
#include <utility>

#include "base/restored.h"
#include "base/text.h"
#include "link/port_name.h"

namespace tavro {

namespace {

constexpr std::int32_t kWakeTimeout = 2000;  // ms for each answer of a modem that may be asleep
constexpr int kWakeAttempts = 3;
constexpr std::uint32_t kWakeInterval = 500;  // ms between the further ones
// A modem that restarts: until it has begun to, how often it is looked for, and how long, in milliseconds.
constexpr std::int32_t kRestartAnswerLimit = 5000;
constexpr std::uint32_t kRestartPause = 5000, kRestartInterval = 2000, kRestartLimit = 60000;

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
      [this] { DisconnectModem(); }, [this] { Recover(); });
}

bool ModemConnection::IsConnected() const { return comm_.IsOpen(settings_.portNumber); }

void ModemConnection::ResetConnectionState() {
  hasRestarted_ = false;
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
  isBrokenOff_ = true;  // unless it comes to its end
  if (comm_.CommOpen(settings_.portNumber, device, mode) != 0) {
    isBrokenOff_ = false;
    return FailWith({kSerialPortError, comm_.ErrorText()});
  }
  const bool connected = RunConnectSteps();
  isBrokenOff_ = false;
  if (connected) log_.WriteLog("Port " + settings_.port + " opened [" + mode + "]");
  return connected;
}

void ModemConnection::BeginCall() {
  if (isBrokenOff_) BreakOff();
  useBefore_ = exchange_.UseCount();
  NoticeLoss();
}

// Nobody knows what the modem waits for, or what it said that was lost.
void ModemConnection::BreakOff() {
  isBrokenOff_ = isBrokenOff_ || exchange_.UseCount() != useBefore_;
  if (!isBrokenOff_) return;
  exchange_.AllowRepeating(true);
  if (IsConnected()) {
    log_.WriteLog("Breaking off the connection");
    exchange_.CancelInput();
    ClosePort();
  }
  isBrokenOff_ = false;
}

void ModemConnection::NoticeLoss() {
  if (!manner_.noticesLoss) return;
  const bool isGone = comm_.IsGone(settings_.portNumber);
  if (!isGone && !hasRestarted_) return;
  log_.WriteLog(isGone ? "The device is gone" : "The modem has restarted");
  ClosePort();
}

void ModemConnection::Take(std::string_view line) {
  const std::string capitals = Upper(line);
  if (!connecting_ && (capitals == "RDY" || capitals.starts_with("^SYSSTART"))) hasRestarted_ = true;
}

void ModemConnection::Recover() {
  const Settings::Recovery& allowed = settings_.recovery;
  if (!allowed.IsAllowed() || connecting_ || !exchange_.IsUnanswered() || !IsConnected()) return;
  if (exchange_.Resynchronise()) return;
  log_.WriteLog("The modem does not answer");
  const bool isBack = [&] {
    const Restored connecting(connecting_, true);
    exchange_.AllowRepeating(false);
    return (allowed.repeats && WakeModem() && ConnectAgain()) || (allowed.restarts && IsConnected() && Restart()) ||
           (allowed.reopens && Reopen());
  }();
  exchange_.AllowRepeating(true);
  if (isBack) return errors_.ClearError();
  ClosePort();
  errors_.SetError(kCannotSendCommand);  // unless connecting raised its own error
}

bool ModemConnection::Restart() {
  log_.WriteLog("Restarting the modem");
  if (exchange_.Write("AT+CFUN=1,1\r")) {
    exchange_.AwaitAnswer(1, std::min(settings_.timeout, kRestartAnswerLimit), [](const std::string&) { return true; });
  }
  platform_.Sleep(kRestartPause);
  const std::uint32_t start = platform_.TickCount();
  // A PIN that was refused is not for another attempt.
  while (platform_.TickCount() - start < kRestartLimit && !platform_.IsInterrupted() && !errors_.CallEnd()) {
    platform_.Sleep(kRestartInterval);
    NoticeLoss();
    // The device of some is away meanwhile.
    if (IsConnected() ? WakeModem() && ConnectAgain() : ConnectModem()) return true;
    errors_.ClearError();
  }
  return false;
}

bool ModemConnection::Reopen() { return ClosePort() && ConnectModem(); }

// The same on a port that is open.
bool ModemConnection::ConnectAgain() {
  ResetConnectionState();
  ++count_;
  return RunConnectSteps();
}

bool ModemConnection::RunConnectSteps() {
  const Restored connecting(connecting_, true);
  exchange_.AllowRepeating(false);
  const bool connected = Connect();
  exchange_.AllowRepeating(!connecting.Before());
  return connected;
}

bool ModemConnection::Connect() {
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
  // For the next time: it may be at the prompt of a message that was broken off, have the rest of a command in its
  // buffer, or give its results as numbers.
  if (!present && !manner_.wakesModem && IsConnected()) {
    exchange_.CancelInput();
    exchange_.Write("ATV1\r");
  }
  log_.WriteLog(present ? "Modem is connected" : "Modem is not connected");
  return present;
}

// Whether the modem answers within Timeout. It may be starting, at the prompt of a message that was broken off, have
// the rest of a command in its buffer, or give its result codes as numbers.
bool ModemConnection::WakeModem() {
  const WholeSecondWait wait(platform_, settings_.timeout);
  const Restored timeout(settings_.timeout, std::min(settings_.timeout, kWakeTimeout));
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
  if (present && (!atOnce || exchange_.MayHearEarlierAnswers())) present = exchange_.Resynchronise();
  if (present && exchange_.HasNumericResults()) answers("ATV1\r");
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
