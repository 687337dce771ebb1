// Settings, push messages and arguments with whatever values: what is accepted reads back, what is refused changes
// nothing, and the log stays one line a call.
//
//   input   = manner *( setting number text )
//   manner  = setting = OCTET      number = 4OCTET      text = length *unit      length = OCTET      unit = 2OCTET
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz_line.h"
#include "outgoing/validity_period.h"
#include "tavro/sms.h"

namespace tavro {
namespace {

// What is left of the input, and zeros behind it.
class Input {
 public:
  explicit Input(std::string_view octets) : octets_(octets) {}

  bool IsOver() const { return octets_.empty(); }
  template <typename T>
  T Number() {
    T value{};
    const std::size_t size = std::min(sizeof value, octets_.size());
    if (size > 0) std::memcpy(&value, octets_.data(), size);
    octets_.remove_prefix(size);
    return value;
  }
  std::u16string Text() {
    std::u16string text(Number<std::uint8_t>(), u' ');
    for (char16_t& unit : text) unit = Number<char16_t>();
    return text;
  }

 private:
  std::string_view octets_;
};

struct Value {
  std::int32_t number = 0;
  std::u16string text;

  std::int16_t Short() const { return static_cast<std::int16_t>(number); }
  bool Flag() const { return (number & 1) != 0; }
};

class Settings {
 public:
  Settings(std::shared_ptr<Platform> platform, Dialogue dialogue)
      : sms_(std::move(platform), Options{.dialogue = dialogue}), wap_(sms_.WapPush()) {
    sms_.SetLogFolderPath(u"/");
    sms_.SetLogType(2);
    sms_.SetPort(u"COM1");
    sms_.SetTimeout(1000);
  }

  void Set(std::uint8_t setting, const Value& value);
  std::shared_ptr<Wap> Push() const { return wap_; }

 private:
  // Whether the last call went well.
  bool Succeeded() {
    const std::int32_t code = sms_.ErrorCode();
    Require(code >= 0 && sms_.IsError() == (code != 0) && sms_.ErrorDescription().empty() == (code == 0));
    return code == 0;
  }
  // A call that says whether it went well.
  void Judge(bool well) { Require(well == Succeeded()); }

  // What is accepted reads back as something that is accepted and reads back itself; what is refused changes nothing.
  template <typename Object, typename Get, typename Set, typename NewValue>
  void Try(Object& object, Get get, Set set, const NewValue& value) {
    const auto before = (object.*get)();
    Require(Succeeded());
    (object.*set)(value);
    const bool accepted = Succeeded();
    const auto after = (object.*get)();
    Require(Succeeded());
    if (!accepted) return Require(after == before);
    (object.*set)(after);
    Require(Succeeded() && (object.*get)() == after);
  }
  void TryAction(std::int16_t action);
  static void TryValidity(std::u16string_view text);

  SMS sms_;
  std::shared_ptr<Wap> wap_;
};

// The one that a refused value sets too.
void Settings::TryAction(std::int16_t action) {
  wap_->SetAction(action);
  const bool accepted = Succeeded();
  Require(accepted == (action >= 1 && action <= 3) && wap_->Action() == (accepted ? action : 2));
}

void Settings::TryValidity(std::u16string_view text) {
  const auto octet = EncodeValidityPeriod(std::string(text.begin(), text.end()));
  if (!octet) return;
  Require(*octet >= 0 && *octet <= 255);
  Require(EncodeValidityPeriod(DecodeValidityPeriod(*octet)) == octet);
}

void Settings::Set(std::uint8_t setting, const Value& value) {
  const std::u16string& text = value.text;
  const std::int32_t number = value.number;
  switch (setting % 40) {
    case 0:
      return Try(sms_, &SMS::Port, &SMS::SetPort, text);
    case 1:
      return Try(sms_, &SMS::BaudRate, &SMS::SetBaudRate, number);
    case 2:
      return Try(sms_, &SMS::Parity, &SMS::SetParity, text);
    case 3:
      return Try(sms_, &SMS::DataBits, &SMS::SetDataBits, value.Short());
    case 4:
      return Try(sms_, &SMS::StopBits, &SMS::SetStopBits, text);
    case 5:
      Try(sms_, &SMS::Timeout, &SMS::SetTimeout, number);
      return sms_.SetTimeout(1000);  // so that what follows does not take long
    case 6:
      return sms_.SetPIN(text);
    case 7:
      return Try(sms_, &SMS::DisableCheckPIN, &SMS::SetDisableCheckPIN, value.Flag());
    case 8:
      return Try(sms_, &SMS::DelayAfterPin, &SMS::SetDelayAfterPin, number);
    case 9:
      sms_.SetValidity(text);
      return TryValidity(text);
    case 10:
      return Try(sms_, &SMS::LongMessage, &SMS::SetLongMessage, value.Short());
    case 11:
      return Try(sms_, &SMS::SendDelay, &SMS::SetSendDelay, number);
    case 12:
      return Try(sms_, &SMS::SendRetry, &SMS::SetSendRetry, value.Short());
    case 13:
      return Try(sms_, &SMS::Character, &SMS::SetCharacter, value.Short());
    case 14:
      return Try(sms_, &SMS::StatusReport, &SMS::SetStatusReport, value.Flag());
    case 15:
      return Try(sms_, &SMS::DebugMode, &SMS::SetDebugMode, value.Flag());
    case 16:
      return Try(sms_, &SMS::LogType, &SMS::SetLogType, value.Short());
    case 17:
      return Try(sms_, &SMS::LogFolderPath, &SMS::SetLogFolderPath, text);
    case 18:
      return Try(sms_, &SMS::ModemInitString, &SMS::SetModemInitString, text);
    case 19:
      return Try(sms_, &SMS::ModemCommandDelay, &SMS::SetModemCommandDelay, number);
    case 20:
      return Try(*sms_.Inbox(), &Inbox::Concatenate, &Inbox::SetConcatenate, value.Flag());
    case 21:
      return Try(*wap_, &Wap::Destination, &Wap::SetDestination, text);
    case 22:
      Try(*wap_, &Wap::Text, &Wap::SetText, text);
      return Require(text.empty() || wap_->Text() == text);
    case 23:
      Try(*wap_, &Wap::URL, &Wap::SetURL, text);
      return Require(text.empty() || wap_->URL() == text);
    case 24:
      return TryAction(value.Short());
    case 25:
      return Try(*wap_, &Wap::Expiry, &Wap::SetExpiry, text);
    case 26: {
      std::optional<double> date;
      if (!text.empty()) date = std::ldexp(number, static_cast<int>(text.size()) - 16);
      const auto before = wap_->Created();
      wap_->SetCreated(date);
      const bool accepted = Succeeded();
      return Require(wap_->Created() == (accepted ? date : before));
    }
    case 27:
      wap_->IsLengthOK();
      return;
    case 28:
      return Judge(wap_->Send());
    case 29:
      return Judge(sms_.SendSMS(u"+447700900123", text, value.Flag()).has_value());
    case 30:
      return Judge(sms_.SendSMS(text, u"hello").has_value());
    case 31:
      return Judge(sms_.SendUSSD(text).has_value());
    case 32:
      return sms_.SetSMSC(text);
    case 33:
      return sms_.SetMessageMemory(text);
    case 34:
      sms_.Command(text);
      return;
    case 35:
      sms_.DeliveryOf(text);
      return;
    case 36:
      sms_.WaitForDelivery(text, number % 1000);
      return;
    case 37:
      sms_.Inbox()->Refresh(value.Short());
      return;
    case 38:
      sms_.IsError(true, text);
      return;
    default:
      sms_.Disconnect();
  }
}

void SetAll(Input input) {
  SimulatedModem modem;
  const auto line = std::make_shared<FuzzLine>(modem);
  line->RecordCalls(false);
  std::shared_ptr<Wap> push;
  {
    Settings settings(line, input.Number<std::uint8_t>() % 2 == 0 ? Dialogue::kClassic : Dialogue::kPrompt);
    while (!input.IsOver()) {
      const auto setting = input.Number<std::uint8_t>();
      const auto number = input.Number<std::int32_t>();
      settings.Set(setting, {number, input.Text()});
    }
    push = settings.Push();
  }
  // It outlives the SMS object, as long as it sends nothing.
  push->SetText(u"x");
  Require(push->Text() == u"x" && !push->Send());
}

}  // namespace
}  // namespace tavro

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavro::SetAll(tavro::Input({reinterpret_cast<const char*>(data), size}));
  return 0;
}
