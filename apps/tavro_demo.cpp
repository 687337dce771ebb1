// tavro-demo: everything that the component does, once, against a simulated modem; used by scripts/demo.
//
//   tavro-demo DEVICE LOG_FOLDER
//
// DEVICE is what tavro-modem put its modem on. Exits with 1 at the first thing that fails or differs.
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/platform.h"
#include "tavro/sms.h"

namespace {

constexpr const char16_t* kFriend = u"+447700900123";
constexpr const char16_t* kShortText = u"Hello from Tavro";
// Two parts in the GSM alphabet, with characters of its extension table, which take two septets each.
constexpr const char16_t* kLongText =
    u"A long message goes out in parts, and the phone joins them again. Prices are in € and £; the list is "
    u"[1, 2, 3], the path is C:\\in\\box, the set is {a | b}, and ~ and ^ arrive as they are. Nothing of it is lost on "
    u"the way: neither the beginning nor the end.";
constexpr const char16_t* kUcs2Text = u"Привет! नमस्ते! こんにちは 🙂";

class Demo {
 public:
  Demo(const std::string& device, const std::string& logFolder)
      : platform_(tavro::CreateSystemPlatform({{1, device}})), sms_(platform_), logFolder_(logFolder) {}

  void Run() {
    Connect();
    ShowModem();
    SendToFriend();
    SendToSelf();
    ReadBack();
    DeleteAll();
    sms_.Disconnect();
    Check("Disconnect");
    std::cout << "\nDisconnected.\n";
    ShowLog();
  }

 private:
  void Connect() {
    sms_.SetLogFolderPath(platform_->FromCodePage(logFolder_));
    sms_.SetLogType(2);
    sms_.SetPort(u"COM1");
    Check("Port");
    sms_.Connect();
    Check("Connect");
    std::cout << Utf8(sms_.About()) << "\n\nConnected.\n";
  }

  void ShowModem() {
    Show("Manufacturer", sms_.Manufacturer());
    Show("Model", sms_.Model());
    Show("IMEI", sms_.IMEI());
    Show("IMSI", sms_.IMSI());
    Show("Revision", sms_.Revision());
    Show("Signal, percent", sms_.SignalStrength());
    Show("Signal, dB", sms_.SignalStrengthDB());
    Show("Operator", sms_.Network());
    Show("Operators", sms_.NetworkEx());
    Show("Battery, percent", sms_.BatteryLevel());
    ownNumber_ = sms_.OwnNumber();
    Show("Own number", ownNumber_);
    Show("Service centre", sms_.SMSC());
    Show("Answer to AT+CSQ", sms_.Command(u"AT+CSQ\r"));
  }

  void SendToFriend() {
    std::cout << "\nSending to " << Utf8(kFriend) << '\n';
    Send("Short message", kFriend, kShortText);
    Send("Long message", kFriend, kLongText);
    sms_.SetCharacter(16);
    Send("UCS2 message", kFriend, kUcs2Text);
    sms_.SetCharacter(7);

    const auto push = sms_.WapPush();
    push->SetDestination(kFriend);
    push->SetText(u"Tavro has arrived");
    push->SetURL(u"https://www.example.com/tavro");
    Check("Wap push properties");
    push->Send();
    Check("Wap push");
    std::cout << "WAP push: sent\n";
  }

  void SendToSelf() {
    std::cout << "\nSending to the own number\n";
    Send("Long message", ownNumber_, kLongText);
    sms_.SetCharacter(16);
    Send("UCS2 message", ownNumber_, kUcs2Text);
    sms_.SetCharacter(7);
  }

  void ReadBack() {
    sms_.Inbox()->SetConcatenate(true);
    Refresh();
    std::cout << "\nInbox: " << sms_.Inbox()->Count() << " messages\n";
    for (const tavro::Message& message : *sms_.Inbox()) {
      std::cout << message.Index() << "  " << Utf8(message.Phone()) << "  " << Utf8(message.TimeStampRFC()) << "\n   "
                << Utf8(message.Text()) << '\n';
    }
    Expect(sms_.Inbox()->Count() == 2, "two messages came back, the parts of the long one joined");
    Expect(Received(1, kLongText), "the long message is the one that was sent");
    Expect(Received(2, kUcs2Text), "the UCS2 message is the one that was sent");
  }

  void DeleteAll() {
    sms_.Inbox()->Message(1)->Delete();
    Check("Delete");
    Expect(sms_.Inbox()->Count() == 1, "one message is left after deleting the other");
    sms_.Inbox()->Clear();
    Check("Clear");
    Expect(sms_.Inbox()->IsEmpty(), "the inbox is empty after clearing it");
    Refresh();
    Expect(sms_.Inbox()->IsEmpty(), "the modem's memory is empty too");
  }

  void ShowLog() {
    std::cout << "\nTavro.log\n";
    std::ifstream log(logFolder_ + "/Tavro.log", std::ios::binary);
    if (!(std::cout << log.rdbuf())) throw std::runtime_error("there is no log");
  }

  void Refresh() {
    sms_.Inbox()->Refresh();
    Check("Refresh");
  }

  void Send(const char* what, const std::u16string& number, const std::u16string& text) {
    const auto references = sms_.SendSMS(number, text);
    Check(what);
    std::cout << what << ": reference " << Utf8(references.value()) << '\n';
  }

  bool Received(std::int16_t index, const std::u16string& text) {
    const auto message = sms_.Inbox()->Message(index);
    return message && message->Text() == text && message->Phone() == ownNumber_;
  }

  void Show(const char* label, const std::u16string& value) {
    Check(label);
    std::cout << label << ": " << Utf8(value) << '\n';
  }
  void Show(const char* label, int value) {
    Check(label);
    std::cout << label << ": " << value << '\n';
  }

  // Throws when the last call failed.
  void Check(const std::string& what) {
    if (sms_.ErrorCode() == 0) return;
    throw std::runtime_error(what + ": error " + std::to_string(sms_.ErrorCode()) + ": " +
                             Utf8(sms_.ErrorDescription()));
  }
  static void Expect(bool holds, const std::string& what) {
    if (!holds) throw std::runtime_error("expected: " + what);
    std::cout << "As expected, " << what << ".\n";
  }
  std::string Utf8(const std::u16string& text) { return platform_->ToCodePage(text); }

  std::shared_ptr<tavro::Platform> platform_;
  tavro::SMS sms_;
  std::string logFolder_;
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
  std::cout << "\nEverything sent came back as it was.\n";
  return 0;
}
