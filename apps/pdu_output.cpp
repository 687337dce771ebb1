#include "pdu_output.h"

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "incoming/pdu_octets.h"
#include "platform/utf8.h"

namespace {

using tavro::DecodedPdu, tavro::PduField, tavro::ToUtf8;

constexpr std::size_t kOctetsALine = 7;  // as times and most addresses have

std::string Hex(const DecodedPdu& pdu, std::size_t offset, std::size_t length) {
  return tavro::HexDigits(std::span(pdu.octets).subspan(offset, length));
}

std::string SpacedHex(const DecodedPdu& pdu, std::size_t offset, std::size_t length) {
  std::string hex = Hex(pdu, offset, length);
  for (std::size_t i = 2; i < hex.size(); i += 3) hex.insert(i, 1, ' ');
  return hex;
}

bool EndsIn(const std::string& name, std::string_view end) { return std::string_view(name).ends_with(end); }

// What tells of another field alone: lengths, types, flags that say what stands behind, fill.
bool IsFrame(const PduField& field) {
  static const std::vector<std::string> names = {"TP-MTI", "TP-VPF", "TP-UDHI",  "TP-UDL",
                                                 "UDHL",   "IEIDL",  "reserved", "fill bits"};
  return EndsIn(field.name, "Length") || EndsIn(field.name, "Type-of-Address") || field.name.starts_with("TP-PI ") ||
         std::find(names.begin(), names.end(), field.name) != names.end();
}

void PrintItem(const std::string& name, const std::string& value) {
  const std::size_t end = std::min(value.find('\n'), value.size());
  std::cout << "  " << std::left << std::setw(8) << name << "  " << value.substr(0, end) << '\n';
  if (end < value.size()) PrintItem("", value.substr(end + 1));
}

std::string Title(const DecodedPdu& pdu) {
  const std::size_t octets = pdu.octets.size();
  return std::string(NameOf(pdu.kind)) + ", " + std::to_string(octets) + (octets == 1 ? " octet" : " octets");
}

// The bits of an octet as ".....01.".
std::string Bits(const DecodedPdu& pdu, const PduField& field) {
  std::string bits(8, '.');
  for (unsigned bit = field.firstBit; bit < field.firstBit + field.bitCount; ++bit) {
    bits[7 - bit] = (pdu.octets[field.offset] >> bit & 1) != 0 ? '1' : '0';
  }
  return bits;
}

// The first piece of the text that fits so many columns, up to a blank where it has one late enough; the text loses it.
std::string TakePiece(std::string& text, int columns) {
  std::size_t end = 0;
  for (std::size_t next = 0; next < text.size(); end = next) {
    do ++next;
    while (next < text.size() && (static_cast<unsigned char>(text[next]) & 0xC0) == 0x80);
    if (end > 0 && DisplayWidth(text.substr(0, next)) > columns) break;
  }
  if (end < text.size()) {
    const std::size_t blank = text.rfind(' ', end);
    if (blank != std::string::npos && blank >= end / 2) end = blank + 1;
  }
  std::string piece = text.substr(0, end);
  text.erase(0, end);
  return piece;
}

Json JsonOf(const DecodedPdu& pdu, const PduField& field) {
  return {{"name", field.name},          {"offset", field.offset},     {"length", field.length},
          {"firstBit", field.firstBit},  {"bitCount", field.bitCount}, {"hex", Hex(pdu, field.offset, field.length)},
          {"value", ToUtf8(field.value)}};
}

const char* NameOf(tavro::WaitingMessages::Kind kind) {
  using Kind = tavro::WaitingMessages::Kind;
  switch (kind) {
    case Kind::kVoice:
      return "voice";
    case Kind::kFax:
      return "fax";
    case Kind::kEmail:
      return "email";
    case Kind::kVideo:
      return "video";
    case Kind::kOther:
      break;
  }
  return "other";
}

void AddTime(Json& json, const std::string& name, const std::optional<tavro::PduTime>& time) {
  if (!time) return;
  json[name] = ToUtf8(time->rfcText);
  json[name + "Zone"] = time->zone;
}

}  // namespace

void PrintFields(const DecodedPdu& pdu) {
  std::cout << Coloured(Stream::kOutput, Colour::kBold, Title(pdu)) << '\n';
  std::string name, value;  // an information element, whose pieces are told in one
  const auto flush = [&] {
    if (!name.empty()) PrintItem(name, value);
    name.clear();
  };
  for (const PduField& field : pdu.fields) {
    if (IsFrame(field)) continue;
    if (field.name == "IED" && name == "IEI") {
      value += (value.find(": ") == std::string::npos ? ": " : ", ") + Printable(field.value);
      continue;
    }
    flush();
    name = field.name.substr(0, field.name.find(" Address-Value"));
    value = field.value.empty() ? Hex(pdu, field.offset, field.length) : Printable(field.value);
  }
  flush();
}

void PrintOctets(const DecodedPdu& pdu) {
  std::cout << Coloured(Stream::kOutput, Colour::kBold, Title(pdu)) << '\n';
  constexpr int kHexWidth = 3 * kOctetsALine - 1;
  int nameWidth = 0;
  for (const PduField& field : pdu.fields) nameWidth = std::max(nameWidth, static_cast<int>(field.name.size()));
  constexpr int kLeastMeaning = 24, kPlace = 5 + 2, kGap = 2;
  const int meaningWidth = std::max(TerminalWidth() - kPlace - kHexWidth - nameWidth - 2 * kGap, kLeastMeaning);
  const PduField* previous = nullptr;
  for (const PduField& field : pdu.fields) {
    const bool isPart = field.length == 1 && field.bitCount < 8;
    const bool isSameOctet = isPart && previous != nullptr && previous->offset == field.offset && previous->length == 1;
    std::string meaning = PrintableLine(field.value), name = field.name;
    for (std::size_t done = 0; done < field.length || !meaning.empty(); done += kOctetsALine) {
      const std::size_t left = field.length - std::min(done, field.length);
      const std::size_t offset = field.offset + done;
      std::string hex = SpacedHex(pdu, std::min(offset, pdu.octets.size()), std::min(left, kOctetsALine));
      if (isPart && done == 0) hex = (isSameOctet ? "  " : hex) + "  " + Bits(pdu, field);
      std::cout << std::right << std::setw(5) << (left == 0 || isSameOctet ? "" : std::to_string(offset)) << "  "
                << std::left << std::setw(kHexWidth) << hex << "  ";
      std::string piece = TakePiece(meaning, meaningWidth);
      if (name.empty() && piece.empty()) {
        std::cout << '\n';
        continue;
      }
      std::cout << std::setw(nameWidth) << name << (piece.empty() ? "" : "  ") << piece << '\n';
      name.clear();
    }
    previous = &field;
  }
}

Json JsonOf(const DecodedPdu& pdu, bool explained) {
  using tavro::PduKind;
  Json json = {{"kind", NameOf(pdu.kind)}, {"serviceCentre", ToUtf8(pdu.serviceCentre)}};
  json[pdu.kind == PduKind::kDeliver ? "from" : "to"] = ToUtf8(pdu.number);
  if (pdu.kind != PduKind::kDeliver) json["reference"] = pdu.reference;
  AddTime(json, "time", pdu.time);
  if (pdu.kind == PduKind::kSubmit) {
    json["asksForReport"] = pdu.asksForReport;
    json["validity"] = ToUtf8(pdu.validity);
    AddTime(json, "validityTime", pdu.validityTime);
  }
  if (pdu.kind == PduKind::kStatusReport) {
    AddTime(json, "dischargeTime", pdu.dischargeTime);
    json["state"] = NameOf(pdu.state);
    json["status"] = pdu.status;
    json["statusText"] = ToUtf8(pdu.statusText);
  }
  json.update({{"text", ToUtf8(pdu.text)},
               {"data", tavro::HexDigits(pdu.data)},
               {"protocol", pdu.protocol},
               {"dataCoding", pdu.dataCoding},
               {"coding", pdu.coding}});
  if (pdu.messageClass) json["messageClass"] = *pdu.messageClass;
  if (pdu.concatenation) {
    json["concatenation"] = {{"reference", pdu.concatenation->reference},
                             {"isWide", pdu.concatenation->isWide},
                             {"part", pdu.concatenation->part},
                             {"parts", pdu.concatenation->parts}};
  }
  if (pdu.ports) json["ports"] = {{"destination", pdu.ports->destination}, {"source", pdu.ports->source}};
  for (const tavro::WaitingMessages& waiting : pdu.waiting) {
    json["waiting"].push_back({{"kind", NameOf(waiting.kind)},
                               {"active", waiting.active},
                               {"count", waiting.count ? Json(*waiting.count) : Json()}});
  }
  if (pdu.HasError()) json["error"] = {{"octet", pdu.errorOctet}, {"text", ToUtf8(pdu.error)}};
  if (explained) {
    json["fields"] = Json::array();
    for (const PduField& field : pdu.fields) json["fields"].push_back(JsonOf(pdu, field));
  }
  return json;
}
