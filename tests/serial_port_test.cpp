#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine_fixture.h"
#include "link/cls_comm.h"

namespace tavro {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr char kMode[] = "baud=9600 parity=N data=8 stop=1";

class SerialPortTest : public testing::Test {
 protected:
  std::int32_t Open() {
    std::string name = "COM1";
    return comm_.CommOpen(1, name, kMode);
  }

  SimulatedModem modem_;
  SimulatedLine line_{modem_};
  clsCOMM comm_{line_};
};

TEST_F(SerialPortTest, PortInUseAndPortOutOfRangeTouchNothing) {
  Open();
  line_.ForgetCalls();
  EXPECT_EQ(Open(), -1);
  EXPECT_EQ(comm_.ErrorText(), "Error (-1): CommOpen - Port in use.");
  line_.FailCall("PurgeComm", 87);
  comm_.CommFlush(1);
  line_.ForgetCalls();
  for (const int port : {0, -1, 257}) {
    std::string name = "COMx", data;
    bool on = true;
    EXPECT_EQ(comm_.CommOpen(port, name, kMode), -1);
    EXPECT_EQ(comm_.CommRead(port, data, 1), -1);
    EXPECT_EQ(comm_.CommWrite(port, "AT"), -1);
    EXPECT_EQ(comm_.CommClose(port), -1);
    EXPECT_EQ(comm_.CommReadCD(port, 128, on), -1);
    EXPECT_EQ(comm_.ErrorText(), "Error (-1): CommReadCD - Port number out of range.");
    EXPECT_FALSE(comm_.IsOpen(port));
  }
  EXPECT_THAT(line_.Calls(), IsEmpty());
}

TEST_F(SerialPortTest, EachFailingStepOfOpeningHasItsLabel) {
  const struct {
    const char* call;
    const char* label;
    bool open;
  } kSteps[] = {
      {"CreateFile", "CommOpen (CreateFile)", false},    {"SetupComm", "CommOpen (SetupComm)", true},
      {"PurgeComm", "CommOpen (PurgeComm)", true},       {"SetCommTimeouts", "CommOpen (SetCommTimeouts)", true},
      {"GetCommState", "CommOpen (GetCommState)", true}, {"BuildCommDCB", "CommOpen (BuildCommDCB)", true},
      {"SetCommState", "CommOpen (SetCommState)", true},
  };
  line_.SetErrorText(5, "Access is denied.");
  for (const auto& step : kSteps) {
    line_.FailCall(step.call, 5);
    EXPECT_EQ(Open(), 5) << step.call;
    EXPECT_EQ(comm_.ErrorText(), std::string("Error (5): ") + step.label + " - Access is denied.");
    EXPECT_EQ(comm_.IsOpen(1), step.open) << step.call;
    EXPECT_EQ(comm_.CommClose(1), 0);
  }
}

TEST_F(SerialPortTest, EachFailingStepOfSettingHasItsLabel) {
  EXPECT_EQ(comm_.CommSet(1, kMode), 6);  // an invalid handle
  Open();
  for (const std::string step : {"GetCommState", "BuildCommDCB", "SetCommState"}) {
    line_.FailCall(step, 87);
    EXPECT_EQ(comm_.CommSet(1, kMode), 87);
    EXPECT_THAT(comm_.ErrorText(), HasSubstr("CommSet (" + step + ")"));
  }
  EXPECT_EQ(comm_.CommSet(1, kMode), 0);
}

TEST_F(SerialPortTest, ReadTakesTheLargerOfQueuedAndRequested) {
  Open();
  std::string data = "old";
  const auto pumped = line_.PumpCount();
  EXPECT_EQ(comm_.CommRead(1, data, 10), 0);  // nothing queued: at once
  EXPECT_EQ(line_.PumpCount(), pumped + 1);
  EXPECT_EQ(data, "");
  EXPECT_EQ(line_.Elapsed(), 0);
  line_.QueueInput(1, "0123456789");
  EXPECT_EQ(comm_.CommRead(1, data, 1), 10);
  EXPECT_EQ(data, "0123456789");
  line_.QueueInput(1, "x");
  EXPECT_EQ(comm_.CommRead(1, data, 10), 1);
  EXPECT_EQ(line_.Elapsed(), 750);  // the rest was waited for
  line_.QueueInput(1, std::string(40000, 'y'));
  EXPECT_EQ(comm_.CommRead(1, data, 1), 32768);
  EXPECT_EQ(comm_.CommRead(1, data, 1), 40000 - 32768);
}

TEST_F(SerialPortTest, PendingTransfersAreWaitedFor) {
  Open();
  line_.PendNext("WriteFile", 2);
  const auto pumped = line_.PumpCount();
  EXPECT_EQ(comm_.CommWrite(1, "AT\r"), 3);
  EXPECT_GE(line_.PumpCount() - pumped, 4);
  std::string data;
  line_.PendNext("ReadFile", 1);
  EXPECT_EQ(comm_.CommRead(1, data, 64), 9);  // the echo and OK
  EXPECT_EQ(data, "AT\r\r\nOK\r\n");
}

TEST_F(SerialPortTest, TransferFailuresNameTheLinesErrorFlags) {
  Open();
  line_.SetErrorText(1167, "Gone.");
  std::string data;
  line_.SetErrorFlags(0x1A);
  line_.FailCall("WriteFile", 1167);
  EXPECT_EQ(comm_.CommWrite(1, "AT"), -1);
  EXPECT_EQ(comm_.ErrorText(), "Error (1167): CommWrite (WriteFile) - Gone.  COMM Error Flags = 1A");
  line_.PendNext("WriteFile");
  line_.FailCall("GetOverlappedResult", 1167);
  EXPECT_EQ(comm_.CommWrite(1, "AT"), -1);
  EXPECT_EQ(comm_.ErrorText(), "Error (1167): CommWrite (GetOverlappedResult) - Gone.  COMM Error Flags = 0");
  line_.QueueInput(1, "abc");
  line_.FailCall("ReadFile", 1167);
  EXPECT_EQ(comm_.CommRead(1, data, 1), -1);
  EXPECT_THAT(comm_.ErrorText(), HasSubstr("CommRead (ReadFile) - Gone.  COMM Error Flags = 0"));
  line_.FailCall("ClearCommError", 1167);
  EXPECT_EQ(comm_.CommRead(1, data, 1), -1);
  EXPECT_EQ(comm_.ErrorText(), "Error (1167): CommRead (ClearCommError) - Gone.");
  line_.ShortenWrite(1);
  EXPECT_EQ(comm_.CommWrite(1, "AT"), 1);
}

TEST_F(SerialPortTest, LinesAndCarrier) {
  EXPECT_EQ(comm_.CommSetLine(1, clsCOMM::kLineDtr, 1), 0);
  EXPECT_THAT(line_.Calls(), IsEmpty());  // not open
  Open();
  line_.ForgetCalls();
  for (const int line : {clsCOMM::kLineBreak, clsCOMM::kLineDtr, clsCOMM::kLineRts, 4}) {
    comm_.CommSetLine(1, line, 1);
    comm_.CommSetLine(1, line, 0);
  }
  EXPECT_THAT(line_.CallTexts(), ElementsAre("EscapeCommFunction 8", "EscapeCommFunction 9", "EscapeCommFunction 5",
                                             "EscapeCommFunction 6", "EscapeCommFunction 3", "EscapeCommFunction 4"));
  line_.SetModemStatus(128);
  bool on = false;
  EXPECT_EQ(comm_.CommReadCD(1, 128, on), 0);
  EXPECT_TRUE(on);
  comm_.CommReadCD(1, 16, on);
  EXPECT_FALSE(on);
}

TEST_F(SerialPortTest, AHandleIsClosedOnce) {
  EXPECT_EQ(comm_.CommClose(1), 0);
  Open();
  line_.FailCall("CloseHandle", 6);
  EXPECT_EQ(comm_.CommClose(1), 6);
  EXPECT_TRUE(comm_.IsOpen(1));
  EXPECT_EQ(comm_.CommClose(1), 0);
  line_.ForgetCalls();
  EXPECT_EQ(comm_.CommClose(1), 0);
  EXPECT_THAT(line_.Calls(), IsEmpty());
  EXPECT_EQ(Open(), 0);
}

}  // namespace
}  // namespace tavro
