//   pdu     = [ sca ] tpdu [ fill ]                         fill: anything behind the last field
//   sca     = length [ type address ]                       see pdu_octets.h
//   deliver = first oa pid dcs scts udl ud                  first: LP MMS MTI, SRI, UDHI, RP; 9.2.2.1
//   submit  = first mr da pid dcs [ vp ] udl ud             first: VPF RD MTI, SRR, UDHI, RP; 9.2.2.2
//   report  = first mr ra scts dt st [ pi { pi } [ pid ] [ dcs ] [ udl ud ] ]   first: LP MMS MTI, SRQ, UDHI; 9.2.2.3
//   vp      = octet                                         relative (VPF 10), or
//           | 7 octets                                      absolute (11), as scts; or enhanced (01)
#include <algorithm>
#include <optional>
#include <utility>

#include "incoming/data_coding.h"
#include "incoming/report_status.h"
#include "incoming/time_stamp.h"
#include "incoming/user_data.h"
#include "outgoing/validity_period.h"
#include "pdu/field_reader.h"
#include "pdu/user_data_fields.h"
#include "pdu/words.h"
#include "tavro/pdu.h"

namespace tavro {

namespace {

using Words = std::u16string_view;

constexpr Words kTypes[] = {u"SMS-DELIVER", u"SMS-SUBMIT", u"SMS-STATUS-REPORT", u"reserved, read as SMS-DELIVER"};
constexpr Words kMore[] = {u"more messages wait", u"no more messages wait"};
constexpr Words kLoop[] = {u"not forwarded or spawned", u"forwarded or spawned"};
constexpr Words kReturned[] = {u"no status report to sender", u"a status report to sender"};
constexpr Words kHeader[] = {u"TP-UD has no header", u"TP-UD begins with a header"};
constexpr Words kReplyPath[] = {u"no reply path", u"reply path"};
constexpr Words kDuplicates[] = {u"duplicates are accepted", u"duplicates are to be rejected"};
constexpr Words kFormats[] = {u"no TP-VP", u"TP-VP in enhanced format", u"TP-VP in relative format",
                              u"TP-VP in absolute format"};
constexpr Words kRequest[] = {u"no status report wanted", u"a status report is wanted"};
constexpr Words kQualifier[] = {u"of an SMS-SUBMIT", u"of an SMS-COMMAND"};
constexpr Words kPresent[] = {u"not there", u"there"};

constexpr BitField kDeliverBits[] = {{"TP-MTI", 2, kTypes},   {"TP-MMS", 1, kMore},     {"TP-LP", 1, kLoop},
                                     {"reserved", 1, {}},     {"TP-SRI", 1, kReturned}, {"TP-UDHI", 1, kHeader},
                                     {"TP-RP", 1, kReplyPath}};
constexpr BitField kSubmitBits[] = {{"TP-MTI", 2, kTypes},   {"TP-RD", 1, kDuplicates}, {"TP-VPF", 2, kFormats},
                                    {"TP-SRR", 1, kRequest}, {"TP-UDHI", 1, kHeader},   {"TP-RP", 1, kReplyPath}};
constexpr BitField kReportBits[] = {{"TP-MTI", 2, kTypes}, {"TP-MMS", 1, kMore},      {"TP-LP", 1, kLoop},
                                    {"reserved", 1, {}},   {"TP-SRQ", 1, kQualifier}, {"TP-UDHI", 1, kHeader},
                                    {"reserved", 1, {}}};
constexpr BitField kIndicatorBits[] = {{"TP-PI TP-PID", 1, kPresent},
                                       {"TP-PI TP-DCS", 1, kPresent},
                                       {"TP-PI TP-UDL", 1, kPresent},
                                       {"TP-PI reserved", 4, {}},
                                       {"TP-PI extension", 1, kPresent}};

constexpr int kHeaderIndicator = 0x40, kReportRequest = 0x20;

const DateNames& EnglishNames() {
  static const DateNames names{
      {u"Sun", u"Mon", u"Tue", u"Wed", u"Thu", u"Fri", u"Sat"},
      {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun", u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"}};
  return names;
}

class PduDecoder {
 public:
  PduDecoder(DecodedPdu& pdu, const DecodeOptions& options) : pdu_(pdu), options_(options), reader_(pdu) {}

  void Decode() {
    if (options_.hasServiceCentre) ReadServiceCentreFields();
    ReadMessage();
    reader_.TakeRest();
  }

 private:
  void ReadServiceCentreFields() {
    constexpr std::size_t kMostOctets = 12;
    const Octets field = reader_.Rest();
    const auto length = static_cast<std::size_t>(reader_.Octet("SCA Length"));
    reader_.Say(length == 0 ? u"the modem's own service centre" : Counted(length, u"octet"));
    if (length > kMostOctets) {
      reader_.Fail(u"the service centre's address cannot have " + Decimal(length) +
                       u" octets: perhaps there is none in front of this PDU",
                   0);
      return reader_.Stop();
    }
    if (length == 0) return;
    const int type = reader_.Octet("SCA Type-of-Address");
    reader_.Say(TypeOfAddressWords(type));
    reader_.Take(length - 1, "SCA Address-Value");
    if (reader_.IsStopped()) return;
    OctetReader address(field);
    pdu_.serviceCentre = ReadServiceCentre(address);
    if (length > 1) reader_.Say(pdu_.serviceCentre);
  }

  void ReadMessage() {
    if (reader_.IsStopped()) return;
    if (reader_.Rest().empty()) {
      reader_.Take(1, "TP-MTI");
      return;
    }
    constexpr int kDeliver = 0, kSubmit = 1, kReport = 2;
    const int type = reader_.Rest()[0] & 3;
    const bool isReceived = options_.direction == PduDirection::kReceived;
    const bool isSent = options_.direction == PduDirection::kSent;
    if (type == kSubmit) return isReceived ? Refuse(u"SMS-SUBMIT-REPORT") : ReadSubmit();
    if (isSent) {
      return Refuse(type == kDeliver ? u"SMS-DELIVER-REPORT" : type == kReport ? u"SMS-COMMAND" : u"reserved");
    }
    return type == kReport ? ReadReport() : ReadDeliver();
  }

  void Refuse(std::u16string_view kind) {
    const std::size_t octet = reader_.Offset();
    reader_.TakeBits(2, "TP-MTI", std::u16string(kind));
    reader_.Fail(
        u"the PDU at octet " + Decimal(octet) + u" is of the type " + std::u16string(kind) + u", which is not decoded",
        octet);
    reader_.Stop();
  }

  void ReadDeliver() {
    pdu_.kind = PduKind::kDeliver;
    const int first = reader_.Divided(kDeliverBits);
    ReadAddressFields("TP-OA");
    ReadProtocol();
    ReadDataCodingScheme();
    pdu_.time = ReadTime("TP-SCTS");
    ReadUserData(reader_, pdu_, (first & kHeaderIndicator) != 0);
  }

  void ReadSubmit() {
    pdu_.kind = PduKind::kSubmit;
    const int first = reader_.Divided(kSubmitBits);
    pdu_.asksForReport = (first & kReportRequest) != 0;
    pdu_.reference = reader_.Octet("TP-MR");
    ReadAddressFields("TP-DA");
    ReadProtocol();
    ReadDataCodingScheme();
    ReadValidity(first >> 3 & 3);
    ReadUserData(reader_, pdu_, (first & kHeaderIndicator) != 0);
  }

  void ReadReport() {
    pdu_.kind = PduKind::kStatusReport;
    const int first = reader_.Divided(kReportBits);
    pdu_.reference = reader_.Octet("TP-MR");
    ReadAddressFields("TP-RA");
    pdu_.time = ReadTime("TP-SCTS");
    pdu_.dischargeTime = ReadTime("TP-DT");
    const int status = reader_.Octet("TP-ST");
    if (reader_.IsStopped()) return;
    pdu_.status = status;
    pdu_.state = StateOf(status);
    pdu_.statusText = StatusWords(status);
    reader_.Say(pdu_.statusText);
    const Octets rest = reader_.Rest();
    const bool isFill = std::all_of(rest.begin(), rest.end(), [](std::uint8_t octet) { return octet == 0xFF; });
    if (!isFill) ReadOptionalFields((first & kHeaderIndicator) != 0);
  }

  void ReadOptionalFields(bool hasHeader) {
    constexpr int kProtocol = 0x01, kDataCoding = 0x02, kUserData = 0x04, kExtension = 0x80;
    const int present = reader_.Divided(kIndicatorBits);
    for (int more = present; (more & kExtension) != 0;) {
      more = reader_.Octet("TP-PI");
      reader_.Say(u"reserved");
    }
    if ((present & kProtocol) != 0) ReadProtocol();
    if ((present & kDataCoding) != 0) ReadDataCodingScheme();
    if ((present & kUserData) != 0) ReadUserData(reader_, pdu_, hasHeader);
  }

  void ReadAddressFields(const std::string& name) {
    const Octets field = reader_.Rest();
    const int semiOctets = reader_.Octet(name + " Address-Length");
    reader_.Say(Counted(static_cast<std::size_t>(semiOctets), u"semi-octet"));
    const int type = reader_.Octet(name + " Type-of-Address");
    reader_.Say(TypeOfAddressWords(type));
    reader_.Take(static_cast<std::size_t>(semiOctets + 1) / 2, name + " Address-Value");
    if (reader_.IsStopped()) return;
    OctetReader address(field);
    pdu_.number = ReadAddress(address);
    if (semiOctets > 0) reader_.Say(pdu_.number);
  }

  void ReadProtocol() {
    pdu_.protocol = reader_.Octet("TP-PID");
    reader_.Say(ProtocolWords(pdu_.protocol));
  }

  void ReadDataCodingScheme() {
    constexpr int kCodings[] = {7, 8, 16};
    const int scheme = reader_.Octet("TP-DCS");
    if (reader_.IsStopped()) return;
    reader_.Say(DataCodingWords(scheme));
    const DataCoding coding = ReadDataCoding(scheme);
    pdu_.dataCoding = scheme;
    pdu_.coding = kCodings[static_cast<std::size_t>(coding.alphabet)];
    pdu_.messageClass = coding.messageClass;
    if (coding.waiting) pdu_.waiting.push_back(*coding.waiting);
  }

  std::optional<PduTime> ReadTime(const char* name) {
    const Octets octets = reader_.Take(7, name);
    if (octets.empty()) return {};
    const bool isKnown = std::any_of(octets.begin(), octets.end(), [](std::uint8_t octet) { return octet != 0; });
    auto time = isKnown ? DecodeTimeStamp(HexDigits(octets), EnglishNames()) : std::nullopt;
    reader_.Say(time ? time->rfcText : isKnown ? u"no date" : u"not known");
    if (!time) return {};
    return PduTime{time->date, time->zone, std::move(time->rfcText)};
  }

  void ReadValidity(int format) {
    constexpr int kEnhanced = 1, kRelative = 2, kAbsolute = 3;
    if (format == kAbsolute) pdu_.validityTime = ReadTime("TP-VP");
    if (format == kEnhanced) ReadEnhancedValidity();
    if (format != kRelative) return;
    const Octets octet = reader_.Take(1, "TP-VP");
    if (octet.empty()) return;
    const std::string period = DecodeValidityPeriod(octet[0]);
    pdu_.validity = FromAscii(period);
    reader_.Say(ValidityWords(period));
  }

  // indicator { octet }: extension, single shot, 3 reserved bits, format (3 bits); by the format none, the relative
  // octet, seconds, or hours, minutes and seconds in semi-octets; zeros behind it. Extensions come in between.
  void ReadEnhancedValidity() {
    const Octets octets = reader_.Take(7, "TP-VP");
    if (octets.empty()) return;
    if ((octets[0] & 0x80) != 0) return reader_.Say(u"with an extension that is not known");
    const auto semiOctets = [&](std::size_t at) { return FromAscii(SwappedDigits(octets[at])); };
    std::u16string words;
    switch (octets[0] & 7) {
      case 0:
        words = u"none";
        break;
      case 1: {
        const std::string period = DecodeValidityPeriod(octets[1]);
        pdu_.validity = FromAscii(period);
        words = ValidityWords(period);
        break;
      }
      case 2:
        words = Counted(octets[1], u"second");
        break;
      case 3:
        words = semiOctets(1) + u":" + semiOctets(2) + u":" + semiOctets(3) + u" hours";
        break;
      default:
        words = u"reserved format";
        break;
    }
    reader_.Say((octets[0] & 0x40) != 0 ? words + u", single shot" : words);
  }

  static std::string SwappedDigits(std::uint8_t octet) {
    std::string digits = HexDigits({&octet, 1});
    std::swap(digits[0], digits[1]);
    return digits;
  }

  DecodedPdu& pdu_;
  const DecodeOptions& options_;
  FieldReader reader_;
};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The octets up to the first fault, which is noted.
void ReadHex(DecodedPdu& pdu, std::string_view hex) {
  int high = -1;
  pdu.octets.reserve(hex.size() / 2);
  for (std::size_t i = 0; i < hex.size(); ++i) {
    if (IsBlank(hex[i])) continue;
    const int digit = HexDigitValue(hex[i] >= 'a' && hex[i] <= 'f' ? static_cast<char>(hex[i] - 'a' + 'A') : hex[i]);
    if (digit < 0) {
      pdu.error = u"character " + Decimal(i + 1) + u" is no hex digit";
      break;
    }
    if (high >= 0) pdu.octets.push_back(static_cast<std::uint8_t>(high * 16 + digit));
    high = high < 0 ? digit : -1;
  }
  pdu.errorOctet = pdu.octets.size();
  if (pdu.HasError()) return;
  if (high >= 0) pdu.error = u"the last octet has one digit alone";
  if (hex.empty() || (pdu.octets.empty() && high < 0)) pdu.error = u"there is no PDU";
}

}  // namespace

std::string_view NameOf(PduKind kind) {
  switch (kind) {
    case PduKind::kDeliver:
      return "SMS-DELIVER";
    case PduKind::kSubmit:
      return "SMS-SUBMIT";
    case PduKind::kStatusReport:
      return "SMS-STATUS-REPORT";
    case PduKind::kUnknown:
      break;
  }
  return "unknown";
}

DecodedPdu DecodePdu(std::string_view hex, const DecodeOptions& options) {
  DecodedPdu pdu;
  ReadHex(pdu, hex);
  PduDecoder(pdu, options).Decode();
  if (!pdu.HasError()) pdu.errorOctet = 0;
  return pdu;
}

}  // namespace tavro
