// The received messages in the modem's message memory.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

#include "tavro/export.h"
#include "tavro/message.h"

namespace tavro {

// A collection of Message objects, numbered from 1. It is empty until Refresh reads the modem's memory.
// Every call clears the SMS object's last error first and reports a failure there.
class TAVRO_API Inbox {
 public:
  struct State;
  explicit Inbox(std::unique_ptr<State> state);  // made by the component
  ~Inbox();
  Inbox(const Inbox&) = delete;
  Inbox& operator=(const Inbox&) = delete;

  // The message at `index` (1 to Count), or null with error 5007.
  std::shared_ptr<tavro::Message> Message(std::int16_t index);

  // Whether the parts of a concatenated message are shown as one message (true) or each by itself (false, the start).
  // One with parts missing is not shown; in the prompt manner it is when its newest part is a day old.
  // Takes effect at the next Refresh or Delete. Belongs to the SMS object: it outlives a change of port.
  bool Concatenate();
  void SetConcatenate(bool concatenate);

  // Reads the modem's memory into the inbox (AT+CMGL, 3GPP TS 27.005, 4.1): 0 received unread messages, 1 received read
  // messages, 2 both, the read ones first.
  //   Classic manner: status reports, submitted messages and messages with a user-data header that is not understood
  //   are deleted from the modem on the way; what cannot be decoded is left there and noted in the log. Prompt manner:
  //   nothing is deleted. Status reports and submitted messages are left in the modem, every received message is shown.
  // False on failure: 5001 invalid type, 2002 a new connection came up with another memory in between, 5002 to 5006 and
  // 5008, or a connection, PIN or registration error. In the prompt manner the inbox is as it was then, and Wait
  // misses nothing.
  bool Refresh(std::int16_t messageType = 2);

  // Waits until a message comes, so many milliseconds at most, and adds it to the inbox; 0 takes
  // what has come. With Concatenate a long message comes with its last part. The first time behind a connection that is
  // what is unread in the modem's memory too. One that came during another call is there at once.
  //   Prompt manner: the modem tells of messages (AT+CNMI, 3GPP TS 27.005, 3.4.1), which are read each by itself, and
  //   the wait takes no processor time. What it delivers without storing it (+CMT) is acknowledged (AT+CNMA) once it is
  //   in the inbox; it stays there, Refresh or not, until it is deleted. A modem that cannot tell is asked every five
  //   seconds, and the log says so.
  //   Classic manner: the modem is asked every five seconds.
  // A dialogue that has begun is finished, with its own limits. True when a message came. False with no error at the
  // limit and when it was cancelled; on failure with 5009 negative time, 5002 to 5006, 5008 the inbox is full, 1012 the
  // device is lost or the program wants to end, or a connection, PIN or registration error. Nothing is lost by a
  // failure: the next call goes on.
  bool Wait(std::int32_t milliseconds);
  // The messages that the last Wait that returned true has added, in the order of the inbox.
  std::vector<std::shared_ptr<tavro::Message>> NewMessages();
  // From any thread: ends the Wait that is under way, or the next one. It touches no error.
  void Cancel();

  bool HasMessages();
  bool IsEmpty();
  std::int16_t Count();

  // Deletes every message of the inbox from the modem's memory, the last one first. It goes on after a message that
  // could not be deleted and then fails with 6010; 6009 when the inbox is empty.
  bool Clear();

  // Iteration in inbox order: for (auto& message : *sms.Inbox()). An iterator stays valid while the inbox changes: it
  // walks the messages that were there when begin() was called.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = tavro::Message;
    using difference_type = std::ptrdiff_t;
    using pointer = tavro::Message*;
    using reference = tavro::Message&;

    Iterator() = default;
    reference operator*() const;
    pointer operator->() const { return &**this; }
    // The message itself, to keep.
    std::shared_ptr<tavro::Message> Get() const;
    Iterator& operator++() {
      ++position_;
      return *this;
    }
    void operator++(int) { ++position_; }
    // Two iterators are equal when both are at their end, or both at the same position.
    bool operator==(const Iterator& other) const;

   private:
    friend class Inbox;
    struct Snapshot;
    bool AtEnd() const;
    std::shared_ptr<const Snapshot> snapshot_;
    std::size_t position_ = 0;
  };
  Iterator begin();
  Iterator end() { return Iterator(); }

 private:
  std::unique_ptr<State> state_;
};

}  // namespace tavro
