// The serial calls on real pseudo-terminals. Time-outs are the subject here, so that some tens of milliseconds pass.
#include <asm/termbits.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <future>
#include <thread>

#include "platform/posix/posix_platform.h"
#include "platform/posix/posix_serial_driver.h"

namespace tavro {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::uint32_t kAllBits = 0xFFFFFFFF;
constexpr milliseconds kInTime(2000);  // far more than any wait here

std::chrono::nanoseconds CpuTime() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

class PosixSerial : public testing::Test {
 protected:
  PosixSerial() : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (grantpt(master_) == 0 && unlockpt(master_) == 0) path_ = ptsname(master_);
    devices_ = {{1, path_}, {3, "/dev/null"}};
    driver_ = std::make_unique<PosixSerialDriver>(devices_);
    port_ = driver_->Open("\\\\.\\COM1");
  }
  ~PosixSerial() override { CloseMaster(); }

  void SetUp() override { ASSERT_GT(port_, 0) << driver_->ErrorText(driver_->LastError()); }

  void CloseMaster() {
    if (master_ >= 0) close(master_);
    master_ = -1;
  }

  // Puts octets on the line and returns when they have arrived.
  void Arrive(const std::string& octets) {
    const std::uint32_t expected = Queued() + static_cast<std::uint32_t>(octets.size());
    ASSERT_EQ(write(master_, octets.data(), octets.size()), static_cast<ssize_t>(octets.size()));
    const auto start = Clock::now();
    while (Queued() < expected && Clock::now() < start + kInTime) std::this_thread::yield();
    ASSERT_EQ(Queued(), expected);
  }

  std::uint32_t Queued() {
    std::uint32_t flags = 0, queued = 0;
    EXPECT_TRUE(driver_->ClearError(port_, flags, queued));
    EXPECT_EQ(flags, 0u);
    return queued;
  }

  // What a read brings; "failed" when it fails.
  std::string Read(std::uint32_t size) {
    std::string buffer(size, '\0');
    std::uint32_t count = 0;
    if (!driver_->Read(port_, buffer.data(), size, count)) return "failed";
    return buffer.substr(0, count);
  }

  bool Set(const std::string& mode) {
    LineState state;
    return driver_->GetLineState(port_, state) && driver_->BuildLineState(mode, state) &&
           driver_->SetLineState(port_, state);
  }

  // The error of the call that failed last, with its text.
  std::string Error() { return std::to_string(driver_->LastError()) + " " + driver_->ErrorText(driver_->LastError()); }

  int master_;
  std::string path_;
  std::map<int, std::string> devices_;
  std::unique_ptr<PosixSerialDriver> driver_;
  SerialDriver::Handle port_ = SerialDriver::kInvalidHandle;
};

TEST_F(PosixSerial, ReadEndsAsTheTimeOutsSay) {
  struct {
    SerialTimeOuts timeOuts;
    const char* waiting;
    std::uint32_t size;
    const char* read;
    int least;  // milliseconds
  } const cases[] = {
      {{30, kAllBits, kAllBits, 0, 0}, "abc", 100, "abc", 30},  // the gap
      {{30, kAllBits, kAllBits, 0, 0}, "abc", 3, "abc", 0},     // full
      {{30, kAllBits, kAllBits, 0, 0}, "abc", 2, "ab", 0},      // full, one octet stays
      {{0, 0, 40, 0, 0}, "", 10, "c", 40},                      // the constant, octets or not
      {{0, 0, 40, 0, 0}, "", 10, "", 40},
      {{0, 4, 0, 0, 0}, "ab", 10, "ab", 40},        // 4 ms for each of 10 octets
      {{0, 4, 20, 0, 0}, "ab", 5, "ab", 40},        // both
      {{20, 0, 5000, 0, 0}, "ab", 10, "ab", 20},    // the gap before the total
      {{20, 0, 40, 0, 0}, "", 10, "", 40},          // no gap before the first octet
      {{20, 0, 0, 0, 0}, "ab", 10, "ab", 20},       // the gap alone
      {{5000, 0, 40, 0, 0}, "ab", 10, "ab", 40},    // the total before the gap
      {{kAllBits, 0, 0, 0, 0}, "ab", 10, "ab", 0},  // what is there
      {{kAllBits, 0, 0, 0, 0}, "", 10, "", 0},
      {{kAllBits, kAllBits, 5000, 0, 0}, "ab", 10, "ab", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << &c - cases);
    ASSERT_NO_FATAL_FAILURE(Arrive(c.waiting));
    ASSERT_TRUE(driver_->SetTimeOuts(port_, c.timeOuts));
    const auto start = Clock::now();
    const auto cpuStart = CpuTime();
    EXPECT_EQ(Read(c.size), c.read);
    const auto elapsed = Clock::now() - start;
    EXPECT_GE(elapsed, milliseconds(c.least));
    EXPECT_LT(elapsed, kInTime);
    if (c.least > 0) {
      EXPECT_LT(CpuTime() - cpuStart, milliseconds(c.least) / 2) << "busy while it waits";
    }
  }
}

TEST_F(PosixSerial, WaitsForTheFirstOctetWithoutLimitAndEndsAtTheGap) {
  constexpr milliseconds kGap(150), kShort(20);
  ASSERT_TRUE(driver_->SetTimeOuts(port_, {kGap.count(), kAllBits, kAllBits, 2, 0}));
  auto read = std::async(std::launch::async, [&] { return Read(32768); });
  EXPECT_EQ(read.wait_for(kGap * 3 / 2), std::future_status::timeout) << "the gap counts before the first octet";
  for (const char* piece : {"\r\nOK", "\r", "\n"}) {
    ASSERT_GT(write(master_, piece, strlen(piece)), 0);
    EXPECT_EQ(read.wait_for(kShort), std::future_status::timeout) << "ended within the gap";
  }
  ASSERT_EQ(read.wait_for(kInTime), std::future_status::ready);
  EXPECT_EQ(read.get(), "\r\nOK\r\n");
}

TEST_F(PosixSerial, WakeEndsTheReadThatWaitsOrElseTheNext) {
  ASSERT_TRUE(driver_->SetTimeOuts(port_, {5000, kAllBits, kAllBits, 2, 0}));
  auto read = std::async(std::launch::async, [&] { return Read(10); });
  EXPECT_EQ(read.wait_for(milliseconds(20)), std::future_status::timeout);
  driver_->Wake();
  ASSERT_EQ(read.wait_for(kInTime), std::future_status::ready);
  EXPECT_EQ(read.get(), "");

  driver_->Wake();
  driver_->Wake();
  ASSERT_NO_FATAL_FAILURE(Arrive("abc"));
  EXPECT_EQ(Read(3), "abc") << "a read that does not wait";
  ASSERT_NO_FATAL_FAILURE(Arrive("de"));
  const auto start = Clock::now();
  EXPECT_EQ(Read(10), "de");
  EXPECT_LT(Clock::now() - start, kInTime);
  ASSERT_TRUE(driver_->SetTimeOuts(port_, {kAllBits, kAllBits, 30, 2, 0}));
  EXPECT_EQ(Read(10), "");
  EXPECT_GE(Clock::now() - start, milliseconds(30)) << "woken twice";
}

TEST_F(PosixSerial, WriteEndsAtItsTimeOutWithFewerOctets) {
  ASSERT_TRUE(driver_->SetTimeOuts(port_, {0, 0, 0, 0, 30}));
  const std::string tooMuch(1 << 20, 'x');
  std::uint32_t written = 0;
  const auto start = Clock::now();
  EXPECT_TRUE(driver_->Write(port_, tooMuch.data(), 1 << 20, written));
  EXPECT_GE(Clock::now() - start, milliseconds(30));
  EXPECT_GT(written, 0u);
  EXPECT_LT(written, tooMuch.size());
}

TEST_F(PosixSerial, EveryOctetPassesAsItIs) {
  std::string all;
  for (int octet = 0; octet < 256; ++octet) all += static_cast<char>(octet);
  ASSERT_TRUE(Set("baud=9600 parity=N data=8 stop=1"));
  ASSERT_NO_FATAL_FAILURE(Arrive(all));
  EXPECT_EQ(Read(256), all);

  std::uint32_t written = 0;
  ASSERT_TRUE(driver_->Write(port_, all.data(), 256, written));
  EXPECT_EQ(written, 256u);
  std::string received;
  while (received.size() < all.size()) {
    char piece[300];
    const ssize_t count = read(master_, piece, sizeof piece);
    ASSERT_GT(count, 0);
    received.append(piece, static_cast<std::size_t>(count));
  }
  EXPECT_EQ(received, all) << "octets changed, or an echo";
}

TEST_F(PosixSerial, PurgeDropsWhatWaits) {
  ASSERT_NO_FATAL_FAILURE(Arrive("abc"));
  EXPECT_TRUE(driver_->Purge(port_, SerialDriver::kPurgeAll));
  EXPECT_EQ(Queued(), 0u);
  EXPECT_FALSE(driver_->Purge(port_, 16));
  EXPECT_EQ(Error(), "22 Invalid argument");
}

TEST_F(PosixSerial, TakesEveryRate) {
  for (const unsigned rate :
       {110u, 300u, 1200u, 2400u, 4800u, 9600u, 14400u, 19200u, 38400u, 57600u, 115200u, 230400u, 460800u, 921600u}) {
    EXPECT_TRUE(Set("baud=" + std::to_string(rate) + " parity=N data=8 stop=1")) << rate;
    termios2 setting{};
    ASSERT_EQ(ioctl(master_, TCGETS2, &setting), 0);
    EXPECT_EQ(setting.c_ospeed, rate);
    EXPECT_EQ(setting.c_ispeed, rate);
  }
}

TEST_F(PosixSerial, RefusesASettingThatTheDeviceCannotHave) {
  ASSERT_TRUE(Set("baud=14400 parity=N data=8 stop=2"));
  for (const char* mode :
       {"baud=9600 data=4", "baud=9600 stop=1.5", "baud=9600 data=5 stop=2", "baud=9600 data=7", "baud=9600 parity=E",
        "baud=9600 parity=M", "baud=9600 data=5 stop=1.5" /* a pseudo-terminal has 8 bits without parity */}) {
    LineState state;
    ASSERT_TRUE(driver_->GetLineState(port_, state));
    ASSERT_TRUE(driver_->BuildLineState(mode, state)) << mode;
    EXPECT_FALSE(driver_->SetLineState(port_, state)) << mode;
    EXPECT_EQ(Error(), "22 Invalid argument");
    ASSERT_TRUE(driver_->GetLineState(port_, state));
    EXPECT_EQ(state.baudRate, 14400u) << mode;
    EXPECT_EQ(state.dataBits, 8) << mode;
    EXPECT_EQ(state.parity, LineState::Parity::kNone) << mode;
    EXPECT_EQ(state.stopBits, LineState::StopBits::kTwo) << mode;
  }
}

TEST_F(PosixSerial, RefusesAModeThatItDoesNotKnow) {
  LineState state;
  EXPECT_TRUE(driver_->BuildLineState("BAUD=460800 parity=m  data=7 stop=1.5", state));
  EXPECT_EQ(state.baudRate, 460800u);
  EXPECT_EQ(state.parity, LineState::Parity::kMark);
  EXPECT_EQ(state.dataBits, 7);
  EXPECT_EQ(state.stopBits, LineState::StopBits::kOneAndHalf);
  for (const char* mode :
       {"baud=", "baud=96x", "baud=-1", "baud=4294967296", "baud=0", "parity=X", "parity=", "parity=NE", "data=9",
        "data=3", "data=88", "stop=3", "stop=1.", "xon=on", "9600", "=", "data=8 bits=8"}) {
    EXPECT_FALSE(driver_->BuildLineState(mode, state)) << mode;
    EXPECT_EQ(Error(), "22 Invalid argument");
    EXPECT_EQ(state.dataBits, 7) << mode;
  }
}

TEST_F(PosixSerial, IsSharedWithNobody) {
  PosixSerialDriver other(devices_);
  EXPECT_EQ(other.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_EQ(other.ErrorText(other.LastError()), "Device or resource busy");
  EXPECT_TRUE(Set("baud=9600"));  // the first one is not disturbed

  ASSERT_TRUE(driver_->Close(port_));
  EXPECT_FALSE(driver_->Close(port_)) << "closed twice";
  const SerialDriver::Handle again = other.Open("\\\\.\\com1");
  EXPECT_GT(again, 0);
  ASSERT_TRUE(other.Close(again));

  // Other programs, the superuser's too, by either way to claim a device.
  const int foreign = open(path_.c_str(), O_RDWR | O_NOCTTY);
  const auto claimed = [&] {
    int exclusive = 0;
    return flock(foreign, LOCK_EX | LOCK_NB) != 0 && ioctl(foreign, TIOCGEXCL, &exclusive) == 0 && exclusive != 0;
  };
  port_ = driver_->Open("\\\\.\\COM1");
  EXPECT_TRUE(claimed());
  ASSERT_TRUE(driver_->Close(port_));
  ASSERT_EQ(flock(foreign, LOCK_EX | LOCK_NB), 0) << "still locked";
  EXPECT_EQ(other.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_EQ(other.LastError(), static_cast<std::uint32_t>(EBUSY));
  ASSERT_EQ(flock(foreign, LOCK_UN), 0);
  ASSERT_EQ(ioctl(foreign, TIOCEXCL), 0);
  EXPECT_EQ(other.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_EQ(other.LastError(), static_cast<std::uint32_t>(EBUSY));
  close(foreign);
}

TEST_F(PosixSerial, OpensNothingButATerminal) {
  struct {
    const char* name;
    const char* error;
  } const cases[] = {{"\\\\.\\COM3", "25 Inappropriate ioctl for device"},
                     {"\\\\.\\COM256", "2 No such file or directory"},
                     {"\\\\.\\COM", "2 No such file or directory"}};
  for (const auto& c : cases) {
    EXPECT_EQ(driver_->Open(c.name), SerialDriver::kInvalidHandle) << c.name;
    EXPECT_EQ(Error(), c.error) << c.name;
  }
}

TEST_F(PosixSerial, ADeviceThatDisappearsFailsEveryCall) {
  ASSERT_TRUE(driver_->SetTimeOuts(port_, {500, kAllBits, kAllBits, 0, 0}));
  auto waiting = std::async(std::launch::async, [&] { return Read(10); });
  EXPECT_EQ(waiting.wait_for(milliseconds(20)), std::future_status::timeout);
  CloseMaster();
  ASSERT_EQ(waiting.wait_for(kInTime), std::future_status::ready);
  EXPECT_EQ(waiting.get(), "failed");
  EXPECT_EQ(Error(), "5 Input/output error");

  std::uint32_t first = 0, second = 0;
  LineState state;
  const bool succeeded[] = {driver_->ClearError(port_, first, second),
                            driver_->Write(port_, "AT\r", 3, first),
                            driver_->Purge(port_, SerialDriver::kPurgeAll),
                            driver_->GetLineState(port_, state),
                            driver_->SetLineState(port_, state),
                            driver_->GetModemStatus(port_, first),
                            driver_->Escape(port_, SerialDriver::kSetDtr)};
  EXPECT_THAT(succeeded, testing::Each(false));
  EXPECT_EQ(Read(10), "failed");
  EXPECT_EQ(Error(), "5 Input/output error");
  EXPECT_TRUE(driver_->Close(port_));
  EXPECT_EQ(Read(10), "failed");
  EXPECT_EQ(Error(), "9 Bad file descriptor");
}

TEST_F(PosixSerial, AStableLinkLeadsToTheDeviceThatComesBack) {
  const std::string link = testing::TempDir() + "tavro-link-" + std::to_string(getpid());
  ASSERT_EQ(symlink(path_.c_str(), link.c_str()), 0);
  ASSERT_TRUE(driver_->Close(port_));
  PosixSerialDriver driver({{1, link}});
  const SerialDriver::Handle first = driver.Open("\\\\.\\COM1");
  auto write = std::async(std::launch::async, [&] {
    const std::string tooMuch(1 << 20, 'x');
    std::uint32_t written = 0;
    return driver.Write(first, tooMuch.data(), 1 << 20, written);
  });
  EXPECT_EQ(write.wait_for(milliseconds(20)), std::future_status::timeout);
  CloseMaster();
  ASSERT_EQ(write.wait_for(kInTime), std::future_status::ready) << "a write that waits outlives the device";
  EXPECT_FALSE(write.get());
  EXPECT_EQ(driver.LastError(), static_cast<std::uint32_t>(EIO));
  EXPECT_EQ(driver.Open("\\\\.\\COM1"), SerialDriver::kInvalidHandle);
  EXPECT_TRUE(driver.Close(first));

  master_ = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(grantpt(master_) == 0 && unlockpt(master_) == 0);
  unlink(link.c_str());
  ASSERT_EQ(symlink(ptsname(master_), link.c_str()), 0);
  const SerialDriver::Handle second = driver.Open("\\\\.\\COM1");
  std::uint32_t written = 0;
  EXPECT_TRUE(driver.Write(second, "AT\r", 3, written));
  char octets[3];
  EXPECT_EQ(read(master_, octets, sizeof octets), 3);
  unlink(link.c_str());
}

TEST(PosixPlatformTest, AnInterruptionEndsASleep) {
  const auto slept = [start = Clock::now()] { return Clock::now() - start; };
  const auto platform = CreateSystemPlatform({}, [&] { return slept() > milliseconds(80); });
  platform->Sleep(70);
  EXPECT_GE(slept(), milliseconds(70));
  EXPECT_FALSE(platform->IsInterrupted());
  for (int i = 0; i < 3; ++i) platform->Sleep(60000);
  EXPECT_TRUE(platform->IsInterrupted());
  EXPECT_LT(slept(), kInTime);
  EXPECT_FALSE(CreateSystemPlatform({})->IsInterrupted());
}

}  // namespace
}  // namespace tavro
