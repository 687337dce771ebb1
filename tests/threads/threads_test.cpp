// SMS objects and modems in threads of their own, over real lines, to be run under ThreadSanitizer. Moments are random:
// a run is repeated with --gtest_random_seed, which each failure names.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <latch>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/utf8.h"
#include "station.h"

namespace tavro {
namespace {

using Clock = ModemThread::Clock;

constexpr milliseconds kAtOnce(500);  // on a busy machine, under the sanitizer

class Threads : public testing::TestWithParam<LineKind> {
 protected:
  testing::ScopedTrace trace_{__FILE__, __LINE__, "--gtest_random_seed=" + std::to_string(Seed())};
};
std::string LineName(const testing::TestParamInfo<LineKind>& info) {
  return info.param == LineKind::kTerminal ? "Terminal" : "Tcp";
}
INSTANTIATE_TEST_SUITE_P(Line, Threads, testing::Values(LineKind::kTerminal, LineKind::kTcp), LineName);

TEST_P(Threads, CancelEndsTheWaitWhateverComes) {
  constexpr int kMessages = 100, kCancels = 60, kSpanMs = 1000;
  Station station(GetParam());
  SMS& sms = *station.sms;
  const auto inbox = sms.Inbox();
  Chance chance(1);
  station.Come(kMessages, kSpanMs, chance);
  Counter cancelled, taken;
  std::atomic<bool> isOver = false;
  std::thread waiting([&] {
    while (!isOver) {
      if (inbox->Wait(kPatience.count())) {
        ASSERT_TRUE(station.Take()) << station.Error();
      } else {
        ASSERT_EQ(sms.ErrorCode(), 0) << station.Error();
        cancelled.Increase();
      }
      while (std::cmp_less(taken.Count(), station.taken.size())) taken.Increase();
    }
  });
  const auto cancel = [&](int stream, auto& object) {
    Chance moments(stream);
    for (int i = 0; i < kCancels; ++i) {
      std::this_thread::sleep_for(std::chrono::microseconds(moments.UpTo(2 * kSpanMs * 1000 / kCancels)));
      const int before = cancelled.Count();
      object.Cancel();
      ASSERT_TRUE(cancelled.Await(before + 1, kAtOnce)) << i;
    }
  };
  std::thread cancelling([&] { cancel(2, sms); });
  cancel(3, *inbox);
  cancelling.join();
  EXPECT_TRUE(taken.Await(kMessages, kPatience));
  EXPECT_LE(cancelled.Count(), 2 * kCancels);
  isOver = true;
  sms.Cancel();
  waiting.join();
  station.TakeAll(kMessages);
  station.Compare();
}

TEST_P(Threads, AnIdleWaitTakesNoProcessorTime) {
  constexpr milliseconds kWait(1000), kMost(5);
  constexpr long kMostSwitches = 10;
  Station station(GetParam());
  EXPECT_FALSE(station.sms->Inbox()->Wait(0)) << station.Error();
  const auto usage = [] {
    rusage now{};
    getrusage(RUSAGE_THREAD, &now);
    return now;
  };
  const auto time = [](const rusage& of) {
    return std::chrono::seconds(of.ru_utime.tv_sec + of.ru_stime.tv_sec) +
           std::chrono::microseconds(of.ru_utime.tv_usec + of.ru_stime.tv_usec);
  };
  const rusage before = usage();
  const auto start = Clock::now();
  EXPECT_FALSE(station.sms->Inbox()->Wait(kWait.count()));
  const rusage after = usage();
  EXPECT_GE(Clock::now() - start, kWait);
  EXPECT_LT(time(after) - time(before), kMost);
  EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, kMostSwitches);
}

TEST_P(Threads, MessagesComeWhileOthersAreSent) {
  constexpr int kMessages = 200, kSpanMs = 1000;
  Station station(GetParam());
  Chance chance(4);
  EXPECT_FALSE(station.sms->Inbox()->Wait(0)) << station.Error();
  station.Come(kMessages, kSpanMs, chance);
  for (int i = 0; i < kMessages; ++i) {
    const std::string text = "out " + std::to_string(i);
    ASSERT_TRUE(station.Send(text)) << station.Error();
    station.expected.insert(text);
    if (chance.UpTo(9) == 0 && station.sms->Inbox()->Wait(chance.UpTo(20))) {
      ASSERT_TRUE(station.Take()) << station.Error();
    }
  }
  station.TakeAll(2 * kMessages);
  station.Compare();
}

TEST_P(Threads, TheDeviceIsUnpluggedAtAnyMoment) {
  constexpr int kRounds = 60, kLongestMs = 40, kMessages = 200;
  Station station(GetParam());
  SMS& sms = *station.sms;
  Chance chance(5);
  station.Come(kMessages, kRounds * kLongestMs, chance);
  std::multiset<std::string> sent, doubtful;
  int sendings = 0;
  // A call; whether it went well.
  const auto call = [&] {
    switch (chance.UpTo(4)) {
      case 0:
        sms.Inbox()->Wait(chance.UpTo(kLongestMs));
        return sms.ErrorCode() == 0;
      case 1:
        return sms.Inbox()->Refresh();
      case 2:
        return sms.SignalStrength() >= 0;
      case 3:
        return station.Take();
      default:
        const std::string text = "out " + std::to_string(++sendings);
        if (station.Send(text)) return sent.insert(text), true;
        if (station.Error().find("Result unknown") != std::string::npos) doubtful.insert(text);
        return false;
    }
  };
  for (int round = 0; round < kRounds; ++round) {
    std::promise<Clock::time_point> unplugged;
    station.modem.In(chance.UpTo(kLongestMs * 1000), [&] {
      unplugged.set_value(Clock::now());
      station.modem.Unplug();
    });
    while (call()) {
    }
    const auto ended = Clock::now();
    const std::string error = station.Error();
    auto moment = unplugged.get_future();
    const bool wasUnplugged = moment.wait_for(milliseconds(0)) == std::future_status::ready;
    EXPECT_TRUE(wasUnplugged) << error;
    EXPECT_LT(ended - moment.get(), kAtOnce) << error;
    EXPECT_NE(sms.ErrorCode(), 0);
    station.modem.Do([&] { station.modem.PlugIn(); });
    EXPECT_GE(sms.SignalStrength(), 0) << station.Error();
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
  std::size_t looped = 0;
  station.modem.Do([&] { looped = station.modem.Modem().Pdus().size(); });
  station.TakeAll(kMessages + looped);
  // What failed for sure has not come back, what is sent and came from the network has, and nothing twice.
  for (const auto& text : doubtful) {
    if (station.taken.count(text) > 0) sent.insert(text);
  }
  station.expected.merge(sent);
  station.Compare();
}

TEST(ManyThreads, ObjectsAndWhatOutlivesThem) {
  constexpr int kObjects = 64, kMessages = 5;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("tavro-threads-" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  struct Left {
    std::shared_ptr<Inbox> inbox;
    std::shared_ptr<Message> message;
    std::shared_ptr<Wap> push;
    Inbox::Iterator walk;
  };
  std::vector<Left> left(kObjects);
  const auto live = [&](int number) {
    Station station(number % 2 == 0 ? LineKind::kTerminal : LineKind::kTcp);
    station.sms->SetLogFolderPath(folder.u16string());
    station.sms->SetLogType(2);
    const auto inbox = station.sms->Inbox();
    for (int i = 0; i < kMessages; ++i) {
      ASSERT_TRUE(station.Send("out " + std::to_string(i))) << station.Error();
      inbox->Wait(0);
    }
    while (inbox->Count() < kMessages && inbox->Wait(kPatience.count())) {
    }
    ASSERT_EQ(inbox->Count(), kMessages) << station.Error();
    left[static_cast<std::size_t>(number)] = {inbox, inbox->Message(kMessages), station.sms->WapPush(), inbox->begin()};
    std::atomic<bool> isGone = false;
    std::latch begun(2);
    std::thread cancelling([&] {
      begun.arrive_and_wait();
      while (!isGone) inbox->Cancel();
    });
    begun.arrive_and_wait();
    station.sms.reset();
    isGone = true;
    cancelling.join();
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < kObjects; ++i) threads.emplace_back(live, i);
  for (std::thread& thread : threads) thread.join();

  const auto outlive = [&](std::vector<Left> objects) {
    for (Left& object : objects) {
      ASSERT_TRUE(object.inbox);
      object.inbox->Cancel();
      EXPECT_FALSE(object.inbox->Wait(kPatience.count()));
      EXPECT_EQ(object.inbox->Count(), kMessages);
      EXPECT_EQ(object.message->Text(), u"out " + FromUtf8(std::to_string(kMessages - 1)));
      object.inbox.reset();
      EXPECT_FALSE(object.message->Delete());
      EXPECT_EQ(object.walk->Text(), u"out 0");
      EXPECT_EQ(object.push->Action(), 2);
      EXPECT_FALSE(object.push->Send());
    }
  };
  std::thread other(outlive, left);
  outlive(std::move(left));
  other.join();

  // The objects share a log file, each line of which is whole.
  std::ifstream log(folder / "Tavro.log", std::ios::binary);
  int closings = 0;
  for (std::string line; std::getline(log, line);) {
    ASSERT_TRUE(line.size() > 22 && line.substr(19, 2) == ": " && line.back() == '\r') << line;
    if (line.substr(21) == "Tavro Closed\r") ++closings;
  }
  EXPECT_EQ(closings, kObjects);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace tavro
