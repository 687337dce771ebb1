#include "incoming/report_status.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tavro {

namespace {

struct Words {
  int status;
  std::u16string_view text;
};

constexpr Words kWords[] = {
    {0x00, u"Short message received by the SME"},
    {0x01, u"Short message forwarded by the SC to the SME but the SC is unable to confirm delivery"},
    {0x02, u"Short message replaced by the SC"},
    {0x40, u"Remote procedure error"},
    {0x41, u"Incompatible destination"},
    {0x42, u"Connection rejected by SME"},
    {0x43, u"Not obtainable"},
    {0x44, u"Quality of service not available"},
    {0x45, u"No interworking available"},
    {0x46, u"SM Validity Period Expired"},
    {0x47, u"SM Deleted by originating SME"},
    {0x48, u"SM Deleted by SC Administration"},
    {0x49, u"SM does not exist"},
};
// Of both kinds of temporary errors, from 20 and from 60 hexadecimal on.
constexpr std::u16string_view kTemporaryErrors[] = {
    u"Congestion",  u"SME busy", u"No response from SME", u"Service rejected", u"Quality of service not available",
    u"Error in SME"};

constexpr int kTransaction = 0x00, kTrying = 0x20, kPermanent = 0x40, kGivenUp = 0x60;

// The group of a status; one above 7F is reserved, and is to be read as "service rejected" (63).
int GroupOf(int status) { return status > 0x7F ? kGivenUp : status & 0x60; }

bool IsOfServiceCentre(int status) { return status <= 0x7F && (status & 0x10) != 0; }

std::u16string InHex(int status) {
  constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
  return {kDigits[static_cast<std::size_t>(status >> 4 & 15)], kDigits[static_cast<std::size_t>(status & 15)]};
}

std::u16string_view KnownWords(int status) {
  const auto* const known =
      std::find_if(std::begin(kWords), std::end(kWords), [&](const Words& words) { return words.status == status; });
  if (known != std::end(kWords)) return known->text;
  const int group = GroupOf(status);
  const auto error = static_cast<std::size_t>(status - group);
  const bool isTemporary = (group == kTrying || group == kGivenUp) && error < std::size(kTemporaryErrors);
  return isTemporary ? kTemporaryErrors[error] : std::u16string_view();
}

}  // namespace

DeliveryState StateOf(int status) {
  switch (GroupOf(status)) {
    case kTransaction:
      if (status == 0x01) return DeliveryState::kForwarded;
      if (status == 0x02) return DeliveryState::kReplaced;
      // Reserved ones are to be read as "service rejected".
      return status == 0x00 || IsOfServiceCentre(status) ? DeliveryState::kDelivered : DeliveryState::kGivenUp;
    case kTrying:
      return KnownWords(status).empty() && !IsOfServiceCentre(status) ? DeliveryState::kGivenUp
                                                                      : DeliveryState::kTrying;
    case kPermanent:
      return KnownWords(status).empty() && !IsOfServiceCentre(status) ? DeliveryState::kGivenUp
                                                                      : DeliveryState::kFailed;
    default:
      return DeliveryState::kGivenUp;
  }
}

std::u16string StatusWords(int status) {
  std::u16string text(KnownWords(status));
  const bool isReserved = text.empty() && !IsOfServiceCentre(status);
  if (text.empty()) {
    text = (IsOfServiceCentre(status) ? u"Specific to the service centre (" : u"Service rejected (reserved status ") +
           InHex(status) + u")";
  }
  if (GroupOf(status) == kTrying && !isReserved) text += u", still trying";
  if (GroupOf(status) == kGivenUp || isReserved) text += u", no more attempts";
  return text;
}

}  // namespace tavro
