// What is known of the connection, until the next one starts.
#pragma once

#include <cstdint>
#include <string>

namespace tavro {

// In which form the modem takes a USSD code (AT+CUSD, 3GPP TS 27.007, 7.15).
enum class UssdForm : unsigned char {
  kPlain,   // as its characters
  kPacked,  // as hexadecimal digits of the packed GSM alphabet
  kUcs2,    // as those of UCS2, the modem's character set
};

struct ConnectionState {
  // "READY" once the SIM needs no PIN or was unlocked; otherwise the state that the modem gave, "ERROR", or empty.
  std::string modemState;
  bool registered = false;          // the last check found the modem registered
  bool memorySelected = false;      // AT+CPMS was accepted
  bool pduSupportChecked = false;   // AT+CMGF=0 was answered
  bool pduSupported = false;        // and accepted
  bool receivedMemoryFull = false;  // when the modem last told
  // What AtExchange had heard when the modem was asked to tell of messages, 0 before, and whether its memory was listed
  // since: what the first listing finds came earlier.
  std::uint64_t heardBefore = 0;
  bool isListed = false;
  UssdForm ussdForm = UssdForm::kPlain;  // the one that was accepted last

  bool IsReady() const { return modemState == "READY"; }
};

}  // namespace tavro
