// The settings of the SMS object: each setter validates, stores and logs. A rejected value leaves the old one.
#include <algorithm>
#include <iterator>
#include <utility>

#include "base/text.h"
#include "facade/sms_state.h"
#include "link/port_name.h"
#include "outgoing/encodings.h"
#include "outgoing/validity_period.h"

namespace tavro {

namespace {

constexpr std::int32_t kBaudRates[] = {110,   300,   1200,  2400,   4800,   9600,   14400,
                                       19200, 38400, 57600, 115200, 230400, 460800, 921600};
constexpr std::string_view kParities[] = {"NONE", "N", "ODD", "O", "EVEN", "E", "MARK", "M", "SPACE", "S"};
constexpr std::string_view kStopBits[] = {"1", "1.5", "2"};

template <typename T, typename Value>
bool IsOneOf(const T& list, const Value& value) {
  return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

template <typename T>
bool InRange(T value, T low, T high) {
  return value >= low && value <= high;
}

}  // namespace

// --- Serial port -----------------------------------------------------------------------------------------------------

std::u16string SMS::Port() {
  return state_->Run([&](const auto& gsm) { return state_->Text(gsm->settings.port); });
}

void SMS::SetPort(const std::u16string& port) {
  state_->Run([&](const auto& gsm) {
    const std::string name = Upper(Trim(state_->Bytes(port)));
    if (state_->IsPortLocked(gsm)) return;
    const auto number = ParsePortName(name);
    if (!number || !InRange(*number, 1, clsCOMM::kMaxPort)) return gsm->errors.SetError(kInvalidComPort);
    if (name != gsm->settings.port) {
      gsm->ForgetModem();
      state_->ReplaceInbox();
    }
    gsm->settings.port = name;
    gsm->settings.portNumber = *number;
    gsm->log.WriteLog("Port: " + name);
  });
}

std::int32_t SMS::BaudRate() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.baudRate; });
}

void SMS::SetBaudRate(std::int32_t baudRate) {
  state_->Run([&](const auto& gsm) {
    if (state_->IsPortLocked(gsm)) return;
    if (!IsOneOf(kBaudRates, baudRate)) return gsm->errors.SetError(kInvalidBaudRate);
    gsm->settings.baudRate = baudRate;
    gsm->log.WriteLog("BaudRate: " + std::to_string(baudRate));
  });
}

std::u16string SMS::Parity() {
  return state_->Run([&](const auto& gsm) { return state_->Text(gsm->settings.parity); });
}

void SMS::SetParity(const std::u16string& parity) {
  state_->Run([&](const auto& gsm) {
    if (state_->IsPortLocked(gsm)) return;
    const std::string name = Upper(Trim(state_->Bytes(parity)));
    if (!IsOneOf(kParities, name)) return gsm->errors.SetError(kInvalidParity);
    gsm->settings.parity = name.substr(0, 1);
    gsm->log.WriteLog("Parity: " + gsm->settings.parity);
  });
}

std::int16_t SMS::DataBits() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.dataBits; });
}

void SMS::SetDataBits(std::int16_t dataBits) {
  state_->Run([&](const auto& gsm) {
    if (state_->IsPortLocked(gsm)) return;
    if (!InRange<int>(dataBits, 4, 8)) return gsm->errors.SetError(kInvalidDataBits);
    gsm->settings.dataBits = dataBits;
    gsm->log.WriteLog("DataBits: " + std::to_string(dataBits));
  });
}

std::u16string SMS::StopBits() {
  return state_->Run([&](const auto& gsm) { return state_->Text(gsm->settings.stopBits); });
}

void SMS::SetStopBits(const std::u16string& stopBits) {
  state_->Run([&](const auto& gsm) {
    if (state_->IsPortLocked(gsm)) return;
    const std::string name = state_->Bytes(stopBits);
    if (!IsOneOf(kStopBits, name)) return gsm->errors.SetError(kInvalidStopBits);
    gsm->settings.stopBits = name;
    gsm->log.WriteLog("StopBits: " + name);
  });
}

// --- Exchange with the modem -----------------------------------------------------------------------------------------

std::int32_t SMS::Timeout() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.timeout; });
}

void SMS::SetTimeout(std::int32_t milliseconds) {
  state_->Run([&](const auto& gsm) {
    gsm->log.WriteLog("Set communication timeout = " + std::to_string(milliseconds) + " milliseconds");
    if (!InRange(milliseconds, 1, 60000)) return gsm->errors.SetError(kInvalidTimeout);
    gsm->settings.timeout = milliseconds;
    gsm->log.WriteLog("Timeout: " + std::to_string(milliseconds) + "ms");
  });
}

std::int32_t SMS::ModemCommandDelay() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.modemCommandDelay; });
}

void SMS::SetModemCommandDelay(std::int32_t milliseconds) {
  state_->Run([&](const auto& gsm) {
    if (!InRange(milliseconds, 50, 5000)) return gsm->errors.SetError(kInvalidModemCommandDelay);
    gsm->settings.modemCommandDelay = gsm->settings.pauses.command = milliseconds;
  });
}

std::u16string SMS::ModemInitString() {
  return state_->Run([&](const auto& gsm) { return state_->Text(gsm->settings.modemInitString); });
}

void SMS::SetModemInitString(const std::u16string& command) {
  state_->Run([&](const auto& gsm) {
    std::string text = state_->Bytes(command);
    if (!gsm->Takes(text)) return gsm->errors.SetError(kInvalidCommand);
    gsm->settings.modemInitString = std::move(text);
  });
}

// --- SIM -------------------------------------------------------------------------------------------------------------

void SMS::SetPIN(const std::u16string& pin) {
  state_->Run([&](const auto& gsm) {
    gsm->settings.pin = state_->Bytes(pin);
    gsm->pin.Forget();
    gsm->log.WriteLog("PIN: " + gsm->log.Secret(gsm->settings.pin));
  });
}

bool SMS::DisableCheckPIN() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.disableCheckPin; });
}

void SMS::SetDisableCheckPIN(bool disable) {
  state_->Run([&](const auto& gsm) {
    gsm->settings.disableCheckPin = disable;
    gsm->log.WriteLog(disable ? "Disable PIN status check" : "Enable PIN status check");
  });
}

std::int32_t SMS::DelayAfterPin() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.delayAfterPin; });
}

void SMS::SetDelayAfterPin(std::int32_t milliseconds) {
  state_->Run([&](const auto& gsm) {
    if (!InRange(milliseconds, 1, 60000)) return gsm->errors.SetError(kInvalidDelayAfterPin);
    gsm->settings.delayAfterPin = gsm->settings.pauses.afterPin = milliseconds;
  });
}

// --- Sending ---------------------------------------------------------------------------------------------------------

std::int16_t SMS::LongMessage() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.longMessage; });
}

void SMS::SetLongMessage(std::int16_t action) {
  state_->Run([&](const auto& gsm) {
    if (!InRange<int>(action, MessageTruncate, MessageConcatenate)) return gsm->errors.SetError(kInvalidLongMessage);
    gsm->settings.longMessage = action;
  });
}

std::int32_t SMS::SendDelay() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.sendDelay; });
}

void SMS::SetSendDelay(std::int32_t milliseconds) {
  state_->Run([&](const auto& gsm) {
    if (!InRange(milliseconds, 1, 30000)) return gsm->errors.SetError(kInvalidSendDelay);
    gsm->settings.sendDelay = gsm->settings.pauses.send = milliseconds;
    gsm->log.WriteLog("Send Delay: " + std::to_string(milliseconds) + "ms");
  });
}

std::int16_t SMS::SendRetry() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.sendRetry; });
}

void SMS::SetSendRetry(std::int16_t retries) {
  state_->Run([&](const auto& gsm) {
    if (!InRange<int>(retries, 0, 10)) return gsm->errors.SetError(kInvalidSendRetry);
    gsm->settings.sendRetry = retries;
    gsm->log.WriteLog("Send Retry: " + std::to_string(retries));
  });
}

std::int16_t SMS::Character() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.character; });
}

void SMS::SetCharacter(std::int16_t coding) {
  state_->Run([&](const auto& gsm) {
    const auto bits = CodingOf(coding);
    if (!bits) return gsm->errors.SetError(kInvalidCharacter);
    gsm->settings.character = *bits;
    gsm->log.WriteLog("Encoding: " + std::to_string(gsm->settings.character) + "-Bit");
  });
}

std::u16string SMS::Validity() {
  return state_->Run([&](const auto& gsm) {
    if (!gsm->registration.EnsureRegistered()) {
      gsm->errors.SetError(gsm->registration.Error());
      gsm->settings.validityPeriodValue = kDefaultValidityPeriod;  // a failed read resets the setting; it is meant
    }
    return state_->Text(DecodeValidityPeriod(gsm->settings.validityPeriodValue));
  });
}

void SMS::SetValidity(const std::u16string& validity) {
  state_->Run([&](const auto& gsm) {
    const std::string text = state_->Bytes(validity);
    gsm->log.WriteLog("Setting validity period as " + text);
    const auto octet = EncodeValidityPeriod(text);
    if (!octet) return gsm->errors.SetError(kCannotSetValidity);
    gsm->settings.validityPeriodValue = *octet;
  });
}

bool SMS::StatusReport() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.statusReportRequested; });
}

void SMS::SetStatusReport(bool wanted) {
  state_->Run([&](const auto& gsm) {
    gsm->settings.statusReportRequested = wanted;
    gsm->log.WriteLog(wanted ? "Enable status reports" : "Disable status reports");
  });
}

// --- Log and errors --------------------------------------------------------------------------------------------------

bool SMS::DebugMode() {
  return state_->Run([&](const auto& gsm) { return gsm->settings.debugMode; });
}

void SMS::SetDebugMode(bool debug) {
  state_->Run([&](const auto& gsm) { gsm->settings.debugMode = debug; });
}

std::int16_t SMS::LogType() {
  return state_->Run([&](const auto& gsm) { return gsm->log.LogType(); });
}

void SMS::SetLogType(std::int16_t logType) {
  state_->Run([&](const auto& gsm) {
    if (!InRange<int>(logType, 0, 2)) return gsm->errors.SetError(kInvalidLogType);
    gsm->log.SetLogType(logType);
  });
}

std::u16string SMS::LogFolderPath() {
  return state_->Run([&](const auto& gsm) { return gsm->log.FolderPath(); });
}

void SMS::SetLogFolderPath(const std::u16string& folder) {
  state_->Run([&](const auto& gsm) {
    if (folder.empty()) return gsm->errors.SetError(kInvalidLogFolder);
    if (!gsm->log.SetFolderPath(folder)) gsm->errors.SetError(kLogFolderNotFound);
  });
}

}  // namespace tavro
