// What the tests with threads share: chance, an SMS object beside its modem, and a count that threads wait for.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iterator>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "modem_thread.h"
#include "platform/utf8.h"

namespace tavro {

using std::chrono::milliseconds;

inline constexpr char16_t kOwnNumber[] = u"+491701234567";  // of the simulated SIM: what is sent there comes back
inline constexpr milliseconds kPatience(20000);             // what takes so long does not come

inline int Seed() {
  static const int seed = GTEST_FLAG_GET(random_seed) != 0 ? GTEST_FLAG_GET(random_seed)
                                                           : static_cast<int>(std::random_device()() % 99999) + 1;
  return seed;
}

class Chance {
 public:
  explicit Chance(int stream) : engine_(static_cast<unsigned>(Seed() * 100 + stream)) {}
  int UpTo(int most) { return std::uniform_int_distribution(0, most)(engine_); }

 private:
  std::mt19937 engine_;
};

// An SMS object whose modem has a thread, and the messages that were taken from it, by their texts.
struct Station {
  explicit Station(LineKind kind) : modem(kind), sms(std::make_unique<SMS>(modem.DeviceOptions())) {
    sms->SetPort(u"COM1");
  }

  void Comes(const std::string& text) { modem.Modem().IncomingText("+447700900123", text, modem.Now()); }
  // From the network, each at a random moment within the milliseconds.
  void Come(int count, int withinMs, Chance& chance) {
    for (int i = 0; i < count; ++i) {
      const std::string text = "in " + std::to_string(i);
      expected.insert(text);
      modem.In(chance.UpTo(withinMs * 1000), [this, text] { Comes(text); });
    }
  }
  bool Send(const std::string& text) { return sms->SendSMS(kOwnNumber, FromUtf8(text)).has_value(); }
  // Empties the inbox. False when the modem failed; what was not deleted then is in it yet.
  bool Take() {
    while (const auto message = sms->Inbox()->Count() > 0 ? sms->Inbox()->Message(1) : nullptr) {
      if (!message->Delete()) return false;
      taken.insert(ToUtf8(message->Text()));
    }
    return true;
  }
  // Takes the rest of so many messages and looks for more.
  void TakeAll(std::size_t count) {
    do {
      ASSERT_TRUE(Take()) << Error();
    } while (taken.size() < count && sms->Inbox()->Wait(kPatience.count()));
    EXPECT_FALSE(sms->Inbox()->Wait(0));
    EXPECT_EQ(sms->ErrorCode(), 0) << Error();
    EXPECT_TRUE(sms->Inbox()->Refresh()) << Error();
    ASSERT_TRUE(Take()) << Error();
  }
  void Compare() const {
    std::vector<std::string> lost, doubled;
    std::set_difference(expected.begin(), expected.end(), taken.begin(), taken.end(), std::back_inserter(lost));
    std::set_difference(taken.begin(), taken.end(), expected.begin(), expected.end(), std::back_inserter(doubled));
    EXPECT_EQ(lost, std::vector<std::string>());
    EXPECT_EQ(doubled, std::vector<std::string>());
  }
  std::string Error() { return std::to_string(sms->ErrorCode()) + " " + ToUtf8(sms->ErrorDescription()); }

  ModemThread modem;
  std::unique_ptr<SMS> sms;
  std::multiset<std::string> expected, taken;
};

// Counts what happens in one thread for others that wait for it.
class Counter {
 public:
  void Increase() {
    const std::lock_guard lock(mutex_);
    ++count_;
    changed_.notify_all();
  }
  int Count() {
    const std::lock_guard lock(mutex_);
    return count_;
  }
  bool Await(int count, milliseconds limit) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, limit, [&] { return count_ >= count; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  int count_ = 0;
};

}  // namespace tavro
