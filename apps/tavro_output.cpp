#include "tavro_output.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <utility>

#include "base/visible_text.h"
#include "console.h"
#include "platform/utf8.h"

using tavro::FromUtf8, tavro::ToUtf8;

namespace {

constexpr int kPretty = 2, kOneLine = -1;

// Anything but ASCII stands in a text, where control characters up to 1F are escaped already.
std::string DumpWith(const Json& json, int indent) {
  std::u16string dump;
  for (const char16_t c : FromUtf8(json.dump(indent, ' ', false, Json::error_handler_t::replace))) {
    if (c >= 0x7F && tavro::IsHidden(c)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      dump += FromUtf8(escape);
    } else {
      dump += c;
    }
  }
  return ToUtf8(dump);
}

}  // namespace

std::string Printable(std::u16string_view text) {
  std::u16string lines;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
    lines += text[i] == u'\r' ? u'\n' : text[i] == u'\t' ? u' ' : text[i];
  }
  return ShownText(ToUtf8(tavro::VisibleText(lines, u"\n")));
}

std::string PrintableLine(std::u16string_view text) {
  std::string line = Printable(text);
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

std::string PrintableLine(const std::string& text) { return PrintableLine(FromUtf8(text)); }

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
  if (!memory.empty()) std::cout << PrintableLine(memory) << "  ";
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
            << PrintableLine(report.text) << '\n';
}
