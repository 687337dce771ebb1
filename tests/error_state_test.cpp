#include "link/error_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ErrorStateTest : public testing::Test {
 protected:
  ErrorStateTest() {
    log_.AttachErrorState([this](std::int32_t code, std::string_view text) { errors_.SetError(code, text); });
    log_.SetFolderPath(folder_.Path().u16string());
    log_.SetLogType(1);
  }

  TempFolder folder_;
  TranscriptLine line_;
  Settings settings_;
  LogHandling log_{line_};
  ErrorState errors_{line_, log_, settings_};
};

TEST_F(ErrorStateTest, FirstErrorStandsUntilCleared) {
  errors_.SetError(kCannotReadResponse);
  errors_.SetError(kModemNotFound);
  EXPECT_EQ(errors_.LastErrorCode(), 1012);
  errors_.ClearError();
  EXPECT_EQ(errors_.LastErrorCode(), 0);
  EXPECT_EQ(errors_.LastErrorText(), "");
  EXPECT_EQ(errors_.PreviousErrorCode(), 1012);
  errors_.SetError(1006, "a\r\nb");
  EXPECT_EQ(errors_.LastErrorText(), "a<cr><lf>b");
  errors_.ClearError();
  errors_.ClearError();
  EXPECT_EQ(errors_.PreviousErrorText(), "a<cr><lf>b");
  EXPECT_THAT(folder_.LogLines(), ElementsAre("ERROR [1012] Cannot read modem response", "ERROR [1006] a<cr><lf>b"));
}

TEST_F(ErrorStateTest, NegativeCodeIsSilentAndSurvivesClearing) {
  settings_.debugMode = true;
  errors_.SetError(-1, "quiet");
  errors_.ClearError();
  EXPECT_EQ(errors_.LastErrorCode(), -1);
  EXPECT_TRUE(errors_.IsPending());
  EXPECT_THAT(folder_.Log(), IsEmpty());
  EXPECT_THAT(line_.MessageBoxes(), IsEmpty());
}

TEST_F(ErrorStateTest, DebugModeShowsErrorAndPreviousOneBeforeTheyAreLogged) {
  settings_.debugMode = true;
  errors_.SetError(kNoSim);
  errors_.Warn(kModemNotFound);  // dropped: the first one stands
  errors_.SetError(1006, "a\r\nb");
  EXPECT_EQ(line_.Transcript(), R"(
     0 box ERROR 2005: No SIM card is inserted<cr><lf><cr><lf>Previous Error: NONE
     0 log ERROR [2005] No SIM card is inserted
     0 box ERROR 1006: a<cr><lf>b<cr><lf><cr><lf>Previous Error: <cr><lf>ERROR 2005: No SIM card is inserted
     0 log ERROR [1006] a<cr><lf>b
)");
  EXPECT_EQ(line_.MessageBoxes()[0].text, u"ERROR 2005: No SIM card is inserted\r\n\r\nPrevious Error: NONE");
  EXPECT_EQ(line_.MessageBoxes()[1].style, 16u);
  EXPECT_EQ(line_.MessageBoxes()[1].title, u"Tavro SMS Component");
}

TEST_F(ErrorStateTest, LogThatCannotBeWrittenFailsNoDialogue) {
  std::filesystem::create_directory(folder_.LogFile());
  log_.SetLogType(2);
  log_.WriteLog("lost");
  EXPECT_EQ(errors_.LastErrorCode(), 8004);
  EXPECT_FALSE(errors_.IsPending());
  errors_.SetError(kCannotReadResponse);  // not shown, the first one stands, but the dialogue has failed
  EXPECT_EQ(errors_.LastErrorCode(), 8004);
  EXPECT_TRUE(errors_.IsPending());
  errors_.ClearError();
  EXPECT_FALSE(errors_.IsPending());
}

}  // namespace
}  // namespace tavro
