// The C interface to PDUs without a modem.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "c/lists.h"
#include "platform/utf8.h"
#include "tavro/pdu.h"
#include "tavro/tavro.h"

using namespace tavro;

namespace {

// Its fields, and the whole.
class DecodedList : public ListOf<tavro_pdu_field> {
 public:
  explicit DecodedList(const DecodedPdu& pdu);

  tavro_pdu whole{};

 private:
  void Keep(const std::optional<PduTime>& time, std::int64_t& seconds, std::int32_t& zone, tavro_text& text);
};

DecodedList::DecodedList(const DecodedPdu& pdu) {
  whole.kind = static_cast<std::int32_t>(pdu.kind);
  Keep(pdu.time, whole.time, whole.time_zone, whole.time_text);
  Keep(pdu.dischargeTime, whole.discharge_time, whole.discharge_time_zone, whole.discharge_time_text);
  Keep(pdu.validityTime, whole.validity_time, whole.validity_time_zone, whole.validity_time_text);
  whole.error_octet = static_cast<std::int32_t>(pdu.errorOctet);
  whole.protocol = pdu.protocol;
  whole.data_coding = pdu.dataCoding;
  whole.coding = pdu.coding;
  whole.message_class = NumberOr(pdu.messageClass, -1);
  whole.destination_port = pdu.ports ? pdu.ports->destination : -1;
  whole.source_port = pdu.ports ? pdu.ports->source : -1;
  const PduConcatenation concatenation = pdu.concatenation.value_or(PduConcatenation{.reference = -1});
  whole.long_reference = concatenation.reference;
  whole.is_wide = concatenation.isWide ? 1 : 0;
  whole.part = concatenation.part;
  whole.parts = concatenation.parts;
  whole.reference = pdu.reference;
  whole.asks_for_report = pdu.asksForReport ? 1 : 0;
  whole.status = pdu.status;
  whole.state = static_cast<std::int32_t>(pdu.state);
  whole.error = arena.Keep(pdu.error);
  whole.service_centre = arena.Keep(pdu.serviceCentre);
  whole.number = arena.Keep(pdu.number);
  whole.text = arena.Keep(pdu.text);
  whole.validity = arena.Keep(pdu.validity);
  whole.status_text = arena.Keep(pdu.statusText);
  whole.octets = arena.Keep(pdu.octets);
  whole.octet_count = pdu.octets.size();
  whole.data = arena.Keep(pdu.data);
  whole.data_length = pdu.data.size();
  whole.waiting = arena.Keep(pdu.waiting);
  whole.waiting_count = pdu.waiting.size();

  for (const PduField& field : pdu.fields) {
    elements.push_back({0, static_cast<std::int32_t>(field.offset), static_cast<std::int32_t>(field.length),
                        static_cast<std::int32_t>(field.firstBit), static_cast<std::int32_t>(field.bitCount), 0,
                        arena.KeepBytes(field.name), arena.Keep(field.value)});
  }
}

void DecodedList::Keep(const std::optional<PduTime>& time, std::int64_t& seconds, std::int32_t& zone,
                       tavro_text& text) {
  seconds = time ? UnixTime(time->date, time->zone) : TAVRO_NO_TIME;
  zone = time ? time->zone : 0;
  text = arena.Keep(time ? std::u16string_view(time->rfcText) : std::u16string_view());
}

DecodeOptions DecodeOptionsOf(std::uint32_t flags) {
  constexpr std::uint32_t kDirections = TAVRO_PDU_RECEIVED | TAVRO_PDU_SENT;
  Require((flags & ~(TAVRO_PDU_WITHOUT_SMSC | kDirections)) == 0, "A flag is unknown");
  Require((flags & kDirections) != kDirections, "A PDU cannot go both ways");
  return {.hasServiceCentre = (flags & TAVRO_PDU_WITHOUT_SMSC) == 0,
          .direction = (flags & TAVRO_PDU_RECEIVED) != 0 ? PduDirection::kReceived
                       : (flags & TAVRO_PDU_SENT) != 0   ? PduDirection::kSent
                                                         : PduDirection::kAny};
}

EncodeOptions EncodeOptionsOf(const tavro_encode_options& given) {
  constexpr std::uint32_t kAll =
      TAVRO_ENCODE_FLASH | TAVRO_ENCODE_STATUS_REPORT | TAVRO_ENCODE_WIDE_REFERENCES | TAVRO_ENCODE_WITH_REFERENCE;
  Require((given.flags & ~kAll) == 0, "A flag is unknown");
  Require(given.reserved == 0, "A structure has values that this version does not know");
  const auto has = [&](std::uint32_t flag) { return (given.flags & flag) != 0; };
  EncodeOptions options;
  if (given.coding != 0) options.coding = ShortOf(given.coding);
  options.longMessage = ShortOf(LongMessageOf(given.long_message));
  options.validity = TextArgument(given.validity, options.validity);
  options.statusReport = has(TAVRO_ENCODE_STATUS_REPORT);
  options.flash = has(TAVRO_ENCODE_FLASH);
  options.wideReferences = has(TAVRO_ENCODE_WIDE_REFERENCES);
  if (has(TAVRO_ENCODE_WITH_REFERENCE)) options.reference = given.reference;
  options.serviceCentre = TextArgument(given.service_centre, u"");
  return options;
}

}  // namespace

int tavro_decode(const char* hex, std::uint32_t flags, tavro_list** fields) {
  Clear(fields);
  return PlainCall([&] {
    Require(hex != nullptr, "A text is NULL");
    Require(fields != nullptr, "There is no place for the fields");
    GiveList(std::make_shared<DecodedList>(DecodePdu(hex, DecodeOptionsOf(flags))), fields);
  });
}

int tavro_decoded(tavro_list* fields, tavro_pdu* pdu) {
  return PlainCall([&] { WriteStructure(pdu, ObjectOf<DecodedList>(fields)->whole); });
}

int tavro_encode(const char* number, const char* text, const tavro_encode_options* options, tavro_list** parts) {
  return tavro_encode_n(number, text, text ? std::strlen(text) : 0, options, parts);
}

int tavro_encode_n(const char* number, const char* text, std::size_t length, const tavro_encode_options* options,
                   tavro_list** parts) {
  Clear(parts);
  return PlainCall([&] {
    Require(parts != nullptr, "There is no place for the parts");
    const EncodedPdu encoded = EncodePdu(TextArgument(number), TextArgument(text, length),
                                         options ? EncodeOptionsOf(ReadStructure(options)) : EncodeOptions());
    if (encoded.errorCode != 0) {
      Failure failure;
      failure.Set(encoded.errorCode, ToUtf8(encoded.errorDescription));
      throw failure;
    }
    auto list = std::make_shared<ListOf<tavro_pdu_part>>();
    for (const EncodedPart& part : encoded.parts) {
      list->elements.push_back({0, static_cast<std::int32_t>(part.tpduLength), list->arena.KeepBytes(part.hex)});
    }
    GiveList(std::move(list), parts);
  });
}
