// Connecting to the modem and disconnecting from it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "connection/message_memory.h"
#include "connection/modem_initialisation.h"
#include "connection/pin_check.h"
#include "connection/registration.h"
#include "link/cls_comm.h"
#include "link/dialogue.h"

namespace tavro {

class ModemConnection : DialoguePart {
 public:
  ModemConnection(const DialogueContext& dialogue, clsCOMM& comm, PinCheck& pin, Registration& registration,
                  MessageMemory& memory, ModemInitialisation& initialisation);

  // Opens the port, finds the modem and brings it into a known state. True when connected, also when it was already.
  // On failure the port is closed and the error raised.
  bool ConnectModem();
  // How often the port was opened: a number that differs tells of another connection.
  int Count() const { return count_; }
  // Drops DTR and RTS and closes the port; 1007 is raised when that fails.
  bool DisconnectModem();
  // The same without an error: for the release of the object, which has nobody left to report to.
  bool ClosePort();
  bool IsConnected() const;

  // At the start of a public call.
  void BeginCall();
  // A device that is gone by then is closed, so that the call finds it again.
  void NoticeLoss();
  // Behind a public call that ended where it stood, for there was no memory: closes the port if the line was used.
  void BreakOff();
  // A line of the modem's own accord: it may tell of a restart, by which the modem forgets all that it was told.
  void Take(std::string_view line);
  // Does about a modem that has not answered what the settings allow, until it answers: asks again, restarts it
  // (AT+CFUN=1,1, 3GPP TS 27.007, 8.2), opens the port anew. Nothing when it has answered, or nothing is allowed. What
  // was known of the connection is forgotten then, as of a new one; the port is closed when nothing helped.
  void Recover();

  // Connects when the port is closed, otherwise verifies that the modem answers (1015).
  bool EnsureConnection();
  // Asks for PDU mode (AT+CMGF=0, 3GPP TS 27.005, 3.2.3) unless this connection was asked already. False when there was
  // no answer; whether the mode is supported is in ConnectionState::pduSupported.
  bool CheckPDUSupport();

  void ResetConnectionState();

 private:
  bool VerifyModem();
  bool WakeModem();
  bool Restart();
  bool Reopen();
  bool ConnectAgain();
  bool RunConnectSteps();
  bool Connect();
  void RaiseLines();
  void DropLines();
  void RestoreMessageMemory();
  bool VerifyConnection();
  bool FailWith(const PendingError& error);
  bool DropAndFailWith(const PendingError& error);

  clsCOMM& comm_;
  PinCheck& pin_;
  Registration& registration_;
  MessageMemory& memory_;
  ModemInitialisation& initialisation_;
  int count_ = 0;
  bool hasRestarted_ = false;
  std::uint64_t useBefore_ = 0;  // of the line, when the call began
  bool isBrokenOff_ = false;     // the port is still to be closed
  bool connecting_ = false;      // a command of the connection itself must not open it again
};

}  // namespace tavro
