// tavro info: what modem, SIM and network say of themselves.
#include <algorithm>
#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "command_line.h"
#include "console.h"
#include "end_signals.h"
#include "platform/utf8.h"
#include "tavro_output.h"

namespace {

using tavro::ToUtf8;

struct Item {
  const char* label;
  const char* key;
  std::function<Json(tavro::SMS&)> read;
};

Json Memories(tavro::SMS& sms) {
  Json memories = Json::array();
  for (const auto& memory : sms.MemoryUsage()) {
    memories.push_back({{"name", ToUtf8(memory.name)}, {"used", memory.used}, {"total", memory.total}});
  }
  return memories;
}

const std::vector<Item>& Items() {
  using tavro::SMS;
  static const std::vector<Item> items = {
      {"Manufacturer", "manufacturer", [](SMS& sms) { return ToUtf8(sms.Manufacturer()); }},
      {"Model", "model", [](SMS& sms) { return ToUtf8(sms.Model()); }},
      {"Revision", "revision", [](SMS& sms) { return ToUtf8(sms.Revision()); }},
      {"IMEI", "imei", [](SMS& sms) { return ToUtf8(sms.IMEI()); }},
      {"IMSI", "imsi", [](SMS& sms) { return ToUtf8(sms.IMSI()); }},
      {"Own number", "ownNumber", [](SMS& sms) { return ToUtf8(sms.OwnNumber()); }},
      {"Service centre", "serviceCentre", [](SMS& sms) { return ToUtf8(sms.SMSC()); }},
      {"Operator", "operator", [](SMS& sms) { return ToUtf8(sms.Network()); }},
      {"Signal (percent)", "signalPercent", [](SMS& sms) { return sms.SignalStrength(); }},
      {"Signal (dB)", "signalDb", [](SMS& sms) { return sms.SignalStrengthDB(); }},
      {"Battery (percent)", "batteryPercent", [](SMS& sms) { return sms.BatteryLevel(); }},
      {"Message memory", "messageMemory", [](SMS& sms) { return ToUtf8(sms.MessageMemory()); }},
      {"Memories", "memories", Memories},
  };
  return items;
}

// As a bar for a terminal: behind the percentage where it is one.
std::string BarOf(const Item& item, const Json& value) {
  constexpr int kBar = 10;
  if (std::string_view(item.key) != "signalPercent" || !value.is_number() || !IsTerminal(Stream::kOutput)) return {};
  const int percent = value.get<int>(), full = (percent * kBar + 50) / 100;
  const bool hasBlocks = ShownText("\u2588") == "\u2588";
  std::string bar;
  for (int i = 0; i < kBar; ++i) bar += i < full ? (hasBlocks ? "\u2588" : "#") : (hasBlocks ? "\u2591" : "-");
  const Colour colour = percent < 20 ? Colour::kRed : percent < 50 ? Colour::kYellow : Colour::kGreen;
  return "  " + Coloured(Stream::kOutput, colour, bar);
}

struct InfoArguments {
  bool json = false;
  bool jsonLine = false;
};

void Info(Session& session, const InfoArguments& arguments) {
  const bool json = arguments.json || arguments.jsonLine;
  Json result = Json::object();
  std::optional<OperationFailed> failure;
  for (const Item& item : Items()) {
    Json value = item.read(session.Sms());
    std::string shown = value.is_string() ? value.get<std::string>() : value.dump();
    try {
      session.Check(shown != "" && shown != "-1" && shown != "[]");
    } catch (const OperationFailed& error) {  // few modems know everything
      if (EndSignals::Received() != 0) throw;
      value = nullptr;
      failure = error;
      shown = "unknown (" + std::string(error.what()) + ")";
    }
    result[item.key] = value;
    if (json) continue;
    if (!value.is_array()) std::cout << item.label << ": " << PrintableLine(shown) << BarOf(item, value) << '\n';
    for (const Json& memory : value.is_array() ? value : Json::array()) {
      std::cout << "Memory " << PrintableLine(memory["name"].get<std::string>()) << ": " << memory["used"] << " of "
                << memory["total"] << '\n';
    }
  }
  if (json) std::cout << (arguments.jsonLine ? DumpLine(result) : Dump(result)) << '\n';
  if (std::all_of(result.begin(), result.end(), [](const Json& value) { return value.is_null(); })) throw *failure;
}

}  // namespace

void AddInfo(CommandLine& line) {
  const auto arguments = std::make_shared<InfoArguments>();
  CLI::App* info = line.Add("info", "Show what modem, SIM and network say of themselves", [&line, arguments] {
    Session session(line.connection);
    Info(session, *arguments);
    return kDone;
  });
  CLI::Option* json = info->add_flag("--json", arguments->json, "Print JSON");
  info->add_flag("--jsonl", arguments->jsonLine, "Print JSON on one line")->excludes(json);
}
