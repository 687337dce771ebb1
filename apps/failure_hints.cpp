#include "failure_hints.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <string_view>

#include "base/error_codes.h"
#include "open_hint.h"

namespace {

// Remedies that several codes share.
constexpr char kAnswerCut[] = "run it again; with -v, see what the modem says; a modem that hangs: --recover";
constexpr char kUnplug[] = "run it again, or unplug the modem and plug it in; with -v, see what it says";
constexpr char kNotGsm[] =
    "use a GSM modem that takes messages in PDU mode; a stick has several ports: tavro ports --probe";
constexpr char kReconnect[] = "see that it is plugged in and alone in use: tavro ports --probe";
constexpr char kRegister[] = "see tavro info for signal and operator; check the antenna, the SIM and its contract";
constexpr char kWrongUse[] = "see tavro COMMAND --help for what it may be";
constexpr char kSetSmsc[] = "store the centre's number in the SIM: tavro command 'AT+CSCA=\"+49...\"'";
constexpr char kReadAgain[] = "run tavro list again; with -v, see what the modem says";
constexpr char kListAgain[] = "run tavro list again: the numbers may have changed";
constexpr char kLog[] = "choose a folder with --log that is there and that you may write into";
constexpr char kPin[] = "set TAVRO_PIN to the SIM's PIN: TAVRO_PIN=1234 tavro ...";
constexpr char kPuk[] = "put the SIM into a phone, type its PUK and a new PIN there";

struct FailureHint {
  std::int32_t code;
  const char* remedy;
};

// Each error code of the library, ascending. docs/errors.tsv has the causes.
constexpr FailureHint kHints[] = {
    {1001, "use -p COM1, or the device itself with -d"},
    {1002, "use -b with 9600, 19200, 115200 or another usual rate"},
    {1003, kWrongUse},
    {1004, kWrongUse},
    {1005, kWrongUse},
    {1006, kReconnect},
    {1007, "unplug the modem and plug it in"},
    {1008, "use -t with 1 to 60000"},
    {1009, "disconnect first"},
    {1010, "name it with -d or TAVRO_DEVICE"},
    {1011, kReconnect},
    {1012, kAnswerCut},
    {1015, kUnplug},
    {1016, "check the command of --init"},
    {1017, kUnplug},
    {1018, "check the command of --init"},
    {1019, kNotGsm},
    {1020, kNotGsm},
    {1021, kUnplug},
    {1022, kNotGsm},
    {1023, kNotGsm},
    {1024, kUnplug},
    {1025, kUnplug},
    {1026, kNotGsm},
    {1027, kUnplug},
    {1028, kUnplug},
    {1029, kUnplug},
    {1030, kUnplug},
    {1031, kUnplug},
    {1032, kUnplug},
    {1033, kUnplug},
    {1034,
     "find the port where one answers with tavro ports --probe; on a serial line try another rate, as -b 9600 or -b "
     "115200"},
    {1035, kRegister},
    {1036, kRegister},
    {1037, kRegister},
    {1038, kNotGsm},
    {1039, kUnplug},
    {1040, kUnplug},
    {1041, kWrongUse},
    {1042, "give one command without its carriage return"},
    {1043, "end other programs and run it again; what was begun may be done all the same"},
    {2001, "use --memory SM or --memory ME"},
    {2002, "use another one, as --memory ME; tavro info shows those there are"},
    {2003, kAnswerCut},
    {2004, "use another SIM"},
    {2005, "insert the SIM, then unplug the modem and plug it in"},
    {2006, kUnplug},
    {2007, kUnplug},
    {2008, "correct TAVRO_PIN; do not guess: the SIM is locked behind the third wrong one"},
    {2009, kPuk},
    {2010, kPuk},
    {2011, kUnplug},
    {2012, kUnplug},
    {2013,
     "correct TAVRO_PIN and do not guess: three wrong ones lock the SIM; where the modem tells how many are left, the "
     "last one is made only with --last-pin-attempt"},
    {2014, kPin},
    {2015, kUnplug},
    {2016, kUnplug},
    {2017, kAnswerCut},
    {2018, kAnswerCut},
    {2022, "it has none, or runs on the USB's power"},
    {2023, "store it in the SIM's own phone book, where the network's SIM takes it"},
    {2024, kWrongUse},
    {2025, "unlock the SIM: TAVRO_PIN"},
    {2026, kUnplug},
    {2027, "wait half a minute and run it again; a modem that hangs: --recover"},
    {3001, "wait until it is registered, or move the antenna"},
    {3002, kRegister},
    {3003, "check the SIM's contract; a roaming SIM needs an operator that admits it"},
    {3004, kRegister},
    {3005, kUnplug},
    {3006, kUnplug},
    {3007, kRegister},
    {3010, kRegister},
    {4001, kSetSmsc},
    {4002, "use international form, as +491710760000"},
    {4003, "use --validity with 5M to 720M, 1H to 24H, 1D to 30D or 1W to 63W"},
    {4004, "use + and digits (+491701234567), or digits alone for a national number"},
    {4005, kWrongUse},
    {4006, kUnplug},
    {4007, kNotGsm},
    {4008, kReconnect},
    {4009, kAnswerCut},
    {4010, kRegister},
    {4011, kAnswerCut},
    {4012,
     "see the cause in the text; behind \"Result unknown\" the message may be out: ask the receiver before sending it "
     "again"},
    {4013, kWrongUse},
    {4015, "use --coding 7, 8 or 16"},
    {4016, "the message may be out: ask the receiver before sending it again"},
    {4017, "use a shorter text, or --coding 16"},
    {4018, kSetSmsc},
    {4020, "with -v, see what the modem says"},
    {5001, kWrongUse},
    {5002, kUnplug},
    {5003, kNotGsm},
    {5004, kReconnect},
    {5005, kReadAgain},
    {5006, kReadAgain},
    {5007, kListAgain},
    {5008, "delete messages: tavro clear"},
    {5009, kWrongUse},
    {5010, kWrongUse},
    {6002, kUnplug},
    {6003, kNotGsm},
    {6004, kReconnect},
    {6005, kListAgain},
    {6007, kListAgain},
    {6008, kListAgain},
    {6009, "nothing needs to be done"},
    {6010, "run tavro list to see them, and tavro clear again"},
    {6011, kListAgain},
    {7001, "give a text"},
    {7002, "give a URL"},
    {7003, "use --expiry with 0, 1H to 24H, 1D to 31D or 1M to 12M"},
    {7004, "use + and digits, or digits alone for a national number"},
    {7005, "give a text"},
    {7006, "give a URL"},
    {7007, "give a number"},
    {7008, kUnplug},
    {7009, kNotGsm},
    {7010, kReconnect},
    {7011, "use a shorter text and URL"},
    {7012, kAnswerCut},
    {7013, kRegister},
    {7014, kAnswerCut},
    {7015,
     "see the cause in the text; behind \"Result unknown\" it may be out: ask the receiver before sending it again"},
    {7016, "the push may be out: ask the receiver before sending it again"},
    {7017, "use --action low, medium or high"},
    {7018, "use a shorter text or URL: 140 octets in all"},
    {7019, kWrongUse},
    {7022, kSetSmsc},
    {7023, "with -v, see what the modem says"},
    {8001, kWrongUse},
    {8002, kLog},
    {8003, kLog},
    {8004, kLog},
    {8007, kLog},
    {8008, kLog},
    {9001, "use up to 182 digits, * and #, in quotes: '*100#'"},
    {9002, "check the code with your operator, and the signal with tavro info"},
    {9003, "run it again; check the signal with tavro info"},
    {9004, "use another port of the stick, or another modem"},
    {9005, "check the code with your operator"},
    {9006, "begin again with the first code"},
    {9007, "with -v, see what the modem says"},
    {9008, "wait a minute and run it again"},
};

// The system's number in "Error (16): CommOpen ...".
std::uint32_t SystemErrorIn(std::string_view text) {
  constexpr std::string_view kBefore = "Error (";
  const std::size_t start = text.find(kBefore);
  std::uint32_t number = 0;
  if (start != std::string_view::npos) {
    std::from_chars(text.data() + start + kBefore.size(), text.data() + text.size(), number);
  }
  return number;
}

}  // namespace

bool IsSimLocked(std::int32_t code) {
  using namespace tavro;
  for (const ErrorDefinition& error :
       {kInvalidOrWrongPin, kInvalidOrWrongPuk, kWaitingForPuk, kInvalidPin, kBlankPin}) {
    if (error.code == code) return true;
  }
  return false;
}

std::string HintFor(const OperationFailed& failure) {
  if (!failure.Hint().empty()) return failure.Hint();
  if (failure.Code() == tavro::kSerialPortError) {
    if (failure.Device().find("://") != std::string::npos) {
      return "see that the terminal server is on and reachable, and the address of the form tcp://host:port";
    }
    const std::string hint = OpenHint(SystemErrorIn(failure.what()), failure.Device());
    if (!hint.empty()) return hint;
  }
  const auto found = std::lower_bound(std::begin(kHints), std::end(kHints), failure.Code(),
                                      [](const FailureHint& hint, std::int32_t code) { return hint.code < code; });
  return found != std::end(kHints) && found->code == failure.Code() ? found->remedy : "";
}
