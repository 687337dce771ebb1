//   AT+CNMI=mode,mt,bm,ds,bfr
//   mode   2: what comes while the line is busy is told behind it; else 3, 1
//   mt     1: stored and told of; 2: given directly
//   bm     0: no cell broadcasts
//   ds     2: reports are stored and told of; 1: given directly; 0: not told of
//   bfr    0: what was kept while the mode was 0 is told now; 1: it is dropped
#include "connection/new_message_indications.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "base/text.h"

namespace tavro {

namespace {

using Values = std::array<int, 5>;

constexpr std::uint32_t kRetryInterval = 60000;  // ms

// "(0-2),(0,1,3),(0),(0,1),(0,1)" as the values that each place may have; empty when it cannot be read.
std::vector<std::vector<int>> AllowedValues(std::string_view information) {
  std::vector<std::vector<int>> allowed;
  for (std::size_t open = information.find('('); open != std::string_view::npos;
       open = information.find('(', open + 1)) {
    const std::string_view list = information.substr(open + 1, information.find(')', open) - open - 1);
    std::vector<int>& values = allowed.emplace_back();
    for (const std::string_view piece : Split(list, ",")) {
      const auto ends = Split(piece, "-");
      int first = 0, last = 0;
      if (!ParseWhole(Trim(ends.front()), first) || !ParseWhole(Trim(ends.back()), last) || last - first > 9) return {};
      for (int value = first; value <= last; ++value) values.push_back(value);
    }
  }
  return allowed.size() == std::tuple_size_v<Values> ? allowed : std::vector<std::vector<int>>();
}

bool IsAllowed(const std::vector<std::vector<int>>& allowed, const Values& values) {
  if (allowed.empty()) return true;  // it has to be tried
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (std::find(allowed[i].begin(), allowed[i].end(), values[i]) == allowed[i].end()) return false;
  }
  return true;
}

std::string CommandFor(const Values& values) {
  std::string command = "AT+CNMI=";
  for (const int value : values) command += std::to_string(value) + ",";
  command.back() = '\r';
  return command;
}

}  // namespace

NewMessageIndications::NewMessageIndications(const DialogueContext& dialogue, ModemConnection& connection)
    : DialoguePart(dialogue), connection_(connection) {}

// The best one first.
std::vector<NewMessageIndications::Values> NewMessageIndications::Choices(
    int mt, const std::vector<std::vector<int>>& allowed) const {
  constexpr std::size_t kReports = 3;
  std::vector<Values> choices;
  for (const int bfr : {0, 1}) {
    for (const int ds : {2, 1, 0}) {
      for (const int mode : {2, 3, 1}) {
        const Values values{mode, mt, 0, ds, bfr};
        if (IsAllowed(allowed, values)) choices.push_back(values);
      }
    }
  }
  // What is not known to be allowed is not tried in every combination.
  if (allowed.empty())
    choices = {{2, mt, 0, 2, 0}, {2, mt, 0, 1, 0}, {2, mt, 0, 0, 0}, {3, mt, 0, 0, 0}, {1, mt, 0, 0, 1}};
  if (!storesReports_) std::erase_if(choices, [](const Values& values) { return values[kReports] == 2; });
  return choices;
}

void NewMessageIndications::SwitchOn() {
  if (!manner_.asksForIndications || !exchange_.IsPortOpen()) return;
  const bool isNew = connectionCount_ != connection_.Count();
  // A modem that has just been started may refuse for a while.
  if (!isNew && (areOn_ || platform_.TickCount() - triedTick_ < kRetryInterval)) return;
  log_.WriteLog("Enable new message indication");
  triedTick_ = platform_.TickCount();
  const auto allowed = AllowedValues(exchange_.CheckCommandResponse("AT+CNMI=?\r").Information("+CNMI:"));
  constexpr int kStored = 1, kDirect = 2;
  acknowledges_ = false;
  areOn_ = SwitchToOneOf(Choices(kStored, allowed)) || (allowed.empty() && Send("AT+CNMI=2,1\r"));
  if (!areOn_) {
    // Otherwise what is given directly would be lost when nobody takes it.
    acknowledges_ = Send("AT+CSMS=1\r");
    areOn_ = acknowledges_ && SwitchToOneOf(Choices(kDirect, allowed));
  }
  confirmed_ = areOn_ ? Ask() : std::string();
  errors_.ClearError();
  connectionCount_ = exchange_.IsPortOpen() ? connection_.Count() : kNone;
  if (isNew) state_.heardBefore = exchange_.Hear();
  if (!areOn_) log_.WriteLog("The modem tells of no messages: it is asked for them every few seconds");
}

void NewMessageIndications::AvoidStoredReports() {
  if (!std::exchange(storesReports_, false)) return;
  log_.WriteLog("The modem stores status reports where they cannot be read: it is to give them directly");
  connectionCount_ = kNone;
  SwitchOn();
}

bool NewMessageIndications::Send(const std::string& command) {
  return exchange_.IsPortOpen() && exchange_.CheckCommandResponse(command).IsGood();
}

bool NewMessageIndications::SwitchToOneOf(const std::vector<Values>& choices) {
  return std::any_of(choices.begin(), choices.end(), [this](const Values& values) { return Send(CommandFor(values)); });
}

std::string NewMessageIndications::Ask() {
  const Answer answer = exchange_.CheckCommandResponse("AT+CNMI?\r");
  return answer.IsGood() ? answer.Information("+CNMI:") : std::string();
}

bool NewMessageIndications::Verify() {
  const std::string now = Ask();
  const bool answered = !errors_.IsPending();
  errors_.ClearError();
  return answered && now == confirmed_;
}

}  // namespace tavro
