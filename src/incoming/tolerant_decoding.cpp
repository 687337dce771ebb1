// The SMS-DELIVER (3GPP TS 23.040, 9.2.2.1) as the standard asks a receiver to read it:
//
//   pdu     = sca tpdu [ fill ]                sca: see pdu_octets.h; fill: anything behind the user data, FF for one
//   tpdu    = first oa pid dcs scts udl ud
//   first   = - UDHI - - - - MTI MTI           MTI 00: SMS-DELIVER; 11, reserved, is read as one (9.2.3.1)
//   oa      = the sender's address             see pdu_octets.h
//   scts    = 7 octets                         see time_stamp.cpp
//   udl     = length of ud                     in septets for the GSM alphabet, which include the header's; else octets
//   ud      = [ udhl udh ] [ fill bits ] text  udhl: octets of udh; fill bits up to the next septet
#include "incoming/tolerant_decoding.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/text.h"
#include "incoming/data_coding.h"
#include "incoming/listing_entry.h"
#include "incoming/pdu_octets.h"
#include "incoming/septets.h"
#include "incoming/status_report_decoding.h"
#include "incoming/user_data_header.h"

namespace tavro {

namespace {

constexpr int kSubmit = 1, kReport = 2;  // message type indicators

constexpr const char* kNotReceived = "not a received message";
constexpr const char* kCutShort = "the PDU is cut short";
constexpr const char* kCutReport = "the status report is cut short";
constexpr const char* kShortUserData = "the user data is shorter than its length";
constexpr const char* kBadHeader = "the user-data header contradicts its length";

std::int64_t UnixSeconds(double oleDate, int zoneMinutes) {
  constexpr double kUnixStart = 25569;  // 1970-01-01 as an OLE Automation date
  return std::llround((oleDate - kUnixStart) * 86400) - zoneMinutes * std::int64_t{60};
}

std::u16string Ucs2Text(Octets octets) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < octets.size(); i += 2) {
    text += static_cast<char16_t>(octets[i] << 8 | octets[i + 1]);
  }
  return text;
}

class TolerantDecoder {
 public:
  TolerantDecoder(DecodedEntry& entry, const DateNames& names) : entry_(entry), names_(names) {}

  // `fault`: why the PDU is not to be decoded, or nothing.
  void Decode(std::vector<std::uint8_t> octets, std::string_view fault) {
    details_.pdu = std::move(octets);
    if (fault.empty()) {
      DecodePdu();
    } else {
      GiveUp(fault);
    }
    if (entry_.action != DecodedEntry::Action::kStore) return;
    content_.details = std::make_unique<const MessageDetails>(std::move(details_));
    entry_.record.memoryIndex = entry_.location;
    entry_.record.content = std::make_shared<const MessageContent>(std::move(content_));
  }

 private:
  void DecodePdu() {
    entry_.action = DecodedEntry::Action::kStore;
    OctetReader pdu(details_.pdu);
    content_.smsc = ReadServiceCentre(pdu);
    const int first = pdu.Octet();
    if (pdu.IsCutShort()) return GiveUp(kCutShort);
    if ((first & 3) == kReport) return DecodeReport();
    if ((first & 3) == kSubmit) return Reject();
    content_.phone = ReadAddress(pdu);
    const int protocol = pdu.Octet();
    details_.isReplacement = protocol >= 0x41 && protocol <= 0x47;
    const DataCoding coding = ReadDataCoding(pdu.Octet());
    details_.messageClass = coding.messageClass;
    if (coding.waiting) details_.waiting.push_back(*coding.waiting);
    const Octets timeStamp = pdu.Take(7);
    if (pdu.IsCutShort()) return GiveUp(kCutShort);
    SetTimeStamp(HexDigits(timeStamp));
    const int length = pdu.Octet();
    if (pdu.IsCutShort()) return GiveUp(kCutShort);
    const auto octets =
        static_cast<std::size_t>(coding.alphabet == DataCoding::Alphabet::kGsm ? (length * 7 + 7) / 8 : length);
    if (octets > pdu.Rest().size()) Remark(kShortUserData);
    const Octets userData = pdu.Rest().first(std::min(octets, pdu.Rest().size()));
    DecodeUserData(userData, coding.alphabet, static_cast<std::size_t>(length), (first & 0x40) != 0);
  }

  // What is nowhere else is shown, so that it is not lost.
  void Reject() {
    if (entry_.location < 0) {
      GiveUp(kNotReceived);
      entry_.isDamaged = false;
      return;
    }
    entry_.action = DecodedEntry::Action::kDelete;
    entry_.remark = kNotReceived;
  }

  void DecodeReport() {
    entry_.report = DecodeStatusReport(details_.pdu, names_);
    entry_.action = entry_.report ? DecodedEntry::Action::kReport : DecodedEntry::Action::kSkip;
    if (!entry_.report) Remark(kCutReport);
  }

  void DecodeUserData(Octets userData, DataCoding::Alphabet alphabet, std::size_t length, bool hasHeader) {
    Languages languages;
    std::size_t headerOctets = 0;
    if (hasHeader && !userData.empty()) {
      headerOctets = 1U + userData[0];
      if (headerOctets > userData.size()) return GiveUp(kBadHeader);
      if (const auto header = ReadUserDataHeader(userData.subspan(1, headerOctets - 1))) {
        ApplyHeader(*header);
        languages = header->languages;
      } else {
        Remark(kBadHeader);
      }
    }
    const Octets data = userData.subspan(headerOctets);
    details_.data.assign(data.begin(), data.end());
    switch (alphabet) {
      case DataCoding::Alphabet::kGsm: {
        const std::size_t headerSeptets = (headerOctets * 8 + 6) / 7, count = length - std::min(length, headerSeptets);
        content_.text = SeptetText(userData, headerSeptets * 7, count, languages);
        if (details_.parts > 1) details_.seams = SeamsOf(userData, headerSeptets * 7, count, languages);
        break;
      }
      case DataCoding::Alphabet::kOctets:
        content_.text.assign(data.begin(), data.end());
        break;
      case DataCoding::Alphabet::kUcs2:
        content_.text = Ucs2Text(data);
        break;
    }
  }

  void ApplyHeader(const UserDataHeader& header) {
    details_.ports = header.ports;
    for (const WaitingMessages& waiting : header.waiting) AddWaiting(details_.waiting, waiting);
    if (!header.part || header.part->total < 2) return;
    entry_.record.concatReference = header.part->reference;
    entry_.record.concatTotal = header.part->total;
    entry_.record.concatPart = header.part->number;
    details_.parts = header.part->total;
    details_.shown = {header.part->number};
  }

  void SetTimeStamp(const std::string& digits) {
    const auto timeStamp = DecodeTimeStamp(digits, names_);
    if (!timeStamp) return Remark("the time stamp " + digits + " is no date");
    content_.timeStamp = timeStamp->date;
    content_.timeZone = timeStamp->zone;
    content_.timeStampRFC = timeStamp->rfcText;
    details_.sent = UnixSeconds(timeStamp->date, timeStamp->zone);
  }

  void GiveUp(std::string_view reason) {
    entry_.isDamaged = true;
    Remark(reason);
    content_.text = u"[This message cannot be decoded: " + std::u16string(reason.begin(), reason.end()) + u"]";
    details_.data = details_.pdu;
    entry_.action = DecodedEntry::Action::kStore;
  }

  void Remark(std::string_view text) {
    if (!entry_.remark.empty()) entry_.remark += ", ";
    entry_.remark += text;
  }

  DecodedEntry& entry_;
  const DateNames& names_;
  MessageContent content_;
  MessageDetails details_;
};

bool HasAnnouncedLength(const std::vector<std::uint8_t>& octets, std::string_view length) {
  if (octets.empty()) return false;
  const auto filled = std::find_if(octets.rbegin(), octets.rend(), [](std::uint8_t octet) { return octet != 0xFF; });
  const int tpduOctets = static_cast<int>(octets.size()) - 1 - octets[0];
  return IsAnnouncedLength(length, tpduOctets, static_cast<int>(filled - octets.rbegin()));
}

DecodedEntry DecodeEntry(const ListingEntry& entry, std::int16_t location, const DateNames& names) {
  DecodedEntry result;
  result.location = location;
  std::vector<std::uint8_t> octets = ReadOctets(entry.pdu);
  std::string_view fault;
  if (entry.pdu.empty()) {
    fault = "there is no PDU";
  } else if (octets.size() < entry.pdu.size() / 2) {
    fault = "the PDU has characters that are no hex digits";
  }
  const bool isAsAnnounced = fault.empty() && entry.pdu.size() % 2 == 0 && HasAnnouncedLength(octets, entry.length);
  TolerantDecoder(result, names).Decode(std::move(octets), fault);
  result.isDamaged = result.isDamaged || !isAsAnnounced;
  if (!isAsAnnounced && result.action == DecodedEntry::Action::kReport) {
    result.action = DecodedEntry::Action::kSkip;  // its status may be any octet
    result.remark = kCutReport;
  }
  if (!isAsAnnounced && result.action == DecodedEntry::Action::kStore) {
    result.record.isDoubtful = true;  // octets were lost on the line: another message may stand there
    if (result.remark.empty()) result.remark = "it is not as long as the modem says";
  }
  return result;
}

// What the application wrote itself.
bool IsDraft(const ListingEntry& entry) { return entry.stat == "2" || entry.stat == "3"; }

DecodedEntry Draft(std::int16_t location) {
  DecodedEntry result;
  result.location = location;
  result.action = DecodedEntry::Action::kDelete;
  result.remark = kNotReceived;
  return result;
}

}  // namespace

DecodedEntry DecodeTolerantly(std::string_view text, const DateNames& names) {
  const ListingEntry entry = ReadListingEntry(text, true);
  int location = 0;
  if (!ParseWhole(entry.location, location) || location < 0 || location > std::numeric_limits<std::int16_t>::max()) {
    DecodedEntry result;
    result.remark = "\"" + std::string(entry.location) + "\" is no memory location";
    return result;
  }
  const auto place = static_cast<std::int16_t>(location);
  return IsDraft(entry) ? Draft(place) : DecodeEntry(entry, place, names);
}

DecodedEntry DecodePlace(std::string_view text, std::int16_t location, const DateNames& names) {
  const ListingEntry entry = ReadListingEntry(text, false);
  return IsDraft(entry) ? Draft(location) : DecodeEntry(entry, location, names);
}

DecodedEntry DecodeDelivered(std::string_view text, const DateNames& names) {
  return DecodeEntry(ReadListingEntry(text, false), kNoLocation, names);
}

}  // namespace tavro
