#include "outgoing/push_sender.h"

#include <cstdio>

#include "outgoing/push_pdu.h"

namespace tavro {

namespace {

constexpr SubmissionErrors kPushErrors{
    .steps = {kPushCannotConnect, kPushPduModeUnchecked, kPushNoPduMode},
    .smscNotSpecified = kPushSmscNotSpecified,
    .commandError = kPushCommandError,
    .invalidPrompt = kPushInvalidPrompt,
    .submitError = kSubmitPushPduError,
    .invalidResult = {kInvalidPushResponse, "Invalid response to submit WAP push PDU [Response: "},
    .unknown = kUnknownPushError,
};

std::string DateText(const DateTime& date) {
  char text[96];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", date.year, date.month, date.day, date.hour,
                date.minute, date.second);
  return text;
}

}  // namespace

ServiceIndication IndicationOf(const WapPush& push, Platform& platform) {
  ServiceIndication indication;
  indication.text = push.text;
  indication.url = push.url;
  indication.action = push.action;
  if (push.created) {
    indication.created = FromOleDate(*push.created);
  } else {
    const LocalTime now = platform.ToLocal(platform.WallClock());
    indication.created = {now.year, now.month, now.day, now.hour, now.minute, now.second};
  }
  indication.expires = ExpiryDate(indication.created, push.expiry);
  return indication;
}

PushSender::PushSender(const DialogueContext& dialogue, Submission& submission)
    : DialoguePart(dialogue), submission_(submission) {}

bool PushSender::Send(const WapPush& push) {
  const ServiceIndication indication = IndicationOf(push, platform_);
  log_.WriteLog("Sending WAP push to " + push.destination + " [Action: " + std::to_string(push.action) +
                "; Create: " + DateText(indication.created) +
                "; Expiry: " + (indication.expires ? DateText(*indication.expires) : push.expiry) + "]");
  const SubmissionResult result = Submit(push, indication);
  if (!result.reference.empty()) {
    log_.WriteLog("Wap push sent");
    return true;
  }
  log_.WriteLog("Wap push sending failed");
  errors_.SetError(result.error ? result.error : PendingError(kPushSendError));
  return false;
}

SubmissionResult PushSender::Submit(const WapPush& push, const ServiceIndication& indication) {
  if (PendingError error = submission_.Prepare(kPushErrors)) return {{}, error};
  errors_.ClearError();
  const std::string smscField = submission_.SmscField(kPushErrors);
  if (errors_.IsPending()) return {};
  const std::string userData = PushUserData(indication);
  if (userData.size() / 2 > kMaxPushOctets) return {{}, kPushTooLong};
  const std::string pdu = BuildPushPdu(smscField, push.destination, settings_.validityPeriodValue, userData);
  if (pdu.empty()) return {{}, kCannotBuildPushPdu};
  return submission_.Submit(pdu, true, kPushErrors);
}

}  // namespace tavro
