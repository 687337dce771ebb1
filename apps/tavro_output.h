// How `tavro` shows things: as text for people, whose control characters must not reach the terminal when they come
// from outside, and as JSON.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tavro/message.h"
#include "tavro/status_report.h"

namespace CLI {
class App;
}

using Json = nlohmann::ordered_json;

enum class OutputForm : std::uint8_t { kText, kJson, kJsonLines };
// Adds --json and --jsonl, one of which may be given; `form` stays as it is without.
void AddOutputForm(CLI::App& app, OutputForm& form);

// Prints JSON on standard output: one document for all that was added, or each on a line of its own at once. In the
// form of text it prints nothing.
class JsonPrinter {
 public:
  explicit JsonPrinter(OutputForm form) : form_(form) {}
  bool IsText() const { return form_ == OutputForm::kText; }
  // A line that cannot be written is an error of std::cout.
  void Add(Json item);
  // The array of all that was added, in the one document.
  void Finish();
  // In place of these two where there is just one thing: the object by itself.
  void Print(const Json& object);

 private:
  const OutputForm form_;
  Json items_ = Json::array();
};

// In UTF-8: its line ends as line feeds, and what a terminal would take for a command as VisibleText shows it.
std::string Visible(std::u16string_view text);
// The same on one line.
std::string VisibleLine(std::u16string_view text);

// Both as the user's locale can show them (ShownText).
std::string Printable(std::u16string_view text);
std::string PrintableLine(std::u16string_view text);
std::string PrintableLine(const std::string& text);

// JSON with all characters escaped that VisibleText shows. What is no UTF-8 in it is replaced.
std::string Dump(const Json& json);
// On one line.
std::string DumpLine(const Json& json);

// "delivered", "given up" ...
const char* NameOf(tavro::DeliveryState state);

// An OLE Automation date as "2008-03-05 14:07"; empty for 0.
std::string ShortTime(double date);
// The same with seconds and the zone in minutes from UTC: "2008-03-05T14:07:09+05:30" (RFC 3339).
std::string FullTime(double date, int zone);

Json JsonOf(const tavro::Message& message);
Json JsonOf(const tavro::StatusReport& report);
