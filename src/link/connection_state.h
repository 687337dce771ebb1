// What is known of the connection, until the next one starts.
#pragma once

#include <string>

namespace tavro {

struct ConnectionState {
  // "READY" once the SIM needs no PIN or was unlocked; otherwise the state that the modem gave, "ERROR", or empty.
  std::string modemState;
  bool registered = false;         // the last check found the modem registered
  bool memorySelected = false;     // AT+CPMS was accepted
  bool pduSupportChecked = false;  // AT+CMGF=0 was answered
  bool pduSupported = false;       // and accepted

  bool IsReady() const { return modemState == "READY"; }
};

}  // namespace tavro
