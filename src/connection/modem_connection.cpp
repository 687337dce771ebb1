#include "connection/modem_connection.h"

#include "base/text.h"
#include "link/port_name.h"

namespace tavro {

ModemConnection::ModemConnection(clsCOMM& comm, AtExchange& exchange, ErrorState& errors, LogHandling& log,
                                 Settings& settings, ConnectionState& state, PinCheck& pin, Registration& registration,
                                 MessageMemory& memory, ModemInitialisation& initialisation)
    : comm_(comm),
      exchange_(exchange),
      errors_(errors),
      log_(log),
      settings_(settings),
      state_(state),
      pin_(pin),
      registration_(registration),
      memory_(memory),
      initialisation_(initialisation) {
  exchange_.SetReconnect([this] {
    if (!connecting_) ConnectModem();
  });
}

bool ModemConnection::IsConnected() const { return comm_.IsOpen(settings_.portNumber); }

void ModemConnection::ResetConnectionState() {
  state_ = {};
  exchange_.ForgetTimeOuts();
}

bool ModemConnection::ConnectModem() {
  if (IsConnected()) return true;
  if (!ParsePortName(settings_.port)) {
    errors_.SetError(kCannotFindComPort);
    return false;
  }
  ResetConnectionState();
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
  // A line that cannot be set, as on a pseudo-terminal, is no obstacle.
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineRts, 1);
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineDtr, 1);
  exchange_.Purge();
  if (!VerifyModem()) {
    errors_.ClearError();
    return FailWith(kModemNotFound);
  }
  initialisation_.WakeIfAsleep();
  if (!pin_.CheckPIN()) {
    errors_.ClearError();
    return FailWith(pin_.Error());
  }
  if (!initialisation_.InitializeModem()) return FailWith(errors_.Last());
  if (!registration_.EnsureRegistered()) {
    errors_.ClearError();
    return FailWith(registration_.Error());
  }
  if (!CheckPDUSupport() || !state_.pduSupported) return FailWith(kConnectNoPduMode);
  initialisation_.DisableNewMessageIndications();
  RestoreMessageMemory();
  return true;
}

// Closes the port and raises the error, or the port's own where there is none.
bool ModemConnection::FailWith(const PendingError& error) {
  if (error) errors_.SetError(error);
  if (!errors_.IsPending()) errors_.SetError(kSerialPortError, comm_.ErrorText());
  DisconnectModem();
  return false;
}

bool ModemConnection::VerifyModem() {
  log_.WriteLog("Verifying if port connected");
  if (!IsConnected()) {
    log_.WriteLog("Port is not connected");
    return false;
  }
  log_.WriteLog("Port is connected");
  log_.WriteLog("Verifying if modem is connected");
  const bool present = Contains(exchange_.CheckCommandResponse("AT\r"), "OK");
  log_.WriteLog(present ? "Modem is connected" : "Modem is not connected");
  return present;
}

bool ModemConnection::CheckPDUSupport() {
  if (state_.pduSupportChecked) return true;
  log_.WriteLog("Setting PDU mode in GSM modem");
  const std::string answer = exchange_.CheckCommandResponse("AT+CMGF=0\r");
  if (errors_.IsPending() || answer.empty()) return false;
  state_.pduSupportChecked = true;
  state_.pduSupported = IsGoodResponse(answer);
  return true;
}

void ModemConnection::RestoreMessageMemory() {
  // Reading and deleting select it again; a connection does not fail for it.
  if (!memory_.SelectMessageMemory(settings_.messageMemory)) errors_.Warn(kMessageMemoryNotSupported);
}

bool ModemConnection::EnsureConnection() { return IsConnected() ? VerifyConnection() : ConnectModem(); }

bool ModemConnection::VerifyConnection() {
  log_.WriteLog("Verifying connection");
  if (Contains(exchange_.CheckCommandResponse("AT\r"), "OK")) {
    log_.WriteLog("Connection verified OK");
    return true;
  }
  errors_.SetError(kConnectionVerificationFailed);
  DisconnectModem();
  return false;
}

bool ModemConnection::ClosePort() {
  if (!IsConnected()) return true;
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineDtr, 0);
  comm_.CommSetLine(settings_.portNumber, clsCOMM::kLineRts, 0);
  return comm_.CommClose(settings_.portNumber) == 0;
}

bool ModemConnection::DisconnectModem() {
  if (ClosePort()) return true;
  errors_.SetError(kCannotCloseComPort);
  return false;
}

}  // namespace tavro
