#include "outgoing/service_centre.h"

#include "base/text.h"
#include "link/answer_fields.h"
#include "outgoing/encodings.h"
#include "outgoing/submit_pdu.h"

namespace tavro {

ServiceCentre::ServiceCentre(const DialogueContext& dialogue, Registration& registration)
    : DialoguePart(dialogue), registration_(registration) {}

bool ServiceCentre::QuerySmsc() {
  if (!registration_.EnsureReady()) return false;
  log_.WriteLog("Reading SMSC number");
  const Answer answer = exchange_.SendCommand("AT+CSCA?\r");
  if (!answer.IsGood()) return false;
  auto fields = Fields(answer.Information("+CSCA:"));
  fields[0] = PlainNumber(fields[0]);
  if (!IsInternationalNumber(fields[0]) && !IsNationalNumber(fields[0])) return false;
  number_ = TypedNumber(fields[0], fields.size() > 1 ? fields[1] : "");
  log_.WriteLog("SMSC: " + number_);
  return true;
}

bool ServiceCentre::SetSmsc(const std::string& number) {
  if (!IsQuotable(number)) return false;
  if (!registration_.EnsureReady()) return false;
  log_.WriteLog("Setting SMSC as '" + number + "'");
  if (!exchange_.SendCommand("AT+CSCA=\"" + number + "\"\r").IsGood()) return false;
  number_ = number;
  log_.WriteLog("SMSC number set as '" + number + "'");
  return true;
}

std::string ServiceCentre::SmscField() const { return ServiceCentreField(number_); }

}  // namespace tavro
