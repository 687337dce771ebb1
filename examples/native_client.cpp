// Sends a message and reads the inbox, with the C++ library.   native_client /dev/ttyUSB0 +491701234567 "Hello"
//
//   find_package(Tavro REQUIRED)
//   target_link_libraries(native_client PRIVATE Tavro::tavro)
#include <climits>
#include <clocale>
#include <cstdio>
#include <cuchar>
#include <string>

#include "tavro/sms.h"

namespace {

// Text of the component is UTF-16; here it comes from the terminal and goes there, in the locale's own coding.
std::u16string FromTerminal(const std::string& text) {
  std::u16string result;
  std::mbstate_t state{};
  const char* next = text.data();
  const char* const end = next + text.size();
  while (next < end) {
    char16_t unit = 0;
    const std::size_t length = std::mbrtoc16(&unit, next, static_cast<std::size_t>(end - next), &state);
    if (length == static_cast<std::size_t>(-1) || length == static_cast<std::size_t>(-2)) break;  // not of that coding
    if (length != static_cast<std::size_t>(-3)) next += length;  // -3: the second half of a surrogate pair
    result += unit;
  }
  return result;
}

std::string ToTerminal(const std::u16string& text) {
  std::string result;
  std::mbstate_t state{};
  char buffer[MB_LEN_MAX];
  for (const char16_t unit : text) {
    const std::size_t length = std::c16rtomb(buffer, unit, &state);
    if (length == static_cast<std::size_t>(-1)) {
      result += '?';
      state = {};
    } else {
      result.append(buffer, length);
    }
  }
  return result;
}

// Errors are values: after each call, ask.
bool Failed(tavro::SMS& sms, const char* action) {
  if (!sms.IsError()) return false;
  std::fprintf(stderr, "%s failed: %d %s\n", action, sms.ErrorCode(), ToTerminal(sms.ErrorDescription()).c_str());
  return true;
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 4) {
    std::fputs("usage: native_client DEVICE NUMBER TEXT\n", stderr);
    return 2;
  }
  std::setlocale(LC_CTYPE, "");
  tavro::Options options;
  options.devices[1] = arguments[1];  // what COM1 is on this machine
  tavro::SMS sms(options);
  sms.SetPort(u"COM1");
  sms.Connect();
  if (Failed(sms, "Connect")) return 1;

  // The message references of the parts that were sent, "12" or "12,13"; nothing on failure.
  const auto references = sms.SendSMS(FromTerminal(arguments[2]), FromTerminal(arguments[3]));
  if (Failed(sms, "SendSMS")) return 1;
  std::printf("Sent, message reference %s\n", ToTerminal(*references).c_str());

  const auto inbox = sms.Inbox();
  inbox->SetConcatenate(true);  // the parts of a long message as one
  inbox->Refresh();
  if (Failed(sms, "Refresh")) return 1;
  for (const tavro::Message& message : *inbox) {
    std::printf("%d: %s, %s: %s\n", message.Index(), ToTerminal(message.Phone()).c_str(),
                ToTerminal(message.TimeStampRFC()).c_str(), ToTerminal(message.Text()).c_str());
  }
  sms.Disconnect();
  return 0;
}
