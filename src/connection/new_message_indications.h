// Having the modem tell of messages as they come (AT+CNMI, 3GPP TS 27.005, 3.4.1).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "connection/modem_connection.h"
#include "link/dialogue.h"

namespace tavro {

class NewMessageIndications : DialoguePart {
 public:
  NewMessageIndications(const DialogueContext& dialogue, ModemConnection& connection);

  // Asks for indications, once a connection, and again every minute when they are refused: what comes is stored and
  // told of (+CMTI); from a modem that cannot it is given directly (+CMT) where it takes acknowledgements (AT+CSMS=1),
  // which keep it from being lost. Reports likewise (+CDSI, else +CDS). Raises no error.
  void SwitchOn();
  // Reports that are stored cannot be read: they are asked for directly from now on.
  void AvoidStoredReports();
  // Whether the modem tells of messages; one that does not has to be asked.
  bool AreOn() const { return areOn_ && connectionCount_ == connection_.Count(); }
  // Whether what is given directly has to be acknowledged, and comes again when it is not.
  bool Acknowledges() const { return acknowledges_; }
  // Asks whether they are still on: a modem that restarted by itself has forgotten them, and all else that it was told.
  // False when they are not, or when it does not answer.
  bool Verify();

 private:
  using Values = std::array<int, 5>;  // of the command, in order

  static constexpr int kNone = -1;

  std::vector<Values> Choices(int mt, const std::vector<std::vector<int>>& allowed) const;
  bool Send(const std::string& command);
  bool SwitchToOneOf(const std::vector<Values>& choices);
  std::string Ask();

  ModemConnection& connection_;
  int connectionCount_ = kNone;  // of the connection that was asked
  std::uint32_t triedTick_ = 0;  // when it was
  bool areOn_ = false, acknowledges_ = false, storesReports_ = true;
  std::string confirmed_;  // what AT+CNMI? said then; empty when the modem does not tell
};

}  // namespace tavro
