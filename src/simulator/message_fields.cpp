#include "simulator/message_fields.h"

#include "simulator/looped_message.h"
#include "simulator/octet_reader.h"

namespace tavro {

namespace {

constexpr std::size_t kTimeStampOctets = 7;

std::string TakeAddress(OctetReader& reader) { return reader.Take(2 + (std::size_t{reader.Peek()} + 1) / 2); }

}  // namespace

std::optional<MessageFields> ParseMessage(std::string_view pduHex) {
  constexpr std::size_t kValidityOctets[] = {0, 7, 1, 7};  // by the format bits 4 and 3
  const std::optional<std::string> octets = OctetsFromHex(pduHex);
  if (!octets) return std::nullopt;
  OctetReader reader(*octets);
  MessageFields fields;
  fields.serviceCentre = reader.Take(std::size_t{1} + reader.Peek());
  fields.firstOctet = reader.TakeOctet();
  const int type = fields.firstOctet & 3;
  if (type == 3) return std::nullopt;  // reserved
  fields.kind = type == 0   ? MessageFields::Kind::kDeliver
                : type == 1 ? MessageFields::Kind::kSubmit
                            : MessageFields::Kind::kStatusReport;
  if (fields.kind != MessageFields::Kind::kDeliver) fields.reference = reader.TakeOctet();
  fields.address = TakeAddress(reader);
  if (fields.kind == MessageFields::Kind::kStatusReport) {
    fields.timeStamp = reader.Take(kTimeStampOctets);
    fields.discharge = reader.Take(kTimeStampOctets);
    fields.status = reader.TakeOctet();
  } else {
    fields.protocol = reader.TakeOctet();
    fields.coding = reader.TakeOctet();
    if (fields.kind == MessageFields::Kind::kDeliver) fields.timeStamp = reader.Take(kTimeStampOctets);
    if (fields.kind == MessageFields::Kind::kSubmit) {
      fields.validity = reader.Take(kValidityOctets[fields.firstOctet >> 3 & 3]);
    }
    fields.length = reader.TakeOctet();
    const auto length = static_cast<std::size_t>(fields.length);
    fields.userData = reader.Take(HasSeptets(fields.coding) ? (length * 7 + 7) / 8 : length);
  }
  return reader.HasFailed() ? std::nullopt : std::optional(std::move(fields));
}

std::optional<int> MessageClass(std::uint8_t coding) {
  const bool isGeneral = (coding & 0x80) == 0 && (coding & 0x10) != 0, isDataCoding = (coding & 0xF0) == 0xF0;
  return isGeneral || isDataCoding ? std::optional(coding & 3) : std::nullopt;
}

bool IsStoredWaitingIndication(std::uint8_t coding) { return (coding & 0xF0) == 0xD0 || (coding & 0xF0) == 0xE0; }

}  // namespace tavro
