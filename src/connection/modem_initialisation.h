// Bringing a modem that answers into a known state.
#pragma once

#include <string>

#include "connection/pin_check.h"
#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

class ModemInitialisation : DialoguePart {
 public:
  ModemInitialisation(const DialogueContext& dialogue, PinCheck& pin, Registration& registration);

  // The whole sequence: the user's command, echo off, result codes, error format, registration. Only a modem that is
  // not available or a PIN that fails ends it; everything else that fails is a warning.
  bool InitializeModem();
  // Wakes a modem that is asleep (AT+CPAS, AT+CFUN=1; 3GPP TS 27.007, 8.1 and 8.2).
  void WakeIfAsleep();
  // Switches unsolicited new-message indications off (AT+CNMI, 3GPP TS 27.005, 3.4.1) with mode 2, else 3.
  void DisableNewMessageIndications();

 private:
  struct Step;

  std::string ActivityStatus();
  bool IsDeviceGone();
  bool CheckActivity();
  void SelectCharacterSet();
  void RunUserInit();
  bool RunStep(const Step& step);
  bool SelectNetworkAutomatically();
  void SetMinimumFunctionality();
  void SetFullFunctionality();
  bool DisableNewMessageIndications(const std::string& mode);

  PinCheck& pin_;
  Registration& registration_;
};

}  // namespace tavro
