// What the system has no more of: file handles, and numbers of 32 bits for the length of a log.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "engine_fixture.h"
#include "log/log_handling.h"
#include "platform/utf8.h"

namespace tavro {
namespace {

// As long as it lives, no more files can be opened.
class NoFileHandles {
 public:
  NoFileHandles() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const int next = dup(STDIN_FILENO);
    close(next);
    const rlimit none{static_cast<rlim_t>(next), before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoFileHandles() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoFileHandles(const NoFileHandles&) = delete;
  NoFileHandles& operator=(const NoFileHandles&) = delete;

 private:
  rlimit before_{};
};

TEST(Resources, NoFileHandleIsLeft) {
  // The sanitizer looks at each kind of object once, for which it opens a pipe.
  for (const char* device : {"/none", "tcp://127.0.0.1:1"}) {
    SMS sms(Options{.devices = {{1, device}}});
    sms.SetPort(u"COM1");
    EXPECT_FALSE(sms.Connect());
  }
  for (const char* device : {"/dev/ptmx", "tcp://127.0.0.1:1", "rfc2217://127.0.0.1:1"}) {
    SCOPED_TRACE(device);
    TempFolder folder;
    SMS sms(Options{.devices = {{1, device}}});
    sms.SetPort(u"COM1");
    sms.SetLogFolderPath(folder.Path().u16string());
    const auto fails = [&] {
      const NoFileHandles none;
      EXPECT_FALSE(sms.Connect());
      return std::to_string(sms.ErrorCode()) + " " + ToUtf8(sms.ErrorDescription());
    };
    EXPECT_TRUE(Contains(fails(), "1006 ")) << ToUtf8(sms.ErrorDescription());
    EXPECT_TRUE(Contains(ToUtf8(sms.ErrorDescription()), "Too many open files")) << ToUtf8(sms.ErrorDescription());
    sms.SetLogType(2);
    EXPECT_EQ(fails(), "8004 Error opening log file");
    sms.SetSendRetry(1);
    EXPECT_EQ(sms.ErrorCode(), 0);
    EXPECT_EQ(folder.LogLinesWith("Send Retry: 1").size(), 1U);
  }
}

TEST(Resources, ALogOfMoreThanTwoGigabytes) {
  constexpr std::uintmax_t kSize = (1ULL << 31) + 5;
  TempFolder folder;
  SimulatedLine line;
  LogHandling log(line);
  log.SetFolderPath(folder.Path().u16string());
  log.SetLogType(2);
  log.WriteLog("first");
  std::filesystem::resize_file(folder.LogFile(), kSize);  // takes no room on the disk
  log.WriteLog("behind");
  log.WriteLog("last");
  EXPECT_GT(std::filesystem::file_size(folder.LogFile()), kSize);
  EXPECT_EQ(log.LineCount(), 4);
  EXPECT_TRUE(log.Clear(1));
  EXPECT_EQ(folder.Log(), "2024-03-05 14:07:09: last\r\n\r\n");
}

}  // namespace
}  // namespace tavro
