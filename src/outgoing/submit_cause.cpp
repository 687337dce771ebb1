#include "outgoing/submit_cause.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "link/answer.h"

namespace tavro {

namespace {

constexpr auto kTemporary = SubmitCause::Kind::kTemporary;
constexpr auto kPermanent = SubmitCause::Kind::kPermanent;

constexpr SubmitCause kCauses[] = {
    // The network's relay layer (24.011, table 8.4).
    {1, "Unassigned (unallocated) number", kPermanent},
    {8, "Operator determined barring", kPermanent},
    {10, "Call barred", kPermanent},
    {21, "Short message transfer rejected", kPermanent},
    {27, "Destination out of order", kTemporary},
    {28, "Unidentified subscriber", kPermanent},
    {29, "Facility rejected", kPermanent},
    {30, "Unknown subscriber", kPermanent},
    {38, "Network out of order", kTemporary},
    {41, "Temporary failure", kTemporary},
    {42, "Congestion", kTemporary},
    {47, "Resources unavailable, unspecified", kTemporary},
    {50, "Requested facility not subscribed", kPermanent},
    {69, "Requested facility not implemented", kPermanent},
    {81, "Invalid short message transfer reference value", kTemporary},
    {95, "Semantically incorrect message", kPermanent},
    {96, "Invalid mandatory information", kPermanent},
    {97, "Message type non-existent or not implemented", kPermanent},
    {98, "Message not compatible with short message protocol state", kTemporary},
    {99, "Information element non-existent or not implemented", kPermanent},
    {111, "Protocol error, unspecified", kTemporary},
    {127, "Interworking, unspecified", kTemporary},
    // The service centre (TP-FCS, 23.040, 9.2.3.22).
    {128, "Telematic interworking not supported", kPermanent},
    {129, "Short message Type 0 not supported", kPermanent},
    {130, "Cannot replace short message", kPermanent},
    {143, "Unspecified TP-PID error", kPermanent},
    {144, "Data coding scheme (alphabet) not supported", kPermanent},
    {145, "Message class not supported", kPermanent},
    {159, "Unspecified TP-DCS error", kPermanent},
    {160, "Command cannot be actioned", kPermanent},
    {161, "Command unsupported", kPermanent},
    {175, "Unspecified TP-Command error", kPermanent},
    {176, "TPDU not supported", kPermanent},
    {192, "SC busy", kTemporary},
    {193, "No SC subscription", kPermanent},
    {194, "SC system failure", kTemporary},
    {195, "Invalid SME address", kPermanent},
    {196, "Destination SME barred", kPermanent},
    {197, "SM Rejected-Duplicate SM", kPermanent},
    {198, "TP-VPF not supported", kPermanent},
    {199, "TP-VP not supported", kPermanent},
    {208, "(U)SIM SMS storage full", kTemporary},
    {209, "No SMS storage capability in (U)SIM", kPermanent},
    {210, "Error in MS", kTemporary},
    {211, "Memory Capacity Exceeded", kTemporary},
    {212, "(U)SIM Application Toolkit Busy", kTemporary},
    {213, "(U)SIM data download error", kTemporary},
    {255, "Unspecified error cause", kTemporary},
    // The modem (27.005, 3.2.5).
    {300, "ME failure", kTemporary},
    {301, "SMS service of ME reserved", kTemporary},
    {302, "operation not allowed", kPermanent},
    {303, "operation not supported", kPermanent},
    {304, "invalid PDU mode parameter", kPermanent},
    {305, "invalid text mode parameter", kPermanent},
    {310, "(U)SIM not inserted", kPermanent},
    {311, "(U)SIM PIN required", kPermanent},
    {312, "PH-(U)SIM PIN required", kPermanent},
    {313, "(U)SIM failure", kTemporary},
    {314, "(U)SIM busy", kTemporary},
    {315, "(U)SIM wrong", kPermanent},
    {316, "(U)SIM PUK required", kPermanent},
    {317, "(U)SIM PIN2 required", kPermanent},
    {318, "(U)SIM PUK2 required", kPermanent},
    {320, "memory failure", kTemporary},
    {321, "invalid memory index", kPermanent},
    {322, "memory full", kTemporary},
    {330, "SMSC address unknown", kPermanent},
    {331, "no network service", kTemporary},
    // The network did not answer the modem: what it did with the message nobody knows.
    {332, "network timeout", SubmitCause::Kind::kUnclear},
    {340, "no +CNMA acknowledgement expected", kPermanent},
    {500, "unknown error", kTemporary},
};

SubmitCause CauseOf(int number) {
  const auto found = std::find_if(std::begin(kCauses), std::end(kCauses),
                                  [&](const SubmitCause& each) { return each.number == number; });
  return found == std::end(kCauses) ? SubmitCause{number, {}, kTemporary} : *found;
}

SubmitCause CauseOf(std::string_view words) {
  const std::string capitals = Upper(words);
  const auto found = std::find_if(std::begin(kCauses), std::end(kCauses), [&](const SubmitCause& each) {
    return Upper(each.text) == capitals || RemoveAll(Upper(each.text), "(U)") == capitals;
  });
  return found == std::end(kCauses) ? SubmitCause() : *found;
}

}  // namespace

std::optional<SubmitCause> SubmitCauseIn(std::string_view answer) {
  const std::string plain = WithoutQuotedText(answer), capitals = Upper(plain);
  const std::size_t error = capitals.find("ERROR");
  if (error == std::string::npos) return {};
  const std::string_view start = std::string_view(capitals).substr(0, error);
  std::string_view before = start.substr(start.find_last_of("\r\n") + 1);
  before = Trim(before.substr(before.find_last_of('>') + 1));
  if (!before.empty() && before != "+CMS" && before != "+CME") return {};  // no result of the modem's
  std::string_view rest = std::string_view(plain).substr(error + 5);
  if (before != "+CMS" || !rest.starts_with(':')) return SubmitCause();
  rest = Trim(rest.substr(1, rest.find_first_of("\r\n") - 1));
  int number = 0;
  return ParseWhole(rest, number) ? CauseOf(number) : CauseOf(rest);
}

}  // namespace tavro
