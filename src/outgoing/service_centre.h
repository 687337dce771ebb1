// The service centre's number (AT+CSCA, 3GPP TS 27.005, 3.3.1), known from the first query until the port changes.
#pragma once

#include <string>

#include "connection/registration.h"
#include "link/dialogue.h"

namespace tavro {

class ServiceCentre : DialoguePart {
 public:
  ServiceCentre(const DialogueContext& dialogue, Registration& registration);

  // Reads the number from the modem. On failure the caller raises its own error (4001, 4018, 7022); one of the
  // exchange or of the registration is raised already.
  bool QuerySmsc();
  // Sets it in the modem; a number that holds a quote or a control character is never sent. On failure the caller
  // raises 4002.
  bool SetSmsc(const std::string& number);

  // "+919812345678", or empty when not known.
  const std::string& SmscNumber() const { return number_; }
  // The number as the SMSC field of a PDU: length octet, type of address, semi-octets; "00" when not known.
  std::string SmscField() const;
  void Forget() { number_.clear(); }

 private:
  Registration& registration_;
  std::string number_;
};

}  // namespace tavro
