#include "failure_hints.h"

#include <algorithm>
#include <charconv>
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

constexpr FailureHint kHints[] = {
    {1001, "The port is none of COM1 to COM256", "use -p COM1, or the device itself with -d"},
    {1002, "No such rate", "use -b with 9600, 19200, 115200 or another usual rate"},
    {1003, "No such parity", kWrongUse},
    {1004, "No such number of data bits", kWrongUse},
    {1005, "No such number of stop bits", kWrongUse},
    {1006, "The system does not open the port, or lost it", kReconnect},
    {1007, "The system does not close the port", "unplug the modem and plug it in"},
    {1008, "A timeout outside 1 to 60000 ms", "use -t with 1 to 60000"},
    {1009, "A setting of the port was changed while it is open", "disconnect first"},
    {1010, "No port was chosen", "name it with -d or TAVRO_DEVICE"},
    {1011, "The modem takes no octets, or was unplugged", kReconnect},
    {1012, "The modem did not answer in time, or the program was asked to end", kAnswerCut},
    {1015, "The modem does not answer any more", kUnplug},
    {1016, "No answer to the command of --init", "check the command of --init"},
    {1017, "No answer to the commands that begin a connection", kUnplug},
    {1018, "The modem refuses the command of --init", "check the command of --init"},
    {1019, "The modem refuses to end its echo (ATE0)", kNotGsm},
    {1020, "The modem refuses AT+CREG=0", kNotGsm},
    {1021, "The modem does not switch its radio on (AT+CFUN=1)", kUnplug},
    {1022, "The modem refuses result codes as words (ATV1)", kNotGsm},
    {1023, "The modem refuses numeric errors (AT+CMEE)", kNotGsm},
    {1024, "No answer to AT+CFUN=1", kUnplug},
    {1025, "No answer to AT+CNMI", kUnplug},
    {1026, "The modem refuses AT+CNMI", kNotGsm},
    {1027, "No answer to ATE0", kUnplug},
    {1028, "ATE0 failed", kUnplug},
    {1029, "No answer to ATV1", kUnplug},
    {1030, "ATV1 failed", kUnplug},
    {1031, "No answer to AT+CMEE", kUnplug},
    {1032, "AT+CMEE failed", kUnplug},
    {1033, "No answer to AT+CREG=0", kUnplug},
    {1034, "Nothing at the port answers as a modem does",
     "find the port where one answers with tavro ports --probe; on a serial line try another rate, as -b 9600 or -b "
     "115200"},
    {1035, "No answer to AT+COPS=0", kRegister},
    {1036, "AT+COPS=0 failed", kRegister},
    {1037, "The modem refuses AT+COPS=0", kRegister},
    {1038, "The modem knows no PDU mode (AT+CMGF=0)", kNotGsm},
    {1039, "No answer to AT+CFUN=0", kUnplug},
    {1040, "AT+CFUN=0 failed", kUnplug},
    {1041, "A command delay outside 50 to 5000 ms", kWrongUse},
    {1042, "Not one command: a control character stands in it", "give one command without its carriage return"},
    {1043, "Out of memory", "end other programs and run it again; what was begun may be done all the same"},
    {2001, "No such message memory", "use --memory SM or --memory ME"},
    {2002, "The modem does not have this message memory",
     "use another one, as --memory ME; tavro info shows those there are"},
    {2003, "The modem does not tell its manufacturer", kAnswerCut},
    {2004, "The SIM is damaged", "use another SIM"},
    {2005, "No SIM is inserted, or it has no contact", "insert the SIM, then unplug the modem and plug it in"},
    {2006, "The answer about the PIN makes no sense", kUnplug},
    {2007, "No answer about the PIN", kUnplug},
    {2008, "The PIN is wrong", "correct TAVRO_PIN; do not guess: the SIM is locked behind the third wrong one"},
    {2009, "The PUK is wrong", kPuk},
    {2010, "The SIM is locked and wants its PUK", kPuk},
    {2011, "The modem does not tell what became of the PIN", kUnplug},
    {2012, "No answer to the PIN", kUnplug},
    {2013, "The PIN is wrong, or was not sent because the SIM takes only one more",
     "correct TAVRO_PIN; the SIM's last attempt is made only with --last-pin-attempt, and a wrong one locks it"},
    {2014, "The SIM wants its PIN", kPin},
    {2015, "The modem takes no PIN now", kUnplug},
    {2016, "The modem does not tell its PIN state or its revision", kUnplug},
    {2017, "The modem does not tell its IMEI", kAnswerCut},
    {2018, "The modem does not tell its model", kAnswerCut},
    {2022, "The modem knows no battery", "it has none, or runs on the USB's power"},
    {2023, "The SIM does not know its own number",
     "store it in the SIM's own phone book, where the network's SIM takes it"},
    {2024, "A pause outside 1 to 60000 ms", kWrongUse},
    {2025, "The SIM's identity cannot be read", "unlock the SIM: TAVRO_PIN"},
    {2026, "No PIN state behind AT+CFUN=1", kUnplug},
    {2027, "The modem is starting, or hangs", "wait half a minute and run it again; a modem that hangs: --recover"},
    {3001, "The modem knows no signal strength", "wait until it is registered, or move the antenna"},
    {3002, "The modem is not registered in a network", kRegister},
    {3003, "The network does not admit this SIM",
     "check the SIM's contract; a roaming SIM needs an operator that admits it"},
    {3004, "The modem is not registered and does not tell why", kRegister},
    {3005, "The answer about the registration makes no sense", kUnplug},
    {3006, "No answer about the registration", kUnplug},
    {3007, "The modem does not tell its operator", kRegister},
    {3010, "The search for operators failed", kRegister},
    {4001, "The service centre's number cannot be read", kSetSmsc},
    {4002, "The service centre's number cannot be stored", "use international form, as +491710760000"},
    {4003, "No such validity", "use --validity with 5M to 720M, 1H to 24H, 1D to 30D or 1W to 63W"},
    {4004, "No telephone number", "use + and digits (+491701234567), or digits alone for a national number"},
    {4005, "No such way with long texts", kWrongUse},
    {4006, "No answer to AT+CMGF=0", kUnplug},
    {4007, "The modem knows no PDU mode", kNotGsm},
    {4008, "The modem cannot be reached", kReconnect},
    {4009, "No answer to AT+CMGS; nothing was sent", kAnswerCut},
    {4010, "The modem refuses to take a message; nothing was sent", kRegister},
    {4011, "The modem did not take the message", kAnswerCut},
    {4012, "The network refused the message, or its result did not come",
     "see the cause in the text; behind \"Result unknown\" the message may be out: ask the receiver before sending it "
     "again"},
    {4013, "No such delay or number of retries", kWrongUse},
    {4015, "No such coding", "use --coding 7, 8 or 16"},
    {4016, "The modem gave no reference", "the message may be out: ask the receiver before sending it again"},
    {4017, "The text does not fit into the message", "use a shorter text, or --coding 16"},
    {4018, "The SIM has no service centre", kSetSmsc},
    {4020, "Unknown", "with -v, see what the modem says"},
    {5001, "No such kind of messages", kWrongUse},
    {5002, "No answer to AT+CMGF=0", kUnplug},
    {5003, "The modem knows no PDU mode", kNotGsm},
    {5004, "The modem cannot be reached", kReconnect},
    {5005, "No answer to AT+CMGL", kReadAgain},
    {5006, "The modem refuses to list messages, or the list makes no sense", kReadAgain},
    {5007, "No message has this number", kListAgain},
    {5008, "The message cannot be read, or there are more than the inbox takes", "delete messages: tavro clear"},
    {5009, "A negative time", kWrongUse},
    {5010, "No list of references from 0 to 255", kWrongUse},
    {6002, "No answer to AT+CMGF=0", kUnplug},
    {6003, "The modem knows no PDU mode", kNotGsm},
    {6004, "The modem cannot be reached", kReconnect},
    {6005, "No answer to AT+CMGD", kListAgain},
    {6007, "The message is not in the modem any more", kListAgain},
    {6008, "The message is not in the inbox any more", kListAgain},
    {6009, "There is nothing to delete", "nothing needs to be done"},
    {6010, "Some messages could not be deleted", "run tavro list to see them, and tavro clear again"},
    {6011, "The modem refuses to delete the message", kListAgain},
    {7001, "The text is empty", "give a text"},
    {7002, "The address is empty", "give a URL"},
    {7003, "No such expiry", "use --expiry with 0, 1H to 24H, 1D to 31D or 1M to 12M"},
    {7004, "No telephone number", "use + and digits, or digits alone for a national number"},
    {7005, "The text is missing", "give a text"},
    {7006, "The address is missing", "give a URL"},
    {7007, "The number is missing", "give a number"},
    {7008, "No answer to AT+CMGF=0", kUnplug},
    {7009, "The modem knows no PDU mode", kNotGsm},
    {7010, "The modem cannot be reached", kReconnect},
    {7011, "The push cannot be built", "use a shorter text and URL"},
    {7012, "No answer to AT+CMGS; nothing was sent", kAnswerCut},
    {7013, "The modem refuses to take a message; nothing was sent", kRegister},
    {7014, "The modem did not take the message", kAnswerCut},
    {7015, "The network refused the push, or its result did not come",
     "see the cause in the text; behind \"Result unknown\" it may be out: ask the receiver before sending it again"},
    {7016, "The modem gave no reference", "the push may be out: ask the receiver before sending it again"},
    {7017, "No such action", "use --action low, medium or high"},
    {7018, "Text and URL do not fit into one message", "use a shorter text or URL: 140 octets in all"},
    {7019, "No date", kWrongUse},
    {7022, "The SIM has no service centre", kSetSmsc},
    {7023, "Unknown", "with -v, see what the modem says"},
    {8001, "No such kind of log", kWrongUse},
    {8002, "The log's folder has no name", kLog},
    {8003, "The log's folder is not there", kLog},
    {8004, "Tavro.log cannot be written", kLog},
    {8007, "Tavro.log cannot be emptied", kLog},
    {8008, "Tavro.log cannot be read", kLog},
    {9001, "No USSD code", "use up to 182 digits, * and #, in quotes: '*100#'"},
    {9002, "The modem or the network refuses the code",
     "check the code with your operator, and the signal with tavro info"},
    {9003, "The network did not answer in time", "run it again; check the signal with tavro info"},
    {9004, "The modem knows no USSD", "use another port of the stick, or another modem"},
    {9005, "The network knows no such code", "check the code with your operator"},
    {9006, "The network ended the session", "begin again with the first code"},
    {9007, "The answer makes no sense", "with -v, see what the modem says"},
    {9008, "The modem does not end the session", "wait a minute and run it again"},
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

std::span<const FailureHint> FailureHints() { return kHints; }

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
