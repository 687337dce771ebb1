// A life of calls with a modem that answers whatever the input says, in virtual time and in both manners.
//
//   input   = options LF calls LF script
//   options = *OCTET          'c': classic manner, 'p' (or none): prompt; the others are in MakeOptions and ApplyOption
//   calls   = *OCTET          one call each, see kCalls
//   script  = as dialogue_script.h draws it
//
// No call crashes, throws, lasts longer than its settings let it, or says something else than the error that it
// leaves; nothing is open behind a Connect that failed; the prompt manner deletes nothing unasked.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "dialogue_script.h"
#include "fuzz_line.h"
#include "tavro/sms.h"

namespace tavro {
namespace {

constexpr std::size_t kMostCalls = 24, kMostEvents = 48;
constexpr char16_t kSomebody[] = u"+447700900123";

struct Life {
  Life(SimulatedModem& simulated, std::shared_ptr<FuzzLine> fuzzLine, const Options& options)
      : modem(simulated),
        line(std::move(fuzzLine)),
        sms(line, options),
        isClassic(options.dialogue == Dialogue::kClassic) {}

  // A call that says whether it went well, and the error that it leaves.
  void Judge(bool well) { Require(well != sms.IsError()); }
  void JudgeText(const std::u16string& text) { Judge(!text.empty()); }
  // The classic manner takes numbers at their word.
  void JudgeLevel(std::int16_t level, int least, int most) {
    Require(isClassic || sms.IsError() || (level >= least && level <= most));
    Require(!sms.IsError() || level == -1);
  }
  // Some calls come back without an error and without a result.
  void JudgeFailure(bool well) { Require(!well || !sms.IsError()); }

  void Send(const std::u16string& text, bool alert = false) {
    const auto sent = sms.SendSMS(kSomebody, text, alert);
    Judge(sent.has_value());
    if (sent) references = *sent;
  }
  void Delete(std::int16_t index) {
    const auto message = sms.Inbox()->Message(index);
    if (message) Judge(message->Delete());
  }

  SimulatedModem& modem;
  std::shared_ptr<FuzzLine> line;
  SMS sms;
  const bool isClassic;
  std::u16string references;
  std::shared_ptr<Message> kept;
};

struct CallKind {
  char name;
  bool deletes;  // whether it may delete something from the modem in the prompt manner
  void (*run)(Life& life);
};

const std::u16string& LongText() {
  static const std::u16string text(400, u'x');
  return text;
}

constexpr CallKind kCalls[] = {
    {'c', false,
     [](Life& life) {
       const bool connected = life.sms.Connect();
       life.Judge(connected);
       Require(life.line->IsOpen(1) == connected);
     }},
    {'d', false, [](Life& life) { life.Judge(life.sms.Disconnect()); }},
    {'i', false, [](Life& life) { life.JudgeText(life.sms.IMEI()); }},
    {'I', false, [](Life& life) { life.JudgeText(life.sms.IMSI()); }},
    {'m', false, [](Life& life) { life.JudgeText(life.sms.Manufacturer()); }},
    {'M', false, [](Life& life) { life.JudgeText(life.sms.Model()); }},
    {'v', false, [](Life& life) { life.JudgeText(life.sms.Revision()); }},
    {'q', false, [](Life& life) { life.JudgeLevel(life.sms.SignalStrength(), 0, 100); }},
    {'Q', false, [](Life& life) { life.JudgeLevel(life.sms.SignalStrengthDB(), -113, -51); }},
    {'o', false, [](Life& life) { life.JudgeText(life.sms.Network()); }},
    {'O', false, [](Life& life) { life.JudgeText(life.sms.NetworkEx()); }},
    {'b', false, [](Life& life) { life.JudgeLevel(life.sms.BatteryLevel(), 0, 100); }},
    {'n', false, [](Life& life) { life.JudgeText(life.sms.OwnNumber()); }},
    {'C', false, [](Life& life) { life.JudgeText(life.sms.SMSC()); }},
    {'Z', false, [](Life& life) { life.sms.SetSMSC(u"+447700900000"); }},
    {'k', false, [](Life& life) { life.JudgeText(life.sms.MessageMemory()); }},
    {'K', false, [](Life& life) { life.sms.SetMessageMemory(u"ME"); }},
    {'j', false, [](Life& life) { life.sms.SetMessageMemory(u"SM"); }},
    {'u', false, [](Life& life) { life.Judge(!life.sms.MemoryUsage().empty()); }},
    {'f', false, [](Life& life) { life.sms.IsMemoryFull(); }},
    {'V', false, [](Life& life) { Require(!life.sms.Validity().empty()); }},  // what is set, and perhaps an error
    {'A', false, [](Life& life) { life.JudgeFailure(!life.sms.Command(u"AT+CCLK?\r").empty()); }},
    {'P', false, [](Life& life) { life.sms.SetPIN(u"1234"); }},
    {'s', false, [](Life& life) { life.Send(u"hello"); }},
    {'a', false, [](Life& life) { life.Send(u"alert \u20AC", true); }},
    {'l', false, [](Life& life) { life.Send(LongText()); }},
    {'h', false, [](Life& life) { life.sms.SetCharacter(16); }},
    {'8', false, [](Life& life) { life.sms.SetCharacter(8); }},
    {'R', false, [](Life& life) { life.sms.SetStatusReport(true); }},
    {'p', false,
     [](Life& life) {
       const auto push = life.sms.WapPush();
       push->SetDestination(kSomebody);
       push->SetText(u"Hi");
       push->SetURL(u"http://a");
       life.Judge(push->Send());
     }},
    {'r', false, [](Life& life) { life.Judge(life.sms.Inbox()->Refresh()); }},
    {'0', false, [](Life& life) { life.Judge(life.sms.Inbox()->Refresh(0)); }},
    {'1', false, [](Life& life) { life.Judge(life.sms.Inbox()->Refresh(1)); }},
    {'g', false, [](Life& life) { life.sms.Inbox()->SetConcatenate(true); }},
    {'G', false, [](Life& life) { life.sms.Inbox()->SetConcatenate(false); }},
    {'D', true, [](Life& life) { life.Delete(1); }},
    {'E', true, [](Life& life) { life.Delete(life.sms.Inbox()->Count()); }},
    {'x', true, [](Life& life) { life.Judge(life.sms.Inbox()->Clear()); }},
    {'N', false, [](Life& life) { life.kept = life.sms.Inbox()->Message(1); }},
    {'B', true,
     [](Life& life) {
       if (life.kept) life.kept->Delete();
     }},
    {'w', false, [](Life& life) { life.JudgeFailure(life.sms.Inbox()->Wait(0)); }},
    {'W', false, [](Life& life) { life.JudgeFailure(life.sms.Inbox()->Wait(10000)); }},
    {'y', false, [](Life& life) { life.sms.Cancel(); }},
    {'t', true, [](Life& life) { life.sms.StatusReports(); }},
    {'F', true, [](Life& life) { life.sms.ClearStatusReports(); }},
    {'T', true, [](Life& life) { life.JudgeFailure(life.sms.WaitForDelivery(life.references, 10000)); }},
    {'Y', true, [](Life& life) { life.sms.DeliveryOf(life.references); }},
    {'$', false, [](Life& life) { life.Judge(life.sms.SendUSSD(u"*101#").has_value()); }},
    {'2', false, [](Life& life) { life.Judge(life.sms.SendUSSD(u"1 \u00E4").has_value()); }},
    {'!', false, [](Life& life) { life.Judge(life.sms.CancelUSSD()); }},
    {'S', false,  // another port and back: all is forgotten
     [](Life& life) {
       for (const char16_t* port : {u"COM2", u"COM1"}) life.sms.SetPort(port);
     }},
    {'z', false, [](Life& life) { life.line->Sleep(60000); }},
};

void CheckInbox(Life& life) {
  const auto inbox = life.sms.Inbox();
  const std::int16_t count = inbox->Count();
  Require(count >= 0 && inbox->IsEmpty() == (count == 0) && inbox->HasMessages() == (count > 0));
  std::int16_t index = 0;
  for (const Message& message : *inbox) {
    Require(message.Index() == ++index);
    Require(static_cast<int>(message.MissingParts().size()) < message.Parts());
  }
  Require(index == count && !inbox->Message(static_cast<std::int16_t>(count + 1)));
  for (const auto& message : inbox->NewMessages()) Require(message != nullptr);
}

// How many deletions the modem was asked for.
std::size_t Deletions(const SimulatedModem& modem) {
  const auto& commands = modem.Commands();
  return static_cast<std::size_t>(std::count_if(commands.begin(), commands.end(), [](const auto& command) {
    return Upper(command.text).starts_with("AT+CMGD");
  }));
}

void Run(Life& life, const CallKind& call) {
  const std::int64_t start = life.line->Elapsed();
  const int writes = life.line->WriteCount();
  const std::size_t deletions = Deletions(life.modem);
  call.run(life);
  const std::int32_t code = life.sms.ErrorCode();
  Require(code >= 0 && life.sms.IsError() == (code != 0) && life.sms.ErrorDescription().empty() == (code == 0));
  // Each command is waited for at most as long as the slowest one is, and then as long as a modem that never stops.
  constexpr std::int64_t kSubmitLimit = 180000, kPauses = 70000;
  const std::int64_t timeout = life.sms.Timeout();
  const std::int64_t most = std::max(timeout, kSubmitLimit) + std::max<std::int64_t>(10 * timeout, 10000) + kPauses;
  Require(life.line->Elapsed() - start <= most * (1 + life.line->WriteCount() - writes));
  Require(life.line->WriteCount() - writes < 3000);
  Require(life.isClassic || call.deletes || Deletions(life.modem) == deletions);
  CheckInbox(life);
}

std::string_view NextLine(std::string_view& input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string_view line = input.substr(0, end);
  input.remove_prefix(std::min(end + 1, input.size()));
  return line;
}

Options MakeOptions(std::string_view letters) {
  const auto has = [&](char letter) { return letters.find(letter) != std::string_view::npos; };
  Options options;
  options.dialogue = has('c') ? Dialogue::kClassic : Dialogue::kPrompt;
  options.wideReferences = has('w');
  options.sendsPinOnLastAttempt = has('l');
  options.recovery = {.repeats = has('1'), .restarts = has('2'), .reopens = has('3')};
  return options;
}

void LiveThrough(std::string_view input) {
  const std::string_view letters = NextLine(input), calls = NextLine(input);
  SimulatedModem modem;
  const auto line = std::make_shared<FuzzLine>(modem);
  line->RecordCalls(false);
  modem.Settings().latencyMs = 5;  // no wait would end with a modem that says more in no time
  for (const char letter : letters) ApplyOption(letter, modem, *line);
  if (letters.find('i') != std::string_view::npos) line->InterruptFrom(20000);
  for (std::size_t i = 0; i < kMostEvents && !input.empty(); ++i) Apply(ScriptEvent(NextLine(input)), modem, *line);

  const Options options = MakeOptions(letters);
  std::shared_ptr<Inbox> inbox;
  std::shared_ptr<Message> kept;
  {
    Life life(modem, line, options);
    life.sms.SetLogFolderPath(u"/");
    life.sms.SetLogType(2);
    life.sms.SetPort(u"COM1");
    life.sms.SetTimeout(letters.find('9') == std::string_view::npos ? 3000 : 30000);
    for (const char letter : calls.substr(0, kMostCalls)) {
      const auto* const call =
          std::find_if(std::begin(kCalls), std::end(kCalls), [&](const CallKind& kind) { return kind.name == letter; });
      if (call != std::end(kCalls)) Run(life, *call);
    }
    inbox = life.sms.Inbox();
    kept = life.kept;
  }
  Require(!line->IsOpen(1) && !inbox->Refresh() && !(kept && kept->Delete()));
}

}  // namespace
}  // namespace tavro

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavro::LiveThrough({reinterpret_cast<const char*>(data), size});
  return 0;
}
