#include "incoming/message_waiter.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace tavro {

namespace {

constexpr MessageStepTexts kWaitSteps{kReadCannotConnect, kReadPduModeUnchecked, kReadNoPduMode};

// How often the modem is asked for what is unread, in milliseconds: one that tells of nothing, and one that does.
constexpr std::uint32_t kPollInterval = 5000, kSafetyInterval = 60000;
constexpr std::uint32_t kPauseSlice = 100;
constexpr std::size_t kMaxUnacknowledged = 100;

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
  const std::size_t reportsBefore = reader_.ReportCount();
  // A message may stand behind the report.
  const auto isReported = [&] { return reader_.ReportCount() != reportsBefore && !HasMore(); };
  Await(box, milliseconds, [&] { return isShown() || isReported(); });
  const bool hasCome = isShown();
  if (hasCome) reader_.ForgetAdded();
  return hasCome;
}

bool MessageWaiter::AwaitReports(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone) {
  return isDone() || Await(box, milliseconds, isDone);
}

bool MessageWaiter::Await(SIMBox& box, std::int32_t milliseconds, const std::function<bool()>& isDone) {
  const std::uint32_t start = platform_.TickCount();
  const auto limit = static_cast<std::uint32_t>(milliseconds);
  log_.WriteLog("Waiting for messages [" + std::to_string(milliseconds) + " ms]");
  while (true) {
    const std::size_t addedBefore = reader_.Added().size();
    error_ = Look(box);
    if (reader_.Added().size() > addedBefore) box.BuildInbox(settings_.concatenate);
    if (isDone()) return true;
    if (error_) return false;
    if (cancellation_->Take()) {
      log_.WriteLog("Waiting was cancelled");
      return false;
    }
    if (HasMore()) continue;
    const std::uint32_t elapsed = platform_.TickCount() - start;
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
  reader_.Begin(box);
  return {};
}

// Ends when something comes, the wait is cancelled or the device is lost.
void MessageWaiter::Pause(std::uint32_t milliseconds) {
  if (indications_.AreOn()) {
    exchange_.AwaitUnsolicited(milliseconds, [this] { return cancellation_->IsCancelled(); });
    return;
  }
  const std::uint32_t start = platform_.TickCount();
  for (std::uint32_t elapsed = 0; elapsed < milliseconds; elapsed = platform_.TickCount() - start) {
    if (cancellation_->IsCancelled() || platform_.IsInterrupted()) return;
    platform_.PumpMessages();
    platform_.Sleep(std::min(kPauseSlice, milliseconds - elapsed));
  }
}

std::uint32_t MessageWaiter::LookInterval() const { return indications_.AreOn() ? kSafetyInterval : kPollInterval; }

bool MessageWaiter::HasMore() const {
  return !arrivals_.IsEmpty() || arrivals_.IsPlaceUnknown() || lookedConnection_ != connection_.Count();
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
  if (isNewConnection && manner_.answersEndAtResult) indications_.SwitchOn();
  if (isNewConnection || arrivals_.IsPlaceUnknown()) return ListUnread(box);
  if (platform_.TickCount() - lookedTick_ < LookInterval()) return {};
  if (!indications_.AreOn() || indications_.Verify()) return ListUnread(box);
  // A modem that has restarted has forgotten more than the indications.
  log_.WriteLog("The modem has forgotten its settings");
  connection_.DisconnectModem();
  return Prepare(box);
}

PendingError MessageWaiter::ListUnread(SIMBox& box) {
  arrivals_.SetPlaceUnknown(false);  // what is told of from now on may come behind the listing
  const int connection = connection_.Count();
  PendingError error = reader_.AddUnread(box, readsAgain_);
  readsAgain_ = static_cast<bool>(error);
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
  if (arrival.kind == Arrival::Kind::kPlace) {
    PendingError error = ReadPlace(box, arrival);
    if (error) arrivals_.SetPlaceUnknown(true);  // it is listed the next time
    return error;
  }
  const auto known = std::find(unacknowledged_.begin(), unacknowledged_.end(), arrival.entry);
  if (known != unacknowledged_.end()) {
    log_.WriteLog("The message was delivered before");
    unacknowledged_.erase(known);
  } else if (!reader_.AddDelivered(box, arrival.entry, arrival.heard)) {
    log_.WriteLog("The inbox is full: a message has to wait");
    arrivals_.PutBack(arrival);
    return kReadMessageError;
  }
  Acknowledge(arrival);
  return {};
}

PendingError MessageWaiter::ReadPlace(SIMBox& box, const Arrival& arrival) {
  const std::string& memory = steps_.Memory();
  if (memory.empty() || arrival.memory.empty() || arrival.memory == memory) {
    return reader_.AddPlace(box, arrival.location, arrival.heard);
  }
  if (memory == "MT") {  // which numbers the places of both anew
    arrivals_.SetPlaceUnknown(true);
    return {};
  }
  // Reports may have a memory of their own.
  PendingError error;
  memory_.Visit(arrival.memory, [&] { error = reader_.ReadReport(arrival.memory, arrival.location, arrival.heard); });
  return error;
}

// Tells the network that the message arrived (AT+CNMA, 27.005, 3.4.4). A modem that waits for no acknowledgement
// refuses.
void MessageWaiter::Acknowledge(const Arrival& arrival) {
  constexpr std::string_view kNoneExpected = "340";
  const Answer answer = exchange_.CheckCommandResponse("AT+CNMA\r");
  errors_.ClearError();
  if (answer.IsGood() || Contains(answer.Text(), kNoneExpected)) return;
  unacknowledged_.push_back(arrival.entry);
  if (unacknowledged_.size() > kMaxUnacknowledged) unacknowledged_.pop_front();
}

}  // namespace tavro
