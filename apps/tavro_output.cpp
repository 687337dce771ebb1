#include "tavro_output.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <utility>

#include "platform/utf8.h"

using tavro::FromUtf8, tavro::ToUtf8;

namespace {

constexpr int kPretty = 2, kOneLine = -1;

std::string DumpWith(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string Printable(std::u16string text) {
  for (char16_t& c : text) {
    const bool control = c < 0x20 || (c >= 0x7F && c < 0xA0);
    if (control && c != u'\n') c = c == u'\r' || c == u'\t' ? u' ' : u'?';
  }
  return ToUtf8(text);
}

std::string Printable(const std::string& text) { return Printable(FromUtf8(text)); }

std::string PrintableLine(const std::u16string& text) {
  std::string line = Printable(text);
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

std::string Dump(const Json& json) { return DumpWith(json, kPretty); }
std::string DumpLine(const Json& json) { return DumpWith(json, kOneLine); }

const char* NameOf(tavro::DeliveryState state) {
  switch (state) {
    case tavro::DeliveryState::kDelivered:
      return "delivered";
    case tavro::DeliveryState::kForwarded:
      return "forwarded";
    case tavro::DeliveryState::kReplaced:
      return "replaced";
    case tavro::DeliveryState::kTrying:
      return "trying";
    case tavro::DeliveryState::kGivenUp:
      return "given up";
    case tavro::DeliveryState::kFailed:
      return "failed";
    case tavro::DeliveryState::kUnknown:
      break;
  }
  return "unknown";
}

Json JsonOf(const tavro::Message& message) {
  return {{"from", ToUtf8(message.Phone())},
          {"text", ToUtf8(message.Text())},
          {"time", ToUtf8(message.TimeStampRFC())},
          {"timeZone", message.TimeZone()},
          {"serviceCentre", ToUtf8(message.SMSC())}};
}

Json JsonOf(const tavro::StatusReport& report) {
  return {{"reference", report.reference},
          {"to", ToUtf8(report.recipient)},
          {"state", NameOf(report.state)},
          {"status", report.status},
          {"text", ToUtf8(report.text)},
          {"sent", ToUtf8(report.sentTimeStampRFC)},
          {"time", ToUtf8(report.dischargeTimeStampRFC)},
          {"serviceCentre", ToUtf8(report.smsc)}};
}

void Print(const tavro::Message& message, bool numbered, const std::string& memory) {
  if (!memory.empty()) std::cout << memory << "  ";
  if (numbered) std::cout << message.Index() << "  ";
  std::cout << PrintableLine(message.Phone()) << "  " << ToUtf8(message.TimeStampRFC()) << '\n';
  std::string text = Printable(message.Text());
  for (std::size_t lineEnd = text.find('\n'); lineEnd != std::string::npos; lineEnd = text.find('\n', lineEnd + 1)) {
    text.insert(lineEnd + 1, "    ");
  }
  std::cout << "    " << text << '\n';
}

void Print(const tavro::StatusReport& report) {
  std::cout << "Report on " << report.reference << " to " << PrintableLine(report.recipient) << "  "
            << ToUtf8(report.dischargeTimeStampRFC) << "\n    " << NameOf(report.state) << ": "
            << Printable(report.text) << '\n';
}
