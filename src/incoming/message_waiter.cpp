#include "incoming/message_waiter.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

constexpr MessageStepTexts kWaitSteps{kReadCannotConnect, kReadPduModeUnchecked, kReadNoPduMode};

// How often the modem is asked for what is unread, in milliseconds: one that tells of nothing, and one that does.
constexpr std::uint32_t kPollInterval = 5000, kSafetyInterval = 60000;
constexpr std::size_t kMaxUnacknowledged = 100;
// What has come is taken at once, but not for ever from a modem that tells of more each time it is asked.
constexpr int kLooksAtOnce = 250;

}  // namespace

MessageWaiter::MessageWaiter(const DialogueContext& dialogue, ModemConnection& connection, MessageSteps& steps,
                             MessageMemory& memory, NewMessageIndications& indications, Arrivals& arrivals,
                             MessageReader& reader, std::shared_ptr<Cancellation> cancellation)
    : DialoguePart(dialogue),
      connection_(connection),
      steps_(steps),
      memory_(memory),
      indications_(indications),
      arrivals_(arrivals),
      reader_(reader),
      cancellation_(std::move(cancellation)) {}

bool MessageWaiter::AwaitMessage(SIMBox& box, std::int32_t milliseconds) {
  // Parts of a message that is not shown yet are no message.
  const auto isShown = [&] {
    return std::any_of(reader_.Added().begin(), reader_.Added().end(), [&](std::int16_t location) {
      const SIMMessage* const record = box.Record(location);
      return record != nullptr && record->inboxIndex > 0;
    });
  };
  const bool hasCome = Await(box, milliseconds, isShown);
  if (hasCome) {
    box.NoteNew(reader_.Added());
    reader_.ForgetAdded();
  }
  return hasCome;
}

bool MessageWaiter::AwaitReports(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone) {
  return isDone() || Await(box, milliseconds, isDone);
}

bool MessageWaiter::Await(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone) {
  const std::uint32_t start = platform_.TickCount();
  const auto limit = static_cast<std::uint32_t>(milliseconds);
  int looks = kLooksAtOnce;
  log_.WriteLog("Waiting for messages [" + std::to_string(milliseconds) + " ms]");
  while (true) {
    const std::size_t addedBefore = reader_.Added().size();
    error_ = Look(box);
    if (reader_.Added().size() > addedBefore) box.BuildInbox(settings_.concatenate);
    if (isDone()) {
      errors_.ClearError();
      return true;
    }
    if (error_) return false;
    if (cancellation_->Take()) {
      log_.WriteLog("Waiting was cancelled");
      return false;
    }
    const std::uint32_t elapsed = platform_.TickCount() - start;
    if (HasMore() && (elapsed < limit || (limit == 0 && --looks > 0))) continue;
    if (elapsed >= limit) return false;
    const std::uint32_t sinceLook = platform_.TickCount() - lookedTick_;
    Pause(std::min(limit - elapsed, LookInterval() - std::min(sinceLook, LookInterval())));
    if (!exchange_.IsPortOpen() || platform_.IsInterrupted()) {
      error_ = kCannotReadResponse;
      return false;
    }
  }
}

PendingError MessageWaiter::Prepare(SIMBox& box) {
  if (PendingError error = steps_.Connect(kWaitSteps)) return error;
  if (PendingError error = steps_.PrepareReading(kWaitSteps)) return error;
  if (reader_.Begin(box)) lookedConnection_ = -1;  // another memory has something unread too
  return {};
}

// Ends when something comes, the wait is cancelled or the device is lost.
void MessageWaiter::Pause(std::uint32_t milliseconds) {
  exchange_.AwaitUnsolicited(milliseconds, [this] { return cancellation_->IsCancelled(); });
  connection_.NoticeLoss();
}

std::uint32_t MessageWaiter::LookInterval() const { return indications_.AreOn() ? kSafetyInterval : kPollInterval; }

bool MessageWaiter::HasMore() const {
  return !arrivals_.IsEmpty() || arrivals_.IsPlaceUnknown() || verifiesNow_ || lookedConnection_ != connection_.Count();
}

// Reads the first of what was told of, or asks the modem when it is time.
PendingError MessageWaiter::Look(SIMBox& box) {
  if (PendingError error = Prepare(box)) return error;
  exchange_.AwaitUnsolicited(0);
  const bool isNewConnection = lookedConnection_ != connection_.Count();
  if (isNewConnection) arrivals_.ForgetPlaces();
  if (!arrivals_.IsEmpty()) {
    PendingError error = ReadArrival(box, arrivals_.Next());
    if (!error && arrivals_.IsEmpty()) NoteUsage();
    return error;
  }
  indications_.SwitchOn();
  if (isNewConnection || arrivals_.IsPlaceUnknown()) return ListUnread(box);
  if (!std::exchange(verifiesNow_, false) && platform_.TickCount() - lookedTick_ < LookInterval()) return {};
  if (!indications_.AreOn() || indications_.Verify()) return ListUnread(box);
  // A modem that has restarted has forgotten more than the indications.
  log_.WriteLog("The modem has forgotten its settings");
  connection_.DisconnectModem();
  return Prepare(box);
}

PendingError MessageWaiter::ListUnread(SIMBox& box) {
  arrivals_.SetPlaceUnknown(false);  // what is told of from now on may come behind the listing
  const int connection = connection_.Count();
  PendingError error = reader_.AddUnread(box);
  if (error) {
    arrivals_.SetPlaceUnknown(true);
  } else {
    lookedConnection_ = connection;
    lookedTick_ = platform_.TickCount();
    NoteUsage();
  }
  return error;
}

// A modem that can take no more says nothing of what does not come.
void MessageWaiter::NoteUsage() {
  memory_.QueryUsage();
  errors_.ClearError();
}

PendingError MessageWaiter::ReadArrival(SIMBox& box, const Arrival& arrival) {
  if (arrival.kind == Arrival::Kind::kPlace) return ReadPlace(box, arrival);
  const bool comesAgain = indications_.Acknowledges();
  // The acknowledgement would be taken for that of what this connection delivers.
  if (comesAgain && arrival.connection != connection_.Count()) {
    log_.WriteLog("What another connection delivered was not acknowledged, and comes again");
    return {};
  }
  const auto known = std::find(unacknowledged_.begin(), unacknowledged_.end(), arrival.entry);
  if (known != unacknowledged_.end()) {
    log_.WriteLog("The message was delivered before");
    unacknowledged_.erase(known);
    Acknowledge(arrival);
    return {};
  }
  switch (reader_.AddDelivered(box, arrival.entry, arrival.heard, comesAgain)) {
    case MessageReader::Delivered::kAdded:
      Acknowledge(arrival);
      break;
    case MessageReader::Delivered::kDamaged:
      break;
    case MessageReader::Delivered::kNoRoom:
      log_.WriteLog("The inbox is full: a message has to wait");
      arrivals_.PutBack(arrival);
      return kReadMessageError;
  }
  return {};
}

// One that fails is listed the next time.
PendingError MessageWaiter::ReadPlace(SIMBox& box, const Arrival& arrival) {
  const std::string& memory = steps_.Memory();
  const bool isOther = !memory.empty() && !arrival.memory.empty() && arrival.memory != memory;
  if (isOther && memory != "MT") return ReadOtherPlace(box, arrival);
  PendingError error;
  if (isOther) {  // which numbers the places of both anew
    arrivals_.SetPlaceUnknown(true);
  } else {
    error = reader_.AddPlace(box, arrival.location, arrival.heard);
  }
  if (error) arrivals_.SetPlaceUnknown(true);
  return error;
}

// Reports may have a memory of their own, and a message comes into another one when that is full, or by its class.
PendingError MessageWaiter::ReadOtherPlace(SIMBox& box, const Arrival& arrival) {
  constexpr int kAttempts = 3;
  PendingError error = kReadInvalidResponse;
  const bool isRead = memory_.Visit(
      arrival.memory, [&] { error = reader_.AddOtherPlace(box, arrival.memory, arrival.location, arrival.heard); });
  if (!error) return {};
  Arrival again = arrival;
  if (++again.attempts < kAttempts) {
    arrivals_.PutBack(std::move(again));
    return error;
  }
  log_.WriteLog("What came into the memory '" + arrival.memory + "' cannot be read");
  if (arrival.isReport && !isRead && exchange_.IsPortOpen()) indications_.AvoidStoredReports();
  return {};
}

// Tells the network that the message arrived. Where it was not heard, the message comes again.
void MessageWaiter::Acknowledge(const Arrival& arrival) {
  const int connection = connection_.Count();
  const bool isHeard = IsAcknowledged() && connection == connection_.Count();
  errors_.ClearError();
  if (isHeard) return;
  unacknowledged_.push_back(arrival.entry);
  if (unacknowledged_.size() > kMaxUnacknowledged) unacknowledged_.pop_front();
}

// AT+CNMA (27.005, 3.4.4), which some modems want with a value. One that waits for no acknowledgement refuses it (error
// 340): there was none to give, or it came too late.
bool MessageWaiter::IsAcknowledged() {
  constexpr std::string_view kNoneExpected = "340";
  for (const char* const command : {"AT+CNMA\r", "AT+CNMA=0\r"}) {
    const Answer answer = exchange_.CheckCommandResponse(command);
    if (answer.IsGood()) return true;
    if (Contains(answer.Text(), kNoneExpected)) {
      // It may have given up waiting, and then it delivers nothing any more (27.005, 3.4.4).
      verifiesNow_ = indications_.Acknowledges();
      return !verifiesNow_;
    }
    if (!answer.HoldsError()) break;
  }
  return false;
}

}  // namespace tavro
