#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>

#include "engine_fixture.h"
#include "log/log_handling.h"
#include "platform/utf8.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogTest : public testing::Test {
 protected:
  LogTest() {
    log_.AttachErrorState([this](std::int32_t code, std::string_view text) {
      failures_.push_back(std::to_string(code) + " " + std::string(text));
    });
    log_.SetFolderPath(folder_.Path().u16string());
  }

  void Fill(std::string_view content) { std::ofstream(folder_.LogFile(), std::ios::binary) << content; }

  TempFolder folder_;
  SimulatedLine line_;
  LogHandling log_{line_};
  std::vector<std::string> failures_;
};

TEST_F(LogTest, WritesByLogType) {
  for (std::int16_t type = 0; type <= 2; ++type) {
    log_.SetLogType(type);
    log_.WriteLog("activity");
    log_.WriteErrorLine(1004, "Invalid data bits setting");
  }
  log_.WriteErrorLine(0, "no error");
  log_.WriteErrorLine(8004, "Error opening log file");
  log_.WriteLog("   ");
  EXPECT_EQ(folder_.Log(),
            "2024-03-05 14:07:09: ERROR [1004] Invalid data bits setting\r\n"
            "2024-03-05 14:07:09: activity\r\n"
            "2024-03-05 14:07:09: ERROR [1004] Invalid data bits setting\r\n");
}

TEST_F(LogTest, EachLineHasItsOwnTime) {
  log_.SetLogType(2);
  for (const std::uint32_t pause : {0U, 990U, 20U, 3600000U}) {
    line_.Sleep(pause);
    log_.WriteLog("x");
  }
  EXPECT_EQ(folder_.Log(),
            "2024-03-05 14:07:09: x\r\n2024-03-05 14:07:09: x\r\n2024-03-05 14:07:10: x\r\n"
            "2024-03-05 15:07:10: x\r\n");
}

TEST_F(LogTest, OneCallIsOneLineWhateverTheText) {
  log_.SetLogType(2);
  log_.WriteLog("A\r\nB");
  log_.WriteLog("\"quotes\", \xC3\xA4\xCE\xA9");
  log_.WriteErrorLine(-5, "x\ry");
  EXPECT_THAT(folder_.LogLines(), ElementsAre("A<cr><lf>B", "\"quotes\", \xC3\xA4\xCE\xA9", "ERROR [-5] x<cr>y"));
}

TEST_F(LogTest, FolderMustExistAndReadsBackWithSeparator) {
  const std::u16string kept = log_.FolderPath();
  EXPECT_EQ(kept, folder_.Path().u16string() + u"/");
  for (const auto& missing : {std::u16string(u"/no/such/folder"), std::u16string(), std::u16string(u"/\0tmp", 5),
                              std::u16string(u"/\xD800"), folder_.LogFile().u16string()}) {
    EXPECT_FALSE(log_.SetFolderPath(missing));
    EXPECT_EQ(log_.FolderPath(), kept);
  }
  EXPECT_TRUE(log_.SetFolderPath(kept));
  EXPECT_EQ(log_.FolderPath(), kept);
}

TEST_F(LogTest, StartsInTheComponentsOwnFolder) {
  line_.SetComponentFolder(folder_.Path().u16string());
  EXPECT_EQ(LogHandling(line_).FolderPath(), folder_.Path().u16string() + u"/");
}

TEST_F(LogTest, SizeCountsPieces) {
  EXPECT_EQ(log_.LineCount(), 0);
  Fill("");
  EXPECT_EQ(log_.LineCount(), 0);
  Fill("one\r\ntwo\r\n");
  EXPECT_EQ(log_.LineCount(), 3);
  Fill("one\r\ntwo");
  EXPECT_EQ(log_.LineCount(), 2);
  EXPECT_THAT(failures_, IsEmpty());
}

TEST_F(LogTest, ClearKeepsTheLastLines) {
  const struct {
    std::int16_t keep;
    const char* left;
  } kCases[] = {
      {2, "4\r\n5\r\n\r\n"},
      {0, ""},
      {-1, ""},
      {5, "1\r\n2\r\n3\r\n4\r\n5\r\n\r\n"},
      {99, "1\r\n2\r\n3\r\n4\r\n5\r\n\r\n"},
  };
  EXPECT_TRUE(log_.Clear(0));
  EXPECT_TRUE(log_.Clear(3));
  EXPECT_FALSE(std::filesystem::exists(folder_.LogFile()));
  for (const auto& c : kCases) {
    Fill("1\r\n2\r\n3\r\n4\r\n5\r\n");
    EXPECT_TRUE(log_.Clear(c.keep));
    EXPECT_EQ(folder_.Log(), c.left) << c.keep;
  }
}

TEST_F(LogTest, ReportsItsOwnFailures) {
  log_.SetLogType(2);
  int reader = -1;
  const std::string file = folder_.LogFile().string();
  const struct {
    const char* what;
    std::function<void()> make;
  } kCases[] = {
      {"a folder", [&] { std::filesystem::create_directory(file); }},
      {"a FIFO", [&] { mkfifo(file.c_str(), 0600); }},
      {"a FIFO with a reader",
       [&] {
         mkfifo(file.c_str(), 0600);
         reader = open(file.c_str(), O_RDONLY | O_NONBLOCK);
       }},
      {"a device", [&] { std::filesystem::create_symlink("/dev/null", file); }},
      {"a link to a file", [&] { std::filesystem::create_symlink(folder_.Path() / "elsewhere.log", file); }},
      {"no folder", [&] { std::filesystem::remove_all(folder_.Path()); }},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    failures_.clear();
    c.make();
    log_.WriteLog("lost");
    log_.WriteErrorLine(1012, "lost too");
    EXPECT_EQ(log_.LineCount(), 0);
    EXPECT_FALSE(log_.Clear(0));
    EXPECT_FALSE(log_.Clear(1));
    EXPECT_THAT(failures_, ElementsAre("8004 Error opening log file", "8004 Error opening log file",
                                       "8008 Error getting log file size", "8007 Error clearing log file",
                                       "8007 Error clearing log file"));
    std::filesystem::remove(file);
  }
  close(reader);

  std::filesystem::create_directory(folder_.Path());
  log_.WriteLog("back again");
  EXPECT_THAT(folder_.LogLines(), ElementsAre("back again"));
  EXPECT_EQ(std::filesystem::status(file).permissions(),
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(LogTest, FullDiskIsReported) {
  log_.SetLogType(2);
  log_.WriteLog("there is room");
  const std::string whole = folder_.Log();
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit some{whole.size() + 10, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &some), 0);
  log_.WriteLog("no room");
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, ignored);
  EXPECT_THAT(failures_, ElementsAre("8004 Error opening log file"));
  EXPECT_EQ(folder_.Log(), whole) << "no part of a line";
}

// What is logged is traced too, PINs hidden and control characters shown as there; and the same without a log.
TEST(Trace, HasEachLineOfTheLog) {
  for (const Dialogue dialogue : kManners) {
    std::vector<std::string> logged;
    for (const auto logType : std::vector<std::int16_t>{2, 0}) {
      std::vector<std::string> traced;
      Options options{.dialogue = dialogue};
      options.trace = [&](std::u16string_view line) { traced.push_back(ToUtf8(line)); };
      Engine engine({}, options);
      engine.modem.Settings().pin = "1234";
      engine.modem.Answer("AT+GMI", ModemReply::Ok("Ma\x1Bker"));
      engine.sms.SetLogType(logType);
      traced.clear();
      engine.sms.SetPIN(u"1234");
      EXPECT_TRUE(engine.sms.Connect());
      engine.sms.Manufacturer();
      engine.sms.SetParity(u"?");
      engine.sms.Inbox()->Refresh();
      if (logType == 2) logged = engine.folder.LogLines();
      EXPECT_EQ(traced, logged);
      EXPECT_EQ(engine.folder.LogLines().empty(), logType == 0);
    }
    EXPECT_THAT(logged, testing::Contains("ERROR [1009] Cannot change port setting when connected"));
  }
}

}  // namespace
}  // namespace tavro
