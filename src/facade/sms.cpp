// The SMS object: its life, the objects that it hands out, connection, sending, log and errors.
#include "tavro/sms.h"

#include <new>

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
  gsm_->log.SetTrace(options.trace);
  ReplaceInbox();
  wap = std::make_shared<tavro::Wap>(std::make_unique<tavro::Wap::State>(PushServicesOf(gsm_), gsm_->platform));
}

SMS::State::~State() {
  gsm_->settings.debugMode = false;  // nobody is left to look at a box
  try {
    gsm_->log.WriteLog("Tavro Closed");
    gsm_->connection.ClosePort();
  } catch (const std::bad_alloc&) {  // the line closes with its driver
  }
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
  State::Call::Begin(state_->Gsm());
  return state_->wap;
}

std::shared_ptr<tavro::Inbox> SMS::Inbox() {
  State::Call::Begin(state_->Gsm());
  return state_->inbox;
}

std::u16string SMS::About() {
  return state_->Run([&](const auto&) {
    const std::string version =
        std::to_string(kVersionMajor) + "." + std::to_string(kVersionMinor) + "." + std::to_string(kVersionRevision);
    return std::u16string(kFileDescription) + u" (Version " + state_->Text(version) + u")\r\n" +
           std::u16string(kLegalNotice);
  });
}

// --- Connection ------------------------------------------------------------------------------------------------------

bool SMS::Connect() {
  return state_->Run([&](const auto& gsm) { return gsm->connection.ConnectModem(); });
}

bool SMS::Disconnect() {
  return state_->Run([&](const auto& gsm) { return gsm->connection.DisconnectModem(); });
}

bool SMS::IsConnected() {
  return state_->Run([&](const auto& gsm) { return gsm->connection.IsConnected(); });
}

std::u16string SMS::Command(const std::u16string& atCommand) {
  return state_->Run([&](const auto& gsm) -> std::u16string {
    const std::string command = state_->Bytes(atCommand);
    if (!gsm->Takes(command)) return gsm.Fail(kInvalidCommand, std::u16string());
    return state_->Text(gsm->exchange.SendCommand(command).Information());
  });
}

// --- Sending ---------------------------------------------------------------------------------------------------------

std::optional<std::u16string> SMS::SendSMS(const std::u16string& destinationNumber, const std::u16string& textMessage,
                                           bool alertMessage) {
  return state_->Run([&](const auto& gsm) -> std::optional<std::u16string> {
    const auto references = gsm->textSender.SendSMS(state_->Bytes(destinationNumber), textMessage, alertMessage);
    if (!references) return {};
    return state_->Text(*references);
  });
}

// --- Status reports --------------------------------------------------------------------------------------------------

std::vector<tavro::StatusReport> SMS::StatusReports() {
  return state_->Run([&](const auto& gsm) { return gsm->deliveries.Reports(); });
}

void SMS::ClearStatusReports() {
  state_->Run([&](const auto& gsm) { gsm->statusBox.Clear(); });
}

Delivery SMS::DeliveryOf(const std::u16string& references) {
  return state_->Run([&](const auto& gsm) {
    const auto delivery = gsm->deliveries.DeliveryOf(state_->Bytes(references));
    return delivery ? *delivery : gsm.Fail(kInvalidReferences, Delivery());
  });
}

bool SMS::WaitForDelivery(const std::u16string& references, std::int32_t milliseconds) {
  return state_->Run([&](const auto& gsm) -> bool {
    if (milliseconds < 0) return gsm.Fail(kInvalidWaitTime);
    const std::string text = state_->Bytes(references);
    if (!gsm->deliveries.DeliveryOf(text)) return gsm.Fail(kInvalidReferences);
    const auto isDone = [&] { return IsFinal(gsm->deliveries.DeliveryOf(text)->state); };
    return gsm->waiter.AwaitReports(*state_->box, milliseconds, isDone) || gsm.Fail(gsm->waiter.Error());
  });
}

void SMS::Cancel() { state_->cancellation->Cancel(); }

// --- USSD ------------------------------------------------------------------------------------------------------------

std::optional<UssdReply> SMS::SendUSSD(const std::u16string& code) {
  return state_->Run([&](const auto& gsm) { return gsm->ussd.Send(code); });
}

bool SMS::CancelUSSD() {
  return state_->Run([&](const auto& gsm) { return gsm->ussd.Cancel(); });
}

// --- Log and errors --------------------------------------------------------------------------------------------------

std::int32_t SMS::LogSize() {
  return state_->Run([&](const auto& gsm) { return gsm->log.LineCount(); });
}

bool SMS::ClearLog(std::int16_t keepLinesInLog) {
  return state_->Run([&](const auto& gsm) { return gsm->log.Clear(keepLinesInLog); });
}

bool SMS::IsError(bool showMsgBox, const std::u16string& msgBoxTitle) {
  ErrorState& errors = state_->Errors();
  if (errors.LastErrorCode() == 0) return false;
  if (showMsgBox) {
    try {
      const std::string text = "ERROR " + std::to_string(errors.LastErrorCode()) + ": " + errors.LastErrorText();
      errors.ShowErrorBox(state_->Text(text), kErrorBoxStyle, msgBoxTitle);
    } catch (const std::bad_alloc&) {  // nobody sees it, then
    }
  }
  return true;
}

std::int32_t SMS::ErrorCode() { return state_->Errors().LastErrorCode(); }

std::u16string SMS::ErrorDescription() {
  try {
    return state_->Text(state_->Errors().LastErrorText());
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace tavro
