#include "incoming/deliveries.h"

#include <algorithm>
#include <map>

#include "base/text.h"

namespace tavro {

namespace {

// Nothing when the text is no list of references.
std::optional<std::vector<int>> ReferencesIn(std::string_view text) {
  std::vector<int> references;
  for (const std::string_view piece : Split(text, ",")) {
    int reference = 0;
    if (!ParseWhole(Trim(piece), reference) || reference < 0 || reference > 255) return {};
    references.push_back(reference);
  }
  return references;
}

// A final report counts more than one on a try, and a later one more than an earlier one.
bool IsBetter(const Status& status, const Status* best) {
  return best == nullptr || IsFinal(status.report.state) || !IsFinal(best->report.state);
}

}  // namespace

Deliveries::Deliveries(const DialogueContext& dialogue, ModemConnection& connection, MessageMemory& memory,
                       StatusBox& box, const SentMessages& sent)
    : DialoguePart(dialogue), connection_(connection), memory_(memory), box_(box), sent_(sent) {}

std::vector<StatusReport> Deliveries::Reports() {
  std::vector<StatusReport> reports;
  reports.reserve(box_.Count());
  for (std::size_t i = 0; i < box_.Count(); ++i) {
    Status& status = box_.Item(i);
    status.isHandedOver = true;
    reports.push_back(status.report);
  }
  DeleteHandedOver();
  return reports;
}

std::optional<Delivery> Deliveries::DeliveryOf(std::string_view text) {
  const auto references = ReferencesIn(text);
  if (!references) return {};
  const SentMessage* const message = FindSent(*references);
  Delivery delivery{DeliveryState::kDelivered, {}};
  for (std::size_t i = 0; i < references->size(); ++i) {
    const int reference = (*references)[i];
    const Status* const status = ReportOn(reference, message ? &message->parts[i] : FindPart(reference));
    Delivery::Part part{reference};
    if (status) part.report = status->report;
    delivery.state = std::max(delivery.state, status ? status->report.state : DeliveryState::kUnknown);
    delivery.parts.push_back(std::move(part));
  }
  DeleteHandedOver();
  return delivery;
}

const SentMessage* Deliveries::FindSent(const std::vector<int>& references) const {
  const auto& all = sent_.All();
  const auto message = std::find_if(all.rbegin(), all.rend(), [&](const SentMessage& sent) {
    return std::equal(references.begin(), references.end(), sent.parts.begin(), sent.parts.end(),
                      [](int reference, const SentPart& part) { return part.reference == reference; });
  });
  return message == all.rend() ? nullptr : &*message;
}

const SentPart* Deliveries::FindPart(int reference) const {
  return FindNewest([&](const SentMessage&, const SentPart& part) { return part.reference == reference; });
}

// The part that a report is about: of those with its reference the one that was sent last before it was heard.
const SentPart* Deliveries::PartOf(const Status& status) const {
  return FindNewest([&](const SentMessage& message, const SentPart& part) {
    return message.asksForReports && part.reference == status.report.reference && part.heardBefore < status.heard &&
           IsSameRecipient(message.recipient, status.report.recipient);
  });
}

template <class Condition>
const SentPart* Deliveries::FindNewest(Condition condition) const {
  for (auto message = sent_.All().rbegin(); message != sent_.All().rend(); ++message) {
    const auto part = std::find_if(message->parts.begin(), message->parts.end(),
                                   [&](const SentPart& each) { return condition(*message, each); });
    if (part != message->parts.end()) return &*part;
  }
  return nullptr;
}

const Status* Deliveries::ReportOn(int reference, const SentPart* part) {
  Status* best = nullptr;
  for (Status& status : box_.Items()) {
    if (status.report.reference != reference || PartOf(status) != part) continue;
    status.isHandedOver = true;
    if (IsBetter(status, best)) best = &status;
  }
  return best;
}

void Deliveries::DeleteHandedOver() {
  std::map<std::string, std::vector<std::int16_t>> locations;
  for (const Status& status : box_.Items()) {
    const bool isThere = status.memIndex >= 0 && status.connection == connection_.Count();
    if (status.isHandedOver && isThere) locations[status.memory].push_back(status.memIndex);
  }
  for (const auto& [memory, places] : locations) DeleteFrom(memory, places);
  if (!locations.empty()) errors_.ClearError();
}

// A connection that comes up anew on the way reads from another memory: the locations are other messages' then.
void Deliveries::DeleteFrom(const std::string& memory, const std::vector<std::int16_t>& locations) {
  const int connection = connection_.Count();
  const auto isSame = [&] {
    if (exchange_.IsPortOpen()) connection_.Recover();
    return exchange_.IsPortOpen() && connection == connection_.Count();
  };
  if (!isSame()) return;
  memory_.Visit(memory, [&] {
    for (const std::int16_t location : locations) {
      if (!isSame()) return;
      log_.WriteLog("Deleting status report at memory location " + std::to_string(location));
      box_.Remove(memory, location);  // also when there is no answer: another report may come to the place
      exchange_.CheckCommandResponse("AT+CMGD=" + std::to_string(location) + "\r");
    }
  });
}

}  // namespace tavro
