//   pdu  = sca first mr ra scts dt st [ rest ]
//   mr   = the reference of the message
//   ra   = the recipient's address
//   scts = 7 octets: when the service centre received the message
//   dt   = 7 octets: when the message was delivered, or was tried last
//   st   = the status
//   rest = parameters that are not there as a rule, with text for the user
#include "incoming/status_report_decoding.h"

#include <algorithm>
#include <utility>

#include "incoming/report_status.h"

namespace tavro {

std::optional<StatusReport> DecodeStatusReport(Octets octets, const DateNames& names) {
  OctetReader pdu(octets);
  StatusReport report;
  report.smsc = ReadServiceCentre(pdu);
  pdu.Octet();
  report.reference = pdu.Octet();
  report.recipient = ReadAddress(pdu);
  const auto readTime = [&](double& date, std::int16_t& zone, std::u16string& text) {
    const Octets time = pdu.Take(7);
    // All zero: the service centre does not know it.
    const bool isKnown = std::any_of(time.begin(), time.end(), [](std::uint8_t octet) { return octet != 0; });
    auto timeStamp = isKnown ? DecodeTimeStamp(HexDigits(time), names) : std::nullopt;
    if (!timeStamp) return;
    date = timeStamp->date;
    zone = timeStamp->zone;
    text = std::move(timeStamp->rfcText);
  };
  readTime(report.sentTimeStamp, report.sentTimeZone, report.sentTimeStampRFC);
  readTime(report.dischargeTimeStamp, report.dischargeTimeZone, report.dischargeTimeStampRFC);
  report.status = pdu.Octet();
  if (pdu.IsCutShort()) return {};
  report.state = StateOf(report.status);
  report.text = StatusWords(report.status);
  return report;
}

}  // namespace tavro
