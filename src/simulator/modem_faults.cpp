// The named faults of a simulated modem.
#include <algorithm>

#include "simulator/long_message.h"
#include "simulator/simulated_modem.h"

namespace tavro {

namespace {

using Reply = ModemReply;

void StoreLongMessages(SimulatedModem& modem) {
  constexpr std::int64_t kDay = 86400000;
  LongMessage first{.parts = {"This is the first mess", "age in two parts."}, .reference = 42};
  LongMessage second{.parts = {"This is another one, ", "a day later, with the ", "same reference."}, .reference = 42};
  second.wallClockMs = first.wallClockMs + kDay;
  for (const std::string& pdu : MakeLongMessage(first)) modem.Store(pdu);
  for (const std::string& pdu : MakeLongMessage(second)) modem.Store(pdu);
}

constexpr SimulatedModem::Fault kFaults[] = {
    {"silent", "nothing comes back, not even the echo",
     [](SimulatedModem& modem) {
       modem.Settings().echo = false;
       modem.Answer("*", Reply::Silence());
     }},
    {"echo-only", "nothing but the echo comes back",
     [](SimulatedModem& modem) { modem.Answer("*", Reply::Silence()); }},
    {"garbage", "every answer is noise",
     [](SimulatedModem& modem) { modem.Answer("*", Reply::Bytes("\xFE\x80~x\xE0\x1C}\xFF")); }},
    {"pieces", "every answer comes in pieces of 3 bytes, 100 ms apart",
     [](SimulatedModem& modem) {
       modem.Answer("*", Reply::Own().InPieces(3, 100));
       modem.AnswerPdu(Reply::Own().InPieces(3, 100));
     }},
    {"long-gaps", "every answer comes in pieces of 8 bytes, 700 ms apart",
     [](SimulatedModem& modem) {
       modem.Answer("*", Reply::Own().InPieces(8, 700));
       modem.AnswerPdu(Reply::Own().InPieces(8, 700));
     }},
    {"late", "every answer comes 3 seconds late",
     [](SimulatedModem& modem) { modem.Answer("*", Reply::Own().Late(3000)); }},
    {"busy", "the first 3 commands are refused with +CME ERROR: 515",
     [](SimulatedModem& modem) { modem.Answer("*", Reply::Line("+CME ERROR: 515"), 3); }},
    {"always-busy", "every command is refused with +CME ERROR: 515",
     [](SimulatedModem& modem) { modem.Answer("*", Reply::Line("+CME ERROR: 515")); }},
    {"error", "every command but AT is refused with ERROR",
     [](SimulatedModem& modem) {
       modem.Answer("AT", Reply::Own());
       modem.Answer("*", Reply::Line("ERROR"));
     }},
    {"endless", "an answer to AT+CMGL does not end before the next command",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGL*", Reply::Endless("\r\n+CMGL: 1,1,,0\r\n00", 20)); }},
    {"ok-to-all", "every command and every PDU is answered with OK alone",
     [](SimulatedModem& modem) {
       modem.Answer("*", Reply::Line("OK"));
       modem.AnswerPdu(Reply::Line("OK"));
     }},
    {"unexpected-prompt", "AT+CSQ is answered with a prompt",
     [](SimulatedModem& modem) { modem.Answer("AT+CSQ", Reply::Bytes("\r\n> ")); }},
    {"at-prompt", "another application left the modem at its prompt, with half a PDU",
     [](SimulatedModem& modem) { modem.Earlier("AT+CMGS=23\r0011"); }},
    {"half-command", "another application left half a command in the modem's input",
     [](SimulatedModem& modem) { modem.Earlier("AT+CM"); }},
    {"numeric", "another application left the modem with numbers for result codes",
     [](SimulatedModem& modem) { modem.Earlier("ATV0\r"); }},
    {"echo-stuck", "the echo cannot be switched off", [](SimulatedModem& modem) { modem.Settings().echoStuck = true; }},
    {"ring", "every answer has RING in front of it",
     [](SimulatedModem& modem) {
       modem.Answer("*", Reply::Before("\r\nRING\r\n"));
       modem.AnswerPdu(Reply::Before("\r\nRING\r\n"));
     }},
    {"line-lost", "the line is lost at the 6th command", [](SimulatedModem& modem) { modem.LoseLineAfter(5); }},
    {"line-lost-in-answer", "the line is lost in the middle of the answer to AT+CREG?",
     [](SimulatedModem& modem) { modem.Answer("AT+CREG?", Reply::Own().LineLostAfter(9)); }},

    {"asleep", "the activity status is 5 until AT+CFUN=1",
     [](SimulatedModem& modem) { modem.Settings().activity = 5; }},
    {"unavailable", "the activity status is 1", [](SimulatedModem& modem) { modem.Settings().activity = 1; }},
    {"no-sim", "there is no SIM", [](SimulatedModem& modem) { modem.Settings().simPresent = false; }},
    {"wrong-pin", "the SIM takes no PIN", [](SimulatedModem& modem) { modem.Settings().pin = "-"; }},
    {"puk", "the SIM asks for its PUK",
     [](SimulatedModem& modem) {
       if (modem.Settings().pin.empty()) modem.Settings().pin = "1234";
       modem.Settings().pinAttempts = 0;
     }},
    {"unregistered", "the modem is not registered and does not search",
     [](SimulatedModem& modem) { modem.Settings().registration = {0}; }},
    {"searching", "the modem searches a network for ever",
     [](SimulatedModem& modem) { modem.Settings().registration = {2}; }},
    {"slow-registration", "the modem finds its network at the 4th query",
     [](SimulatedModem& modem) {
       modem.Settings().registration = {2, 2, 2, 1};
     }},
    {"denied", "the network denies the registration",
     [](SimulatedModem& modem) { modem.Settings().registration = {3}; }},
    {"no-signal", "the signal strength is not known", [](SimulatedModem& modem) { modem.Settings().signal = 99; }},
    {"no-battery", "there is no battery",
     [](SimulatedModem& modem) {
       modem.Settings().batteryStatus = 2;
       modem.Settings().batteryLevel = 0;
     }},

    {"no-pdu-mode", "AT+CMGF=0 is refused",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGF=0", Reply::Line("ERROR")); }},
    {"no-prompt", "AT+CMGS is not answered",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGS=*", Reply::Silence()); }},
    {"prompt-in-pieces", "the prompt comes in two pieces, 300 ms apart",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGS=*", Reply::Bytes("\r\n").Then(300, "> ")); }},
    {"prompt-error", "AT+CMGS is refused",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGS=*", Reply::Line("+CMS ERROR: 302")); }},
    {"send-error", "every message is refused",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Line("+CMS ERROR: 500")); }},
    {"send-error-once", "the first message is refused",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Line("+CMS ERROR: 500"), 1); }},
    {"send-silence", "a message goes out but the modem never says so",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Silence().Executed()); }},
    {"send-silence-once", "the first message goes out but the modem does not say so",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Silence().Executed(), 1); }},
    {"send-ok-lost", "of the answer to a message that goes out, OK is lost",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Own().WithoutResult()); }},
    {"send-ok-lost-once", "the same with the first message alone",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Own().WithoutResult(), 1); }},
    {"bad-reference", "a message's reference is no number",
     [](SimulatedModem& modem) { modem.AnswerPdu(Reply::Ok("+CMGS: none").Executed()); }},
    {"memory-error", "the message memory cannot be listed",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGL*", Reply::Line("+CMS ERROR: 320")); }},
    {"empty-321", "an empty listing is refused with +CMS ERROR: 321",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGL*", Reply::Line("+CMS ERROR: 321")); }},
    {"delete-error", "no message can be deleted",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGD=*", Reply::Line("+CMS ERROR: 321")); }},
    {"delete-silence-once", "the first message is deleted but the modem does not say so",
     [](SimulatedModem& modem) { modem.Answer("AT+CMGD=*", Reply::Silence().Executed(), 1); }},
    {"same-reference", "the memory holds two long messages from one sender with the same reference", StoreLongMessages},
};

}  // namespace

std::span<const SimulatedModem::Fault> SimulatedModem::Faults() { return kFaults; }

bool SimulatedModem::ApplyFault(std::string_view name) {
  const auto fault =
      std::find_if(std::begin(kFaults), std::end(kFaults), [&](const Fault& each) { return each.name == name; });
  if (fault == std::end(kFaults)) return false;
  fault->apply(*this);
  return true;
}

}  // namespace tavro
