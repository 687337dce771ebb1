#include "tavro_output.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "base/calendar.h"
#include "base/visible_text.h"
#include "console.h"
#include "platform/utf8.h"

using tavro::FromUtf8, tavro::ToUtf8;

namespace {

constexpr int kPretty = 2, kOneLine = -1;

template <typename... Values>
std::string Formatted(const char* format, Values... values) {
  char text[32];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// Anything but ASCII stands in a text, where control characters up to 1F are escaped already.
std::string DumpWith(const Json& json, int indent) {
  const std::string plain = json.dump(indent, ' ', false, Json::error_handler_t::replace);
  if (std::all_of(plain.begin(), plain.end(), [](char c) { return static_cast<unsigned char>(c) < 0x7F; })) {
    return plain;
  }
  std::u16string dump;
  for (const char16_t c : FromUtf8(plain)) {
    if (c >= 0x7F && tavro::IsHidden(c)) {
      dump += FromUtf8(Formatted("\\u%04x", static_cast<unsigned>(c)));
    } else {
      dump += c;
    }
  }
  return ToUtf8(dump);
}

}  // namespace

std::string Visible(std::u16string_view text) {
  std::u16string lines;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
    lines += text[i] == u'\r' ? u'\n' : text[i] == u'\t' ? u' ' : text[i];
  }
  return ToUtf8(tavro::VisibleText(lines, u"\n"));
}

std::string VisibleLine(std::u16string_view text) {
  std::string line = Visible(text);
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

std::string Printable(std::u16string_view text) { return ShownText(Visible(text)); }
std::string PrintableLine(std::u16string_view text) { return ShownText(VisibleLine(text)); }
std::string PrintableLine(const std::string& text) { return PrintableLine(FromUtf8(text)); }

std::string Dump(const Json& json) { return DumpWith(json, kPretty); }
std::string DumpLine(const Json& json) { return DumpWith(json, kOneLine); }

void AddOutputForm(CLI::App& app, OutputForm& form) {
  CLI::Option* json = app.add_flag_callback(
      "--json", [&form] { form = OutputForm::kJson; }, "Print JSON, one document");
  CLI::Option* lines = app.add_flag_callback(
      "--jsonl", [&form] { form = OutputForm::kJsonLines; }, "Print JSON, one object a line");
  lines->excludes(json);
}

void JsonPrinter::Add(const Json& item) {
  if (form_ == OutputForm::kJsonLines) {
    std::cout << DumpLine(item) << '\n';
    PassOutputOn();
  }
  if (form_ != OutputForm::kJson) return;
  items_ += items_.empty() ? "\n" : ",\n";
  const std::string dump = Dump(item);
  for (std::size_t start = 0; start < dump.size();) {
    const std::size_t end = std::min(dump.find('\n', start), dump.size() - 1) + 1;
    items_.append(static_cast<std::size_t>(kPretty), ' ').append(dump, start, end - start);
    start = end;
  }
}

void JsonPrinter::Finish() {
  if (form_ != OutputForm::kJson) return;
  std::cout << '[' << items_ << (items_.empty() ? "]\n" : "\n]\n");
  PassOutputOn();
}

void JsonPrinter::Print(const Json& object) {
  if (IsText()) return;
  std::cout << (form_ == OutputForm::kJson ? Dump(object) : DumpLine(object)) << '\n';
  PassOutputOn();
}

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

std::string ShortTime(double date) {
  if (date == 0) return {};
  const tavro::DateTime time = tavro::FromOleDate(date);
  return Formatted("%04d-%02d-%02d %02d:%02d", time.year, time.month, time.day, time.hour, time.minute);
}

std::string FullTime(double date, int zone) {
  if (date == 0) return {};
  const tavro::DateTime time = tavro::FromOleDate(date);
  return Formatted("%04d-%02d-%02dT%02d:%02d:%02d", time.year, time.month, time.day, time.hour, time.minute,
                   time.second) +
         Formatted("%c%02d:%02d", zone < 0 ? '-' : '+', std::abs(zone) / 60, std::abs(zone) % 60);
}

Json JsonOf(const tavro::Message& message) {
  Json ports, waiting = Json::array();
  if (const auto known = message.Ports()) ports = {{"destination", known->destination}, {"source", known->source}};
  for (const tavro::WaitingMessages& kind : message.Waiting()) {
    constexpr const char* kKinds[] = {"voice", "fax", "email", "other", "video"};
    waiting.push_back({{"kind", kKinds[static_cast<std::size_t>(kind.kind)]},
                       {"active", kind.active},
                       {"count", kind.count ? Json(*kind.count) : Json()}});
  }
  std::string data;
  for (const std::uint8_t octet : message.Data()) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    data += {kDigits[octet >> 4], kDigits[octet & 15]};
  }
  const auto messageClass = message.MessageClass();
  return {{"from", ToUtf8(message.Phone())},
          {"text", ToUtf8(message.Text())},
          {"time", ToUtf8(message.TimeStampRFC())},
          {"timeZone", message.TimeZone()},
          {"timestamp", FullTime(message.TimeStamp(), message.TimeZone())},
          {"serviceCentre", ToUtf8(message.SMSC())},
          {"parts", message.Parts()},
          {"missingParts", message.MissingParts()},
          {"ports", std::move(ports)},
          {"class", messageClass ? Json(*messageClass) : Json()},
          {"isReplacement", message.IsReplacement()},
          {"waiting", std::move(waiting)},
          {"data", std::move(data)}};
}

Json JsonOf(const tavro::StatusReport& report) {
  return {{"reference", report.reference},
          {"to", ToUtf8(report.recipient)},
          {"state", NameOf(report.state)},
          {"status", report.status},
          {"text", ToUtf8(report.text)},
          {"sent", ToUtf8(report.sentTimeStampRFC)},
          {"time", ToUtf8(report.dischargeTimeStampRFC)},
          {"timestamp", FullTime(report.dischargeTimeStamp, report.dischargeTimeZone)},
          {"serviceCentre", ToUtf8(report.smsc)}};
}
