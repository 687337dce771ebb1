// tavro-demo: everything that the component does, once, against a simulated modem; used by scripts/demo. Prints one
// screen; what was said on the line is in Tavro.log.
//
//   tavro-demo DEVICE LOG_FOLDER
//
// DEVICE is what tavro-modem put its modem on. Exits with 1 at the first thing that fails or differs.
#include <chrono>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/utf8.h"
#include "tavro/sms.h"

namespace {

using tavro::ToUtf8;

constexpr const char16_t* kFriend = u"+447700900123";
constexpr const char16_t* kShortText = u"Hello from Tavro";
// Two parts in the GSM alphabet, with characters of its extension table, which take two septets each.
constexpr const char16_t* kLongText =
    u"A long message goes out in parts, and the phone joins them again. Prices are in € and £; the list is "
    u"[1, 2, 3], the path is C:\\in\\box, the set is {a | b}, and ~ and ^ arrive as they are. Nothing of it is lost on "
    u"the way: neither the beginning nor the end.";
constexpr const char16_t* kUcs2Text = u"Привет! नमस्ते! こんにちは 🙂";

constexpr std::int32_t kReportLimit = 10000;  // ms

tavro::Options OptionsFor(const std::string& device) {
  tavro::Options options;
  options.devices[1] = device;
  return options;
}

class Demo {
 public:
  Demo(const std::string& device, const std::string& logFolder) : sms_(OptionsFor(device)), logFolder_(logFolder) {}

  void Run() {
    Timed([&] { return Connect(); });
    Timed([&] { return AskModem(); });
    std::cout << "\nSent\n";
    SendToFriend();
    SendToSelf();
    std::cout << "\nCame back\n";
    Timed([&] { return ReadBack(); });
    Timed([&] { return DeleteAll(); });
    sms_.Disconnect();
    Check("Disconnect");
  }

 private:
  // The steps. Each returns what to show of it.

  std::string Connect() {
    sms_.SetLogFolderPath(tavro::FromUtf8(logFolder_));
    Check("LogFolderPath");
    sms_.SetLogType(2);
    sms_.SetPort(u"COM1");
    Check("Port");
    sms_.Connect();
    Check("Connect");
    std::cout << ToUtf8(sms_.About()) << "\n\n";
    return "Port opened, modem and SIM found";
  }

  std::string AskModem() {
    const std::string modem =
        Answered("Manufacturer", &tavro::SMS::Manufacturer) + " " + Answered("Model", &tavro::SMS::Model) + " " +
        Answered("Revision", &tavro::SMS::Revision) + ", " + Answered("Network", &tavro::SMS::Network);
    const int signal = sms_.SignalStrength();
    Check("SignalStrength");
    Answered("IMEI", &tavro::SMS::IMEI);
    Answered("IMSI", &tavro::SMS::IMSI);
    Answered("NetworkEx", &tavro::SMS::NetworkEx);
    Answered("SMSC", &tavro::SMS::SMSC);
    Expect(sms_.SignalStrengthDB() < 0, "a signal strength in dB");
    Expect(sms_.BatteryLevel() > 0, "a battery");
    Expect(sms_.Command(u"AT+CSQ\r").starts_with(u"+CSQ:"), "the answer to a command");
    ownNumber_ = tavro::FromUtf8(Answered("OwnNumber", &tavro::SMS::OwnNumber));
    return modem + ", signal " + std::to_string(signal) + " %";
  }

  void SendToFriend() {
    Send("a short text", kFriend, kShortText);
    SendUcs2(kFriend);
    Timed([&] {
      const auto push = sms_.WapPush();
      push->SetDestination(kFriend);
      push->SetText(u"Tavro has arrived");
      push->SetURL(u"https://www.example.com/tavro");
      Check("WAP push properties");
      push->Send();
      Check("WAP push");
      return "a text and an address, as WAP push";
    });
  }

  void SendToSelf() {
    sms_.SetStatusReport(true);
    const std::u16string references = Send("a long text", ownNumber_, kLongText);
    SendUcs2(ownNumber_);
    Timed([&] {
      Expect(sms_.WaitForDelivery(references, kReportLimit), "a report on the delivery");
      Expect(sms_.DeliveryOf(references).state == tavro::DeliveryState::kDelivered, "the long text delivered");
      return "the long text was reported as delivered";
    });
  }

  std::string ReadBack() {
    sms_.Inbox()->SetConcatenate(true);
    Refresh();
    Expect(sms_.Inbox()->Count() == 2, "two messages, the parts of the long one joined");
    Expect(Received(1, kLongText), "the long text as it was sent");
    Expect(Received(2, kUcs2Text), "the text in UCS2 as it was sent");
    for (const tavro::Message& message : *sms_.Inbox()) {
      constexpr std::size_t kShown = 44;
      const std::u16string& text = message.Text();
      std::cout << "  " << message.Index() << "  " << ToUtf8(message.Phone()) << "  " << ToUtf8(text.substr(0, kShown))
                << (text.size() > kShown ? "..." : "") << '\n';
    }
    return "character by character what was sent";
  }

  std::string DeleteAll() {
    sms_.Inbox()->Message(1)->Delete();
    Check("Delete");
    Expect(sms_.Inbox()->Count() == 1, "one message after the other is deleted");
    sms_.Inbox()->Clear();
    Check("Clear");
    Expect(sms_.Inbox()->IsEmpty(), "an empty inbox after clearing it");
    Refresh();
    Expect(sms_.Inbox()->IsEmpty(), "an empty message memory in the modem");
    return "the modem's memory is empty again";
  }

  void Refresh() {
    sms_.Inbox()->Refresh();
    Check("Refresh");
  }

  // Returns the references.
  std::u16string Send(const std::string& what, const std::u16string& number, const std::u16string& text) {
    std::optional<std::u16string> references;
    Timed([&] {
      references = sms_.SendSMS(number, text);
      Check(what);
      Expect(references.has_value(), "a message reference");
      return what + " to " + ToUtf8(number) + ", reference " + ToUtf8(*references);
    });
    return *references;
  }
  void SendUcs2(const std::u16string& number) {
    sms_.SetCharacter(16);
    Send("a text in UCS2", number, kUcs2Text);
    sms_.SetCharacter(7);
  }

  bool Received(std::int16_t index, const std::u16string& text) {
    const auto message = sms_.Inbox()->Message(index);
    return message && message->Text() == text && message->Phone() == ownNumber_;
  }

  std::string Answered(const std::string& what, std::u16string (tavro::SMS::*query)()) {
    const std::u16string value = (sms_.*query)();
    Check(what);
    Expect(!value.empty(), what);
    return ToUtf8(value);
  }

  template <typename Step>
  static void Timed(Step step) {
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const std::string shown = step();
    const std::chrono::duration<double, std::milli> took = Clock::now() - start;
    std::cout << "  " << std::left << std::setw(64) << shown << std::right << std::setw(8) << std::fixed
              << std::setprecision(1) << took.count() << " ms\n";
  }

  // Throws when the last call failed.
  void Check(const std::string& what) {
    if (sms_.ErrorCode() == 0) return;
    throw std::runtime_error(what + ": error " + std::to_string(sms_.ErrorCode()) + ": " +
                             ToUtf8(sms_.ErrorDescription()));
  }
  static void Expect(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("expected: " + what);
  }

  tavro::SMS sms_;
  const std::string logFolder_;
  std::u16string ownNumber_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: tavro-demo DEVICE LOG_FOLDER\n";
    return 2;
  }
  try {
    Demo(argv[1], argv[2]).Run();
  } catch (const std::exception& error) {
    std::cerr << "tavro-demo: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
