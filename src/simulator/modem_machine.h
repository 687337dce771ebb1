// A simulated modem between its line and its state: what comes in becomes command lines, PDUs and texts, rules may
// answer in the modem's place, and what it says goes out. Behind SimulatedModem.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/command_pattern.h"
#include "simulator/modem_answer.h"
#include "simulator/modem_reply.h"
#include "simulator/modem_speech.h"
#include "simulator/modem_state.h"
#include "simulator/simulated_modem.h"

namespace tavro {

struct ModemMachine {
  struct Rule {
    CommandPattern pattern;
    ModemReply reply;
  };
  using Received = SimulatedModem::Received;

  explicit ModemMachine(ModemSettings settings) : modem(std::move(settings)) {}

  ModemState modem;
  ModemSpeech speech{modem.settings};
  std::string line;        // the command line or PDU that is coming in
  std::string repeatable;  // the last command line, for "A/"
  std::string echo;
  std::vector<Rule> commandRules, pduRules;
  bool hasStarted = false;
  bool lineLost = false;
  int lineLosses = 0;
  int commandsToLoss = -1;
  std::vector<Received> commands, pdus;

  void Receive(std::string_view bytes);
  // The time comes, with all that happens in the network until then.
  void MoveTo(std::int64_t nowMs);
  void RunEvents(std::int64_t untilMs);
  // What the modem says of its own accord, behind its answer.
  void FlushUnsolicited();
  void LoseLine();

 private:
  void ReceiveByte(char byte);
  void EndLine();
  void Run(std::string text, bool isTooLong = false);
  void EndEntry();
  void CancelEntry();
  ModemAnswer RunCommands(std::string_view text);
  // Answers by the first rule that applies, or as the modem does by itself.
  template <typename Execute>
  void Reply(std::vector<Rule>& rules, std::string_view command, Execute execute);
  void FlushEcho();
};

}  // namespace tavro
