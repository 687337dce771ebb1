// The SMS object: its life, the objects that it hands out, connection, sending, log and errors.
#include "tavro/sms.h"

#include "facade/sms_state.h"
#include "facade/version.h"
#include "incoming/inbox_state.h"
#include "outgoing/wap_state.h"

namespace tavro {

namespace {

const Manner& MannerOf(Dialogue dialogue) { return dialogue == Dialogue::kClassic ? kClassicManner : kPromptManner; }

}  // namespace

SMS::State::State(std::shared_ptr<Platform> platform, const Options& options)
    : State(std::make_shared<GSM>(std::move(platform), MannerOf(options.dialogue)), options) {}

SMS::State::State(std::shared_ptr<GSM> gsm, const Options& options)
    : cancellation(gsm->cancellation), gsm_(std::move(gsm)) {
  gsm_->settings.wideReferences = options.wideReferences;
  gsm_->settings.sendsPinOnLastAttempt = options.sendsPinOnLastAttempt;
  const Recovery recovery = options.dialogue == Dialogue::kPrompt ? options.recovery : Recovery();
  gsm_->settings.recovery = {recovery.repeats, recovery.restarts, recovery.reopens};
  ReplaceInbox();
  wap = std::make_shared<tavro::Wap>(std::make_unique<tavro::Wap::State>(PushServicesOf(gsm_), gsm_->platform));
}

SMS::State::~State() {
  gsm_->settings.debugMode = false;  // nobody is left to look at a box
  gsm_->log.WriteLog("Tavro Closed");
  gsm_->connection.ClosePort();
}

void SMS::State::ReplaceInbox() {
  if (box) box->Retire();
  box = std::make_shared<SIMBox>(IncomingServicesOf(gsm_));
  inbox = std::make_shared<tavro::Inbox>(
      std::make_unique<tavro::Inbox::State>(tavro::Inbox::State{box, IncomingServicesOf(gsm_), cancellation}));
}

bool SMS::State::IsPortLocked(const Call& call) {
  return call->connection.IsConnected() && call.Fail(kPortLocked, true);
}

SMS::SMS(std::shared_ptr<Platform> platform, const Options& options)
    : state_(std::make_unique<State>(std::move(platform), options)) {}
SMS::~SMS() = default;

// --- Objects ---------------------------------------------------------------------------------------------------------

std::shared_ptr<tavro::Wap> SMS::WapPush() {
  state_->Begin();
  return state_->wap;
}

std::shared_ptr<tavro::Inbox> SMS::Inbox() {
  state_->Begin();
  return state_->inbox;
}

std::u16string SMS::About() {
  state_->Begin();
  const std::string version =
      std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." + std::to_string(kVersionRevision);
  return std::u16string(kFileDescription) + u" (Version " + state_->Text(version) + u")\r\n" +
         std::u16string(kLegalNotice);
}

// --- Connection ------------------------------------------------------------------------------------------------------

bool SMS::Connect() { return state_->Begin()->connection.ConnectModem(); }

bool SMS::Disconnect() { return state_->Begin()->connection.DisconnectModem(); }

bool SMS::IsConnected() { return state_->Begin()->connection.IsConnected(); }

std::u16string SMS::Command(const std::u16string& atCommand) {
  const auto gsm = state_->Begin();
  const std::string command = state_->Bytes(atCommand);
  if (!gsm->Takes(command)) return gsm.Fail(kInvalidCommand, std::u16string());
  return state_->Text(gsm->exchange.SendCommand(command).Information());
}

// --- Sending ---------------------------------------------------------------------------------------------------------

std::optional<std::u16string> SMS::SendSMS(const std::u16string& destinationNumber, const std::u16string& textMessage,
                                           bool alertMessage) {
  const auto gsm = state_->Begin();
  const auto references = gsm->textSender.SendSMS(state_->Bytes(destinationNumber), textMessage, alertMessage);
  if (!references) return {};
  return state_->Text(*references);
}

// --- Status reports --------------------------------------------------------------------------------------------------

std::vector<tavro::StatusReport> SMS::StatusReports() { return state_->Begin()->deliveries.Reports(); }

void SMS::ClearStatusReports() { state_->Begin()->statusBox.Clear(); }

Delivery SMS::DeliveryOf(const std::u16string& references) {
  const auto gsm = state_->Begin();
  const auto delivery = gsm->deliveries.DeliveryOf(state_->Bytes(references));
  return delivery ? *delivery : gsm.Fail(kInvalidReferences, Delivery());
}

bool SMS::WaitForDelivery(const std::u16string& references, std::int32_t milliseconds) {
  const auto gsm = state_->Begin();
  if (milliseconds < 0) return gsm.Fail(kInvalidWaitTime);
  const std::string text = state_->Bytes(references);
  if (!gsm->deliveries.DeliveryOf(text)) return gsm.Fail(kInvalidReferences);
  const auto isDone = [&] { return IsFinal(gsm->deliveries.DeliveryOf(text)->state); };
  return gsm->waiter.AwaitReports(*state_->box, milliseconds, isDone) || gsm.Fail(gsm->waiter.Error());
}

void SMS::Cancel() { state_->cancellation->Cancel(); }

// --- USSD ------------------------------------------------------------------------------------------------------------

std::optional<UssdReply> SMS::SendUSSD(const std::u16string& code) { return state_->Begin()->ussd.Send(code); }

bool SMS::CancelUSSD() { return state_->Begin()->ussd.Cancel(); }

// --- Log and errors --------------------------------------------------------------------------------------------------

std::int32_t SMS::LogSize() { return state_->Begin()->log.LineCount(); }

bool SMS::ClearLog(std::int16_t keepLinesInLog) { return state_->Begin()->log.Clear(keepLinesInLog); }

bool SMS::IsError(bool showMsgBox, const std::u16string& msgBoxTitle) {
  ErrorState& errors = state_->Errors();
  if (errors.LastErrorCode() == 0) return false;
  if (showMsgBox) {
    const std::string text = "ERROR " + std::to_string(errors.LastErrorCode()) + ": " + errors.LastErrorText();
    errors.ShowErrorBox(state_->Text(text), kErrorBoxStyle, msgBoxTitle);
  }
  return true;
}

std::int32_t SMS::ErrorCode() { return state_->Errors().LastErrorCode(); }

std::u16string SMS::ErrorDescription() { return state_->Text(state_->Errors().LastErrorText()); }

}  // namespace tavro
