// How messages come from the network into a simulated modem, and what it tells the application of them (3GPP TS 27.005,
// 3.4: AT+CNMI, AT+CSMS, AT+CNMA).
//
// A message that the modem cannot take now stays in the network and comes as soon as it can: while the modem is off or
// not registered, while the memory is full, and with AT+CSMS=1 while another one that was given to the application
// directly is not acknowledged.
#pragma once

#include <string_view>

#include "simulator/looped_message.h"
#include "simulator/modem_state.h"

namespace tavro {

// A message from the network. The location where it is stored, the first free one or this one; 0 when it was given to
// the application directly or waits in the network.
int ReceiveMessage(ModemState& modem, std::string_view pduHex, int location = 0);
// Tries what waits in the network once more.
void DeliverHeld(ModemState& modem);
// The message that was given directly last is taken, or refused: then the network delivers it again later. False when
// there is none.
bool Acknowledge(ModemState& modem, bool isTaken);
// Nobody will acknowledge it any more: it waits in the network.
void GiveBack(ModemState& modem);

// The report on a message that was sent, when it is due.
void ReportLater(ModemState& modem, const SubmittedMessage& message, int reference, const NetworkView& network);

}  // namespace tavro
