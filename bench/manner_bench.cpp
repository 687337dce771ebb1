// What the calls of a program cost in both manners: on a real clock through a pseudo-terminal against tavro-modem,
// which answers at once. In the classic manner the waits that it is made of are the floor; docs/timing.md tells of
// them. Exits with 1 when a limit is passed.
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "judge.h"
#include "modem_process.h"
#include "tavro/sms.h"

namespace {

constexpr const char16_t* kNumber = u"+491701234567";  // the SIM's own: what is sent comes back
constexpr int kStored = 10;

// The waits of the classic manner, in ms. A pause is held where not so much time has passed by itself.
constexpr double kGap = 500, kPace = 100, kResultStep = 500, kSendDelay = 1000;
constexpr double kExchange = kPace + kGap;
constexpr double kConnect = 13 * kExchange;
constexpr double kPart = kGap + kResultStep + kGap;  // the prompt, the look for the result, its gap
constexpr double kSend = kPace + kPart;
constexpr double kTwoParts = kPart + kSendDelay + kPart;
constexpr double kListing = kGap + kPace + kGap;  // the read ones, the unread ones

constexpr double kPromptLimit = 100;   // ms
constexpr double kClassicLimit = 1.1;  // times the waits

class Calls {
 public:
  Calls(const std::string& device, tavro::Dialogue dialogue)
      : sms_(OptionsFor(device, dialogue)), isClassic_(dialogue == tavro::Dialogue::kClassic) {
    sms_.SetPort(u"COM1");
    Check();
  }

  void Fill() {
    sms_.Connect();
    for (int i = 0; i < kStored; ++i) sms_.SendSMS(kNumber, u"Stored before");
    Check();
  }

  // Each time in ms, in the order in which they are told.
  struct Times {
    double connect, query, send, twoParts, reading, deletion;
  };
  Times Measure() {
    Times times{};
    times.connect = Milliseconds([&] { sms_.Connect(); });
    times.query = Milliseconds([&] { sms_.SignalStrength(); });
    sms_.SMSC();  // which is read once, and not part of what a message costs
    Check();
    times.send = Milliseconds([&] { sms_.SendSMS(kNumber, u"Hello!"); });
    // SendDelay counts in whole seconds of the clock; here it has passed.
    if (isClassic_) std::this_thread::sleep_for(std::chrono::seconds(2));
    times.twoParts = Milliseconds([&] { sms_.SendSMS(kNumber, std::u16string(300, u'x')); });
    times.reading = Milliseconds([&] { sms_.Inbox()->Refresh(); });
    if (sms_.Inbox()->Count() != kStored + 3) throw std::runtime_error("not all messages were read");
    times.deletion = Milliseconds([&] { sms_.Inbox()->Message(1)->Delete(); });
    return times;
  }

 private:
  static tavro::Options OptionsFor(const std::string& device, tavro::Dialogue dialogue) {
    tavro::Options options;
    options.devices[1] = device;
    options.dialogue = dialogue;
    return options;
  }

  double Milliseconds(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    const std::chrono::duration<double, std::milli> spent = std::chrono::steady_clock::now() - start;
    Check();
    return spent.count();
  }
  void Check() {
    if (sms_.ErrorCode() != 0) throw std::runtime_error("error " + std::to_string(sms_.ErrorCode()));
  }

  tavro::SMS sms_;
  const bool isClassic_;
};

// On a modem of its own, with messages in its memory.
Calls::Times Measure(const std::string& program, tavro::Dialogue dialogue) {
  const ModemProcess modem(program);
  {
    Calls filling(modem.Device(), tavro::Dialogue::kPrompt);
    filling.Fill();
  }
  return Calls(modem.Device(), dialogue).Measure();
}

}  // namespace

int main(int argc, char** argv) {
  struct Item {
    const char* name;
    double Calls::Times::*time;
    double waits;  // of the classic manner
  };
  const Item items[] = {{"Connect", &Calls::Times::connect, kConnect},
                        {"SignalStrength", &Calls::Times::query, kExchange},
                        {"SendSMS, one message", &Calls::Times::send, kSend},
                        {"SendSMS, two parts", &Calls::Times::twoParts, kTwoParts},
                        {"Refresh, 13 messages", &Calls::Times::reading, kListing},
                        {"Delete", &Calls::Times::deletion, kExchange}};
  try {
    const std::string program = argc > 1 ? argv[1] : TAVRO_MODEM_PROGRAM;
    const Calls::Times prompt = Measure(program, tavro::Dialogue::kPrompt);
    const Calls::Times classic = Measure(program, tavro::Dialogue::kClassic);
    bool within = true;
    for (const Item& item : items) {
      const std::string name = item.name;
      within &= Judge(name + ", prompt manner", prompt.*item.time, "ms", kPromptLimit);
      Tell(name + ", classic manner", classic.*item.time, "ms");
      within &= Judge(name + ", classic manner", classic.*item.time / item.waits, "times", kClassicLimit, "its waits");
    }
    return within ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "manner_bench: %s\n", error.what());
    return 1;
  }
}
