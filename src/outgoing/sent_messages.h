// The messages that were sent, to find what a status report is about.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace tavro {

struct SentPart {
  int reference = 0;
  // How much the modem had said of its own accord when the part was about to be sent: what it said before is about
  // another message that had the reference.
  std::uint64_t heardBefore = 0;
};

struct SentMessage {
  bool asksForReports = false;
  std::string recipient;
  std::vector<SentPart> parts;
};

class SentMessages {
 public:
  // References have eight bits, so of a long past message nothing can be told any more.
  static constexpr std::size_t kMaxMessages = 10000;

  void Add(SentMessage message) {
    if (messages_.size() >= kMaxMessages) messages_.pop_front();
    messages_.push_back(std::move(message));
  }
  const std::deque<SentMessage>& All() const { return messages_; }

 private:
  std::deque<SentMessage> messages_;
};

// Whether a number that was dialled may be the one that the network names: one of them may be international and the
// other national, and some networks put digits in between. The last seven digits count, or all of a shorter one.
bool IsSameRecipient(std::string_view dialled, std::u16string_view named);

}  // namespace tavro
