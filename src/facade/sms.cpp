// The SMS object: its life, the objects that it hands out, connection, sending, log and errors.
#include "tavro/sms.h"

#include "facade/sms_state.h"
#include "facade/version.h"
#include "incoming/inbox_state.h"
#include "outgoing/wap_state.h"

namespace tavro {

SMS::State::State(std::shared_ptr<Platform> platform) : gsm(std::make_shared<GSM>(std::move(platform))) {
  ReplaceInbox();
  wap = std::make_shared<tavro::Wap>(std::make_unique<tavro::Wap::State>(PushServicesOf(gsm), gsm->platform));
}

SMS::State::~State() {
  gsm->log.WriteLog("Tavro Closed");
  gsm->connection.ClosePort();
}

void SMS::State::ReplaceInbox() {
  if (box) box->Retire();
  box = std::make_shared<SIMBox>(IncomingServicesOf(gsm));
  inbox = std::make_shared<tavro::Inbox>(
      std::make_unique<tavro::Inbox::State>(tavro::Inbox::State{box, IncomingServicesOf(gsm)}));
}

bool SMS::State::IsPortLocked() {
  if (!gsm->connection.IsConnected()) return false;
  gsm->errors.SetError(kPortLocked);
  return true;
}

SMS::SMS() : SMS(Options()) {}
SMS::SMS(const Options& options) : SMS(CreateSystemPlatform(options.devices, options.interrupted)) {}
SMS::SMS(std::shared_ptr<Platform> platform) : state_(std::make_unique<State>(std::move(platform))) {}
SMS::~SMS() = default;

// --- Objects ---------------------------------------------------------------------------------------------------------

std::shared_ptr<tavro::Wap> SMS::WapPush() {
  state_->gsm->errors.ClearError();
  return state_->wap;
}

std::shared_ptr<tavro::Inbox> SMS::Inbox() {
  state_->gsm->errors.ClearError();
  return state_->inbox;
}

std::u16string SMS::About() {
  state_->gsm->errors.ClearError();
  const std::string version =
      std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." + std::to_string(kVersionRevision);
  return std::u16string(kFileDescription) + u" (Version " + state_->Text(version) + u")\r\n" +
         std::u16string(kLegalNotice);
}

// --- Connection ------------------------------------------------------------------------------------------------------

bool SMS::Connect() {
  state_->gsm->errors.ClearError();
  return state_->gsm->connection.ConnectModem();
}

bool SMS::Disconnect() {
  state_->gsm->errors.ClearError();
  return state_->gsm->connection.DisconnectModem();
}

bool SMS::IsConnected() {
  state_->gsm->errors.ClearError();
  return state_->gsm->connection.IsConnected();
}

std::u16string SMS::Command(const std::u16string& atCommand) {
  state_->gsm->errors.ClearError();
  return state_->Text(CleanResponse(state_->gsm->exchange.SendCommand(state_->Bytes(atCommand))));
}

// --- Sending ---------------------------------------------------------------------------------------------------------

std::optional<std::u16string> SMS::SendSMS(const std::u16string& destinationNumber, const std::u16string& textMessage,
                                           bool alertMessage) {
  state_->gsm->errors.ClearError();
  const auto references = state_->gsm->textSender.SendSMS(state_->Bytes(destinationNumber), textMessage, alertMessage);
  if (!references) return {};
  return state_->Text(*references);
}

// --- Log and errors --------------------------------------------------------------------------------------------------

std::int32_t SMS::LogSize() {
  state_->gsm->errors.ClearError();
  return state_->gsm->log.LineCount();
}

bool SMS::ClearLog(std::int16_t keepLinesInLog) {
  state_->gsm->errors.ClearError();
  return state_->gsm->log.Clear(keepLinesInLog);
}

bool SMS::IsError(bool showMsgBox, const std::u16string& msgBoxTitle) {
  ErrorState& errors = state_->gsm->errors;
  if (errors.LastErrorCode() == 0) return false;
  if (showMsgBox) {
    const std::string text = "ERROR " + std::to_string(errors.LastErrorCode()) + ": " + errors.LastErrorText();
    errors.ShowErrorBox(state_->Text(text), kErrorBoxStyle, msgBoxTitle);
  }
  return true;
}

std::int32_t SMS::ErrorCode() { return state_->gsm->errors.LastErrorCode(); }

std::u16string SMS::ErrorDescription() { return state_->Text(state_->gsm->errors.LastErrorText()); }

}  // namespace tavro
