// Messages in text mode (AT+CMGF=1, 3GPP TS 27.005, 3.1 and 3.4 to 3.5): as the modem shows them, and as it makes them
// of a number, a text and the parameters of AT+CSMP.
//
//   SMS-DELIVER       = <stat>,<oa>,<alpha>,<scts>[,<tooa>,<fo>,<pid>,<dcs>,<sca>,<tosca>,<length>] CR LF <data>
//   SMS-SUBMIT        = <stat>,<da>,<alpha>[,<toda>,<fo>,<pid>,<dcs>,<vp>,<sca>,<tosca>,<length>] CR LF <data>
//   SMS-STATUS-REPORT = <stat>,<fo>,<mr>,<ra>,<tora>,<scts>,<dt>,<st>
//   in a listing      = <stat>,<oa/da>,<alpha>,<scts>[,<tooa/toda>,<length>] CR LF <data>
//
// What stands in brackets comes with AT+CSDH=1. <data> is text in the current character set, or hexadecimal digits of
// the user data when that is not in the default alphabet or has a header.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/message_fields.h"
#include "simulator/modem_state.h"

namespace tavro {

// <stat> of a stored message, without quotes; nothing for another number than 0 to 4, which stands for all.
std::optional<std::string_view> StatText(int stat);
std::optional<int> StatFromText(std::string_view text);

// Behind "+CMGR: "; behind "+CMGL: <index>,".
std::string ReadInTextMode(const ModemState& modem, const StoredMessage& message);
std::string ListedInTextMode(const ModemState& modem, const StoredMessage& message);
// Behind "+CMT: " or "+CDS: ".
std::string GivenInTextMode(const ModemState& modem, const MessageFields& fields);

// An SMS-SUBMIT with the service centre field in front, as hexadecimal digits; nothing when the text is none in the
// current character set, or too long for one message.
std::optional<std::string> MakeSubmit(const ModemState& modem, std::string_view number, std::string_view text);

}  // namespace tavro
