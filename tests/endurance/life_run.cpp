#include "life_run.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "platform/utf8.h"

namespace tavro::lives {

namespace {

constexpr char16_t kOwnNumber[] = u"+491701234567", kForeignNumber[] = u"+919812345678";

ModemSettings SettingsOf(const Life& life) {
  ModemSettings settings;
  settings.latencyMs = life[Trait::kLatency];
  settings.sendMs = life[Trait::kSendLatency];
  settings.pieceSize = static_cast<std::size_t>(life[Trait::kPieceSize]);
  settings.pieceGapMs = life[Trait::kPieceGap];
  settings.echoStuck = life[Trait::kEchoStuck] != 0;
  settings.blankBehindColon = life[Trait::kNoBlank] == 0;
  settings.pduFilledTo = life[Trait::kPduFilledTo];
  if (life[Trait::kListing] == 1) settings.listing = "{location},{stat},,{length},{pdu}";
  settings.listsEverything = life[Trait::kListsEverything] != 0;
  if (life[Trait::kSimCapacity] > 0) settings.simCapacity = life[Trait::kSimCapacity];
  if (life[Trait::kPhoneCapacity] > 0) settings.phoneCapacity = life[Trait::kPhoneCapacity];
  settings.firstReference = life[Trait::kReference];
  settings.reportDelayMs = life[Trait::kReportDelay];
  settings.reportsForeign = life[Trait::kHomeReportsOnly] == 0;
  settings.simBusyCommands = life[Trait::kSimBusy];
  settings.registration.insert(settings.registration.begin(), static_cast<std::size_t>(life[Trait::kRegistration]), 2);
  if (life[Trait::kPin] != 0) settings.pin = "1234";
  constexpr const char* kForms[] = {"text", "packed", "ucs2"};
  settings.ussdForm = kForms[life[Trait::kUssdForm]];
  settings.deafCommands = life[Trait::kDeaf];
  return settings;
}

Options OptionsOf(const Life& life) {
  Options options{.dialogue = life.dialogue, .wideReferences = life[Trait::kWideReferences] != 0};
  const int recovery = life[Trait::kRecovery];
  options.recovery = {(recovery & 1) != 0, (recovery & 2) != 0, (recovery & 4) != 0};
  return options;
}

void LimitIndications(SimulatedModem& modem, int how) {
  constexpr const char* kAnswers[] = {"", "+CNMI: (0,3),(0,1),(0),(0,1),(1)", "+CNMI: (0,2),(0,2),(0),(0,1),(0)"};
  if (how == 1 || how == 2) modem.Answer("AT+CNMI=?", ModemReply::Ok(kAnswers[how]));
  if (how == 3) modem.Answer("AT+CNMI*", ModemReply::Line("ERROR"));
  if (how == 4) modem.Answer("AT+CNMI=?", ModemReply::Line("ERROR"));
}

}  // namespace

LifeRun::LifeRun(const Life& life, bool traces)
    : life_(life),
      modem_(SettingsOf(life)),
      line_(std::make_shared<FaultyLine>(modem_)),
      sms_(line_, OptionsOf(life)),
      traces_(traces),
      timeout_(life[Trait::kTimeout] > 0 ? life[Trait::kTimeout] : 5000) {
  if (traces) line_->StartTrace();
}

Outcome LifeRun::Run() {
  try {
    Prepare();
    for (const Step& step : life_.steps) {
      for (const Fault& fault : step.faults) line_->Arm(fault);
      Perform(step);
    }
    Finish();
  } catch (const Violation& violation) {
    outcome_.violation = violation;
  } catch (const std::exception& exception) {
    outcome_.violation = {"exception", exception.what()};
  }
  outcome_.trace = line_->Trace();
  return outcome_;
}

void LifeRun::Prepare() {
  LimitIndications(modem_, life_[Trait::kIndications]);
  sms_.SetPort(u"COM1");
  sms_.SetTimeout(timeout_);
  if (life_[Trait::kPin] != 0) sms_.SetPIN(life_[Trait::kPin] == 2 ? u"9999" : u"1234");
  if (traces_) sms_.SetLogType(2);
  sms_.WapPush()->SetDestination(kForeignNumber);
  sms_.WapPush()->SetURL(u"http://a/");
}

void LifeRun::Perform(const Step& step) {
  using Kind = Step::Kind;
  const std::string number = std::to_string(step.id);
  switch (step.kind) {
    case Kind::kConnect:
      return Connect();
    case Kind::kDisconnect:
      Make("Disconnect", 0, {}, [&] { return sms_.Disconnect(); });
      return;
    case Kind::kQuery:
      return Query(step.a);
    case Kind::kSend:
      return Send("s" + number, (step.a & 1) != 0, (step.a & 2) != 0, (step.a & 4) != 0, (step.a & 8) != 0);
    case Kind::kPush:
      return Push("p" + number);
    case Kind::kWantReports:
      return sms_.SetStatusReport(step.a != 0);
    case Kind::kRefresh:
      Refresh(step.a);
      return;
    case Kind::kConcatenate:
      concatenates_ = step.a != 0;
      return sms_.Inbox()->SetConcatenate(concatenates_);
    case Kind::kDelete:
      Delete(step.a);
      return;
    case Kind::kClear:
      Clear();
      return;
    case Kind::kWait:
      Wait(step.a);
      return;
    case Kind::kWaitForDelivery:
      return WaitForDelivery(step.a);
    case Kind::kReports:
      return Reports();
    case Kind::kDeliveryOf:
      return DeliveryOf();
    case Kind::kUssd:
      return Ussd(step.a);
    case Kind::kCancelUssd:
      Make("CancelUSSD", 0, {}, [&] { return sms_.CancelUSSD(); });
      return;
    case Kind::kUsage:
      return Usage();
    case Kind::kMemory:
      return Memory(step.a);
    case Kind::kTimeout:
      timeout_ = step.a;
      return sms_.SetTimeout(timeout_);
    case Kind::kRetry:
      return sms_.SetSendRetry(static_cast<std::int16_t>(step.a));
    case Kind::kPause:
      return line_->Sleep(static_cast<std::uint32_t>(step.a));
    case Kind::kArrival:
      return Arrive(step);
    case Kind::kDraft: {
      constexpr char kDraft[] = "0011000C919189214365870000A702E834";  // "hi" to +919812345678
      modem_.Store(kDraft, 2, 0, step.a != 0 ? "ME" : "SM");
      return;
    }
  }
}

template <class Function>
LifeRun::Call LifeRun::Make(std::string name, std::int64_t limit, std::vector<std::string> deletable,
                            Function succeeds) {
  Call call;
  call.name = std::move(name);
  call.limit = limit;
  call.stored = modem_.Stored(memory_);
  call.deletable = std::move(deletable);
  call.startMs = line_->Elapsed();
  const int attempts = modem_.Settings().pinAttempts = 3;
  line_->BeginCall();
  call.succeeded = succeeds();
  call.code = sms_.ErrorCode();
  call.traffic = line_->EndCall();
  lied_ = call.traffic.hasLied;
  isDisturbed_ = call.traffic.isDisturbed;
  call.error = ToUtf8(sms_.ErrorDescription());
  call.ms = line_->Elapsed() - call.startMs;
  ++outcome_.calls;
  line_->NoteCall(call.name + " = " + (call.succeeded ? "yes" : "no") + " " + std::to_string(call.code) + " " +
                  call.error);
  CheckTime(call);
  constexpr std::int32_t kInvalidPin = 2013;
  CheckPin(attempts - modem_.Settings().pinAttempts, call.code == kInvalidPin);
  return call;
}

void LifeRun::Connect() {
  const Call call = Make("Connect", 0, {}, [&] { return sms_.Connect(); });
  CheckDeeds(call);
  Demand(call.succeeded || !line_->IsOpen(1), "open-after-failure", "the port is open");
}

void LifeRun::Query(int number) {
  std::u16string got, expected;
  std::int16_t value = 0, right = 0;
  const Call call = Make("Query " + std::to_string(number), 0, {}, [&] {
    switch (number) {
      case 0:
        return expected = u"490154203237518", got = sms_.IMEI(), !got.empty();
      case 1:
        return expected = u"262019876543210", got = sms_.IMSI(), !got.empty();
      case 2:
        return expected = u"Tavro Modem", got = sms_.Model(), !got.empty();
      case 3:
        return expected = u"+491710760000", got = sms_.SMSC(), !got.empty();
      case 4:
        return expected = u"TAVRONET", got = sms_.Network(), !got.empty();
      case 5:
        return expected = kOwnNumber, got = sms_.OwnNumber(), !got.empty();
      case 6:
        return right = -67, value = sms_.SignalStrengthDB(), value != -1;
      case 7:
        return right = 80, value = sms_.BatteryLevel(), value != -1;
      case 8:
        return expected = u"Simulated", got = sms_.Manufacturer(), !got.empty();
      default:
        return expected = u"1.0", got = sms_.Revision(), !got.empty();
    }
  });
  CheckDeeds(call);
  Demand(!call.succeeded || (got == expected && value == right), "false-answer",
         ToUtf8(got) + " " + std::to_string(value) + " for " + ToUtf8(expected), Lie::kNow);
}

void LifeRun::Send(const std::string& name, bool isLong, bool isUcs2, bool isOwn, bool alert) {
  const std::string text = MakeText('s', std::stoi(name.substr(1)), isLong, isUcs2);
  texts_[name] = text;
  sent_[name] = {text};
  sms_.SetCharacter(isUcs2 ? 16 : 7);
  std::string references;
  const Call call = Make("SendSMS " + name, 0, {}, [&] {
    const auto result = sms_.SendSMS(isOwn ? kOwnNumber : kForeignNumber, FromUtf8(text), alert);
    if (result) references = ToUtf8(*result);
    return result.has_value();
  });
  if (!references.empty()) references_ = references;
  CheckDeeds(call);
  CheckSent(call, name, references);
}

void LifeRun::Push(const std::string& name) {
  sent_[name] = {MakeText('p', std::stoi(name.substr(1)), false, false)};
  sms_.WapPush()->SetText(FromUtf8(sent_[name].text));
  const Call call = Make("Push " + name, 0, {}, [&] { return sms_.WapPush()->Send(); });
  CheckDeeds(call);
  CheckSent(call, name, {});
}

bool LifeRun::Refresh(int type) {
  const Call call = Make("Refresh", 0, {}, [&] { return sms_.Inbox()->Refresh(static_cast<std::int16_t>(type)); });
  CheckDeeds(call);
  if (call.succeeded) CheckListing(call, type);
  announced_ = call.succeeded ? Shown() : std::vector<std::string>();  // then all is read anew
  return call.succeeded;
}

bool LifeRun::Delete(int number) {
  const std::int16_t count = sms_.Inbox()->Count();
  if (count == 0) return false;
  const auto message = sms_.Inbox()->Message(static_cast<std::int16_t>(number % count + 1));
  const std::vector<std::string> texts{ToUtf8(message->Text())};
  const Call call = Make("Delete " + texts[0], 0, texts, [&] { return message->Delete(); });
  CheckDeeds(call);
  if (call.succeeded) CheckGone(call, texts);
  if (call.succeeded) NoteDeleted(texts);
  if (!call.succeeded) mayBeGone_.push_back(texts[0]);
  return call.succeeded;
}

bool LifeRun::Clear() {
  const std::vector<std::string> texts = Shown();
  const Call call = Make("Clear", 0, texts, [&] { return sms_.Inbox()->Clear(); });
  CheckDeeds(call);
  if (call.succeeded) CheckGone(call, texts);
  NoteDeleted(texts);  // some of them perhaps
  if (!call.succeeded) mayBeGone_.insert(mayBeGone_.end(), texts.begin(), texts.end());
  return call.succeeded;
}

bool LifeRun::Wait(int ms) {
  const Call call = Make("Wait " + std::to_string(ms), ms, {}, [&] { return sms_.Inbox()->Wait(ms); });
  CheckDeeds(call);
  const std::vector<std::string> shown = Shown();
  // Also what came during another call.
  const auto isNew = [&](const std::string& text) {
    return std::count(shown.begin(), shown.end(), text) > std::count(announced_.begin(), announced_.end(), text);
  };
  Demand(!call.succeeded || !comeTwice_.empty() || std::any_of(shown.begin(), shown.end(), isNew), "false-wait",
         "no message came",
         Lie::kEver);  // one that was garbled is new when it is read well
  if (call.succeeded) announced_ = shown;
  Demand(call.succeeded || call.code != 0 || call.ms >= ms, "short-wait", std::to_string(call.ms));
  return call.succeeded;
}

void LifeRun::WaitForDelivery(int ms) {
  const Call call =
      Make("WaitForDelivery " + references_, ms, {}, [&] { return sms_.WaitForDelivery(FromUtf8(references_), ms); });
  std::string rest = references_ + ",";
  for (; !rest.empty(); rest.erase(0, rest.find(',') + 1)) seenReports_.insert(std::stoi(rest));
  CheckDeeds(call);
  Demand(call.succeeded || call.code != 0 || call.ms >= ms, "short-wait", std::to_string(call.ms));
}

void LifeRun::Reports() {
  const Call call = Make("StatusReports", 0, {}, [&] {
    for (const StatusReport& report : sms_.StatusReports()) seenReports_.insert(report.reference);
    return true;
  });
  CheckDeeds(call);
}

void LifeRun::DeliveryOf() {
  const Call call = Make("DeliveryOf " + references_, 0, {}, [&] {
    for (const auto& part : sms_.DeliveryOf(FromUtf8(references_)).parts) {
      if (part.report) seenReports_.insert(part.reference);
    }
    return true;
  });
  CheckDeeds(call);
}

void LifeRun::Ussd(int number) {
  constexpr const char16_t* kCodes[] = {u"*100#", u"*101#", u"1"};
  std::string text;
  const Call call = Make("SendUSSD", 0, {}, [&] {
    const auto reply = sms_.SendUSSD(kCodes[number]);
    if (reply) text = ToUtf8(reply->text);
    return reply.has_value();
  });
  CheckDeeds(call);
  // Also what the network sends unasked. One that is cut off is a text: some modems do not close their quotes.
  bool isKnown = false;
  for (const std::string_view known :
       {"Balance: 12.34 EUR", "1 Tariff\n2 Data left", "Your tariff: Tavro S", "hello"}) {
    isKnown = isKnown || known == text;
  }
  Demand(!call.succeeded || isKnown || line_->HasCut(), "false-answer", "USSD " + text, Lie::kNow);
}

void LifeRun::Usage() {
  std::vector<tavro::MemoryUsage> usage;
  const Call call = Make("MemoryUsage", 0, {}, [&] { return usage = sms_.MemoryUsage(), !usage.empty(); });
  CheckDeeds(call);
  for (const auto& each : usage) {
    const int total = each.name == u"SM"   ? modem_.Settings().simCapacity
                      : each.name == u"ME" ? modem_.Settings().phoneCapacity
                                           : modem_.Settings().simCapacity + modem_.Settings().phoneCapacity;
    Demand(each.total == total, "false-answer", "memory " + ToUtf8(each.name) + " " + std::to_string(each.total),
           Lie::kNow);
  }
}

void LifeRun::Memory(int which) {
  const std::u16string name = which == 0 ? u"SM" : u"ME";
  std::string asked;
  const Call call = Make(which == 2 ? "MessageMemory" : "SetMessageMemory " + ToUtf8(name), 0, {}, [&] {
    if (which == 2) {
      asked = ToUtf8(sms_.MessageMemory());
    } else {
      sms_.SetMessageMemory(name);
    }
    return sms_.ErrorCode() == 0;
  });
  CheckDeeds(call);
  if (!call.succeeded) {
    memoryDoubt_ = memoryDoubt_ || which != 2;
    return;
  }
  memoryDoubt_ = memoryDoubt_ && which == 2;
  Demand(which != 2 || asked == memory_, "false-answer", "memory " + asked, Lie::kNow);
  if (which != 2) memory_ = ToUtf8(name);
  if (asked == "SM" || asked == "ME") memory_ = asked;  // the component goes by it
  announced_.clear();
}

void LifeRun::Arrive(const Step& step) {
  const std::string name = "r" + std::to_string(step.id);
  const std::string text = texts_[name] = MakeText('r', step.id, (step.b & 1) != 0, (step.b & 2) != 0);
  const int times = (step.b & 4) != 0 ? 2 : 1;
  if (times > 1) comeTwice_.insert(text);
  line_->At(line_->Elapsed() + step.a, [this, text, times] {
    for (int i = 0; i < times; ++i) modem_.IncomingText("+447700900123", text, line_->Elapsed());
  });
}

// On a line and a modem that are well again everything works, with one failure at most: the port may still be open to
// a modem that has forgotten all that it was told.
void LifeRun::Finish() {
  line_->Heal();
  modem_.ForgetAnswers();
  LimitIndications(modem_, life_[Trait::kIndications]);
  modem_.Settings().registration = {1};
  if (life_[Trait::kPin] != 0) sms_.SetPIN(u"1234");  // a refused one is not sent again
  pinIsRefused_ = false;
  sms_.SetTimeout(timeout_ = 10000);
  sms_.SetSendRetry(0);
  line_->Sleep(1000000);  // the network gives what it has, and the modem what it owes
  // Of a command that was changed into another one, which the modem took, nothing tells.
  if (line_->HasLied()) sms_.Disconnect();
  int failures = 0;
  const auto works = [&](const char* what, auto call) {
    while (!call()) {
      Demand(++failures < 2, std::string("final-") + what, ToUtf8(sms_.ErrorDescription()));
      if (failures > 1) return;
    }
  };
  isHealed_ = true;
  works("connect", [&] { return Connect(), line_->IsOpen(1); });
  sms_.Inbox()->SetConcatenate(concatenates_ = false);
  works("refresh", [&] { return Refresh(2); });
  works("wait", [&] { return Wait(0) || sms_.ErrorCode() == 0; });
  works("refresh", [&] { return Refresh(2); });
  CheckKept();
  works("clear", [&] { return Shown().empty() || Clear(); });
  const bool hasRoom = static_cast<int>(modem_.Stored(memory_).size()) <
                       (memory_ == "SM" ? modem_.Settings().simCapacity : modem_.Settings().phoneCapacity);
  const std::string name = "s1000000";
  works("send", [&] {
    if (failures > 0) sent_.erase(name);
    Send(name, false, false, true, false);
    return !sent_[name].references.empty() && sms_.ErrorCode() == 0;
  });
  if (!hasRoom) return;
  const auto hasCome = [&] {
    const auto shown = Shown();
    return std::find(shown.begin(), shown.end(), texts_[name]) != shown.end();
  };
  works("arrival", [&] {
    // A modem that has stopped telling is found out once a minute.
    while (!hasCome() && Wait(70000)) {
    }
    return hasCome();
  });
}

}  // namespace tavro::lives
