#include "outgoing/text_sender.h"

#include <utility>

#include "base/error_codes.h"
#include "base/text.h"
#include "outgoing/encodings.h"
#include "outgoing/message_parts.h"
#include "outgoing/submit_pdu.h"
#include "tavro/long_message_type.h"

namespace tavro {

namespace {

constexpr SubmissionErrors kTextErrors{
    .steps = {kSendCannotConnect, kSendPduModeUnchecked, kSendNoPduMode},
    .smscNotSpecified = kSmscNotSpecified,
    .commandError = kSendCommandError,
    .invalidPrompt = kSendInvalidPrompt,
    .submitError = kSubmitPduError,
    .invalidResult = {kInvalidSubmitResponse, "Invalid response to submit PDU [Response: "},
    .unknown = kUnknownSendError,
};

}  // namespace

TextSender::TextSender(const DialogueContext& dialogue, Submission& submission, NewMessageIndications& indications,
                       SentMessages& sent)
    : DialoguePart(dialogue),
      submission_(submission),
      indications_(indications),
      sent_(sent),
      reference_(platform_.WallClock()) {}

std::optional<std::string> TextSender::SendSMS(const std::string& destination, std::u16string_view text, bool alert) {
  errors_.ClearError();
  if (!IsInternationalNumber(destination) && !IsNationalNumber(destination)) {
    errors_.SetError(kInvalidDestination);
    return std::nullopt;
  }
  std::string references = SendTextMessage(destination, text, alert);
  if (!references.empty()) return references;
  if (!pending_) pending_ = kSendMessageError;
  errors_.SetError(pending_);
  return std::nullopt;
}

std::string TextSender::SendTextMessage(const std::string& destination, std::u16string_view text, bool alert) {
  pending_ = {};
  log_.WriteLog("Sending message to " + destination + " [Option: " + std::to_string(settings_.longMessage) +
                "; Encoding: " + std::to_string(settings_.character) + " bits]");
  // The settings are read once: the application's events may change them while it waits for the modem.
  const bool oneReference = settings_.longMessage == MessageConcatenate;
  const MessageParts parts =
      PrepareParts(text, settings_.character, settings_.longMessage,
                   {.wideReferences = settings_.wideReferences, .keepsSurrogatePairs = manner_.keepsSurrogatePairs});
  SubmitMessage message;
  message.destination = destination;
  message.coding = settings_.character;
  message.alert = alert;
  message.statusReport = settings_.statusReportRequested;
  message.reportsEveryPart = manner_.reportsEveryPart;
  message.validityPeriod = settings_.validityPeriodValue;
  message.wideReference = settings_.wideReferences;
  message.reference = message.wideReference ? reference_.WideValue() : reference_.Value();
  message.total = parts.Total();

  pending_ = submission_.Prepare(kTextErrors);
  if (pending_) return {};
  if (message.statusReport) indications_.SwitchOn();  // a report may come before the last part is sent

  std::string references;
  SentMessage sent{message.statusReport, destination, {}};
  const auto note = [&] {
    if (!sent.parts.empty()) sent_.Add(std::move(sent));
  };
  for (std::size_t i = 0; i < parts.texts.size(); ++i) {
    errors_.ClearError();
    if (i == 0 || !oneReference) reference_.Advance();
    message.smscField = submission_.SmscField(kTextErrors);
    if (errors_.IsPending()) return {};
    message.codes = parts.texts[i];
    message.part = static_cast<std::int16_t>(i + 1);
    const std::string pdu = BuildSubmitPdu(message);
    if (pdu.empty()) {
      pending_ = kCannotBuildPdu;
      return {};
    }
    const std::uint64_t heardBefore = exchange_.Heard();
    const SubmissionResult result = submission_.Submit(pdu, i == 0, kTextErrors);
    if (result.error) {
      pending_ = result.error;
      note();
      return {};
    }
    references += (references.empty() ? "" : ",") + result.reference;
    int reference = -1;
    if (ParseWhole(result.reference, reference)) sent.parts.push_back({reference, heardBefore});
  }
  note();
  if (references.empty()) return {};  // an empty text
  if (errors_.IsPending()) {
    log_.WriteLog("Message sending failed");
    return {};
  }
  log_.WriteLog("Message sent [Msg ID: " + references + "]");
  return references;
}

}  // namespace tavro
