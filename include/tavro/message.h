// One received message, as it stood when the inbox was built.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tavro/export.h"

namespace tavro {

// Which application of the receiver, and of the sender, a message is for (3GPP TS 23.040, 9.2.3.24.3 and 9.2.3.24.4).
struct ApplicationPorts {
  std::uint16_t destination = 0;
  std::uint16_t source = 0;
};

// That messages of a kind wait for the user at his network (3GPP TS 23.038, 4, and 23.040, 9.2.3.24.2).
struct WaitingMessages {
  enum class Kind : std::uint8_t { kVoice, kFax, kEmail, kOther, kVideo };

  Kind kind = Kind::kVoice;
  bool active = false;            // whether there are any
  std::optional<int> count = {};  // how many, up to 255 for more; none when the network does not say
};

// A snapshot: the values never change, also after the inbox was rebuilt or the SMS object released. Only Delete
// talks to the modem.
class TAVRO_API Message {
 public:
  struct State;
  explicit Message(std::shared_ptr<const State> state);  // made by the component
  ~Message();
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  // The position in the inbox, from 1, when the inbox was built.
  std::int16_t Index() const;
  // The sender: "+" and digits for an international number, digits otherwise, or the text of an alphanumeric sender
  // (3GPP TS 23.040, 9.1.2.5). The digits may be *, #, a, b and c in the prompt manner, which also knows other
  // numbering plans.
  const std::u16string& Phone() const;
  // The text; that of all parts in order for a joined message.
  const std::u16string& Text() const;
  // The service centre time stamp in the sender's local time, as an OLE Automation date (days since 1899-12-30).
  // A joined message has that of its last part. 0 when it is no date, which only the prompt manner shows.
  double TimeStamp() const;
  // The sender's time zone in minutes from UTC, a multiple of 15.
  std::int16_t TimeZone() const;
  // The time stamp as RFC 822 text: "Wed, 05 Mar 2008 14:07:09 +05:30".
  const std::u16string& TimeStampRFC() const;
  // The service centre's address, "+" in front when international; empty when the modem gave none.
  const std::u16string& SMSC() const;

  // --- Known in the prompt manner only (Options::dialogue); otherwise as of a plain text message without data -------

  // The octets of the user data behind its header, those of all parts in order for a joined message: what an
  // application port is sent, or a text as it was coded. Of a message that cannot be decoded, whose Text says why, all
  // octets of the PDU.
  std::vector<std::uint8_t> Data() const;
  // Nothing when the message names none.
  std::optional<ApplicationPorts> Ports() const;
  // The message class, 0 to 3 (3GPP TS 23.038, 4); class 0 is shown at once. Nothing when the message has none.
  std::optional<int> MessageClass() const;
  // Whether it replaces an earlier message of its kind from the same sender (3GPP TS 23.040, 9.2.3.9: protocol
  // identifiers 41 to 47 hexadecimal). The earlier one is not removed.
  bool IsReplacement() const;
  // At most one of each kind; empty for a message that says nothing of the sort.
  std::vector<WaitingMessages> Waiting() const;
  // Of how many parts the long message consists that this one shows, or shows a part of; 1 for any other.
  int Parts() const;
  // The numbers, from 1, of those parts that this message does not show, ascending. A joined message whose parts do not
  // all come is shown when its newest part is a day old, with "[...]" where parts are missing.
  std::vector<int> MissingParts() const;

  // Removes the message, all its parts, from the modem's memory and from the inbox, whose messages are numbered anew.
  // False on failure, with the error in the SMS object:
  //   6008 the index is no longer in the inbox, 6007 no stored message belongs to it, 2002 the modem refuses the
  //   memory that it was read from, 6002 to 6005 and 6011 the modem could not be reached or refused, or a connection,
  //   PIN or registration error. Parts already removed stay removed.
  // An object that was kept while the inbox was built anew, by a deletion too, removes the message that now has its
  // index in the classic manner, so a loop that deletes runs from Count down to 1 and asks the inbox for each. In the
  // prompt manner it removes what it shows itself and nothing else, and fails with 6007 when that is no longer in the
  // store.
  bool Delete();

 private:
  std::shared_ptr<const State> state_;
};

}  // namespace tavro
