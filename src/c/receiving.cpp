// The C interface to what comes: messages, and reports on those that were sent.
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "c/lists.h"
#include "c/modem_handle.h"
#include "tavro/tavro.h"

using namespace tavro;

namespace {

// Has the messages themselves, too, for their deletion.
class MessageList : public ListOf<tavro_message> {
 public:
  explicit MessageList(tavro_modem* owner) : owner_(owner) {}

  void Add(const std::shared_ptr<Message>& message);
  bool IsOf(tavro_modem* modem) const { return owner_ == modem; }
  Message& At(std::size_t index) const { return *messages_[index]; }

 private:
  tavro_modem* const owner_;
  std::vector<std::shared_ptr<Message>> messages_;
};

void MessageList::Add(const std::shared_ptr<Message>& message) {
  const std::vector<std::uint8_t> data = message->Data();
  const std::vector<int> missing = message->MissingParts();
  const std::vector<WaitingMessages> waiting = message->Waiting();
  const std::optional<ApplicationPorts> ports = message->Ports();

  tavro_message element{};
  element.index = message->Index();
  element.time = UnixTime(message->TimeStamp(), message->TimeZone());
  element.time_zone = message->TimeZone();
  element.message_class = NumberOr(message->MessageClass(), -1);
  element.destination_port = ports ? ports->destination : -1;
  element.source_port = ports ? ports->source : -1;
  element.is_replacement = message->IsReplacement() ? 1 : 0;
  element.parts = message->Parts();
  element.phone = arena.Keep(message->Phone());
  element.text = arena.Keep(message->Text());
  element.time_text = arena.Keep(message->TimeStampRFC());
  element.smsc = arena.Keep(message->SMSC());
  element.data = arena.Keep(data);
  element.data_length = data.size();
  element.missing_parts = arena.Keep(missing);
  element.missing_part_count = missing.size();
  element.waiting = arena.Keep(waiting);
  element.waiting_count = waiting.size();
  elements.push_back(element);
  messages_.push_back(message);
}

void GiveInbox(tavro_modem* handle, Inbox& inbox, tavro_list** messages) {
  if (!messages) return;
  auto list = std::make_shared<MessageList>(handle);
  for (auto message = inbox.begin(); message != inbox.end(); ++message) list->Add(message.Get());
  GiveList(std::move(list), messages);
}

using ReportList = ListOf<tavro_report>;

void Add(ReportList& list, const StatusReport& report) {
  tavro_report element{};
  element.reference = report.reference;
  element.sent_time = UnixTime(report.sentTimeStamp, report.sentTimeZone);
  element.discharge_time = UnixTime(report.dischargeTimeStamp, report.dischargeTimeZone);
  element.sent_time_zone = report.sentTimeZone;
  element.discharge_time_zone = report.dischargeTimeZone;
  element.state = static_cast<std::int32_t>(report.state);
  element.status = report.status;
  element.recipient = list.arena.Keep(report.recipient);
  element.text = list.arena.Keep(report.text);
  element.sent_time_text = list.arena.Keep(report.sentTimeStampRFC);
  element.discharge_time_text = list.arena.Keep(report.dischargeTimeStampRFC);
  element.smsc = list.arena.Keep(report.smsc);
  list.elements.push_back(element);
}

}  // namespace

// --- Messages --------------------------------------------------------------------------------------------------------

int tavro_read(tavro_modem* modem, int which, tavro_list** messages) {
  Clear(messages);
  return ModemCall(modem, [&](ModemHandle& object) {
    constexpr std::int16_t kNone = -1;
    const auto inbox = object.Sms().Inbox();
    const bool isKnown = which >= TAVRO_UNREAD_MESSAGES && which <= TAVRO_ALL_MESSAGES;
    inbox->Refresh(isKnown ? static_cast<std::int16_t>(which) : kNone);
    object.Check();
    GiveInbox(modem, *inbox, messages);
  });
}

int tavro_inbox(tavro_modem* modem, tavro_list** messages) {
  Clear(messages);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(messages != nullptr, "There is no place for the messages");
    GiveInbox(modem, *object.Sms().Inbox(), messages);
  });
}

int tavro_wait(tavro_modem* modem, std::int32_t milliseconds, tavro_list** messages) {
  Clear(messages);
  return ModemCall(modem, [&](ModemHandle& object) {
    const auto inbox = object.Sms().Inbox();
    const bool hasCome = inbox->Wait(milliseconds);
    object.Check();
    if (!hasCome || !messages) return;
    auto list = std::make_shared<MessageList>(modem);
    for (const auto& message : inbox->NewMessages()) list->Add(message);
    GiveList(std::move(list), messages);
  });
}

int tavro_delete(tavro_modem* modem, tavro_list* messages, std::size_t index) {
  return ModemCall(modem, [&](ModemHandle& object) {
    const auto list = ObjectOf<MessageList>(messages);
    Require(list->IsOf(modem), "The messages are another modem's");
    if (index >= list->Count()) throw Misuse{TAVRO_NOT_IN_LIST, "The list has fewer elements"};
    list->At(index).Delete();
    object.Check();
  });
}

int tavro_delete_all(tavro_modem* modem) {
  return ModemCall(modem, [](ModemHandle& object) {
    object.Sms().Inbox()->Clear();
    object.Check();
  });
}

int tavro_memories(tavro_modem* modem, tavro_list** memories) {
  Clear(memories);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(memories != nullptr, "There is no place for the memories");
    const std::vector<MemoryUsage> usage = object.Sms().MemoryUsage();
    object.Check();
    auto list = std::make_shared<ListOf<tavro_memory>>();
    for (const MemoryUsage& memory : usage) {
      list->elements.push_back({0, memory.used, memory.total, 0, list->arena.Keep(memory.name)});
    }
    GiveList(std::move(list), memories);
  });
}

// --- Reports ---------------------------------------------------------------------------------------------------------

int tavro_reports(tavro_modem* modem, tavro_list** reports) {
  Clear(reports);
  return ModemCall(modem, [&](ModemHandle& object) {
    Require(reports != nullptr, "There is no place for the reports");
    const std::vector<StatusReport> received = object.Sms().StatusReports();
    object.Check();
    auto list = std::make_shared<ReportList>();
    for (const StatusReport& report : received) Add(*list, report);
    GiveList(std::move(list), reports);
  });
}

int tavro_clear_reports(tavro_modem* modem) {
  return ModemCall(modem, [](ModemHandle& object) {
    object.Sms().ClearStatusReports();
    object.Check();
  });
}

int tavro_delivery(tavro_modem* modem, const char* references, std::int32_t* state, tavro_list** parts) {
  Clear(state);
  Clear(parts);
  return ModemCall(modem, [&](ModemHandle& object) {
    const Delivery delivery = object.Sms().DeliveryOf(TextArgument(references));
    object.Check();
    auto list = std::make_shared<ReportList>();
    for (const Delivery::Part& part : delivery.parts) {
      Add(*list, part.report.value_or(StatusReport{.reference = part.reference, .status = -1}));
    }
    GiveList(std::move(list), parts);
    if (state) *state = static_cast<std::int32_t>(delivery.state);
  });
}

int tavro_wait_for_delivery(tavro_modem* modem, const char* references, std::int32_t milliseconds,
                            std::int32_t* is_final) {
  Clear(is_final);
  return ModemCall(modem, [&](ModemHandle& object) {
    const bool isFinal = object.Sms().WaitForDelivery(TextArgument(references), milliseconds);
    object.Check();
    if (is_final) *is_final = isFinal ? 1 : 0;
  });
}
