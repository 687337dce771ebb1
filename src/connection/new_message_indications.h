// Having the modem tell of messages as they come (AT+CNMI, 3GPP TS 27.005, 3.4.1).
#pragma once

#include <array>
#include <string>
#include <vector>

#include "connection/modem_connection.h"
#include "link/dialogue.h"

namespace tavro {

class NewMessageIndications : DialoguePart {
 public:
  NewMessageIndications(const DialogueContext& dialogue, ModemConnection& connection);

  // Asks for indications, once a connection: what comes is stored and told of (+CMTI); from a modem that cannot it is
  // given directly (+CMT), with the acknowledgement that keeps it from being lost (AT+CSMS=1, AT+CNMA). Reports
  // likewise
  // (+CDSI, else +CDS). Raises no error. Whether they were off before, so that something may have come unnoticed.
  bool SwitchOn();
  // Whether the modem tells of messages; one that does not has to be asked.
  bool AreOn() const { return areOn_ && connectionCount_ == connection_.Count(); }
  // Asks whether they are still on: a modem that restarted by itself has forgotten them, and all else that it was told.
  // False when they are not, or when it does not answer.
  bool Verify();

 private:
  using Values = std::array<int, 5>;  // of the command, in order

  static std::vector<Values> Choices(int mt, const std::vector<std::vector<int>>& allowed);
  bool SwitchToOneOf(const std::vector<Values>& choices);
  std::string Ask();

  ModemConnection& connection_;
  int connectionCount_ = -1;  // of the connection that was asked
  bool areOn_ = false;
  std::string confirmed_;  // what AT+CNMI? said then; empty when the modem does not tell
};

}  // namespace tavro
