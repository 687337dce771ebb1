// What a command to a simulated modem comes to, and the error numbers.
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tavro {

// What a command comes to: an information text and how it ended.
struct CommandResult {
  enum class Kind {
    kOk,
    kError,
    kEquipmentError,  // +CME ERROR
    kMessageError,    // +CMS ERROR
    kNoCarrier,
    kPrompt,  // a PDU follows
  };

  Kind kind = Kind::kOk;
  int code = 0;      // of an error
  std::string info;  // lines, CR LF between them; empty: none
};

inline CommandResult Info(std::string text) { return {CommandResult::Kind::kOk, 0, std::move(text)}; }
inline CommandResult Error() { return {CommandResult::Kind::kError, 0, {}}; }
inline CommandResult EquipmentError(int code) { return {CommandResult::Kind::kEquipmentError, code, {}}; }
inline CommandResult MessageError(int code) { return {CommandResult::Kind::kMessageError, code, {}}; }

// Error numbers of 3GPP TS 27.007, 9.2.
inline constexpr int kCmeNotAllowed = 3, kCmeNotSupported = 4, kCmeNoSim = 10, kCmePinNeeded = 11, kCmePukNeeded = 12,
                     kCmeSimBusy = 14, kCmeWrongPassword = 16, kCmeBadIndex = 21, kCmeNotFound = 22, kCmeNoNetwork = 30,
                     kCmeBadParameter = 50, kCmeBusy = 515;
// Error numbers of 3GPP TS 27.005, 3.2.5.
inline constexpr int kCmsNotSupported = 303, kCmsBadPdu = 304, kCmsBadTextParameter = 305, kCmsNoSim = 310,
                     kCmsPinNeeded = 311, kCmsSimBusy = 314, kCmsPukNeeded = 316, kCmsBadIndex = 321, kCmsFull = 322,
                     kCmsNoServiceCentre = 330, kCmsNoNetwork = 331, kCmsNothingToAcknowledge = 340;
// The text of an error number, for AT+CMEE=2.
std::string_view EquipmentErrorText(int code);
std::string_view MessageErrorText(int code);

}  // namespace tavro
