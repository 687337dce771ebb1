// One received message, as it stood when the inbox was built.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavro {

// A snapshot: the values never change, also after the inbox was rebuilt or the SMS object released. Only Delete
// talks to the modem.
class Message {
 public:
  struct State;
  explicit Message(std::shared_ptr<const State> state);  // made by the component
  ~Message();
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;

  // The position in the inbox, from 1, when the inbox was built.
  std::int16_t Index() const;
  // The sender: "+" and digits for an international number, digits otherwise, or the text of an alphanumeric sender
  // (3GPP TS 23.040, 9.1.2.5).
  const std::u16string& Phone() const;
  // The text; that of all parts in order for a joined message.
  const std::u16string& Text() const;
  // The service centre time stamp in the sender's local time, as an OLE Automation date (days since 1899-12-30).
  // A joined message has that of its last part.
  double TimeStamp() const;
  // The sender's time zone in minutes from UTC, a multiple of 15.
  std::int16_t TimeZone() const;
  // The time stamp as RFC 822 text: "Wed, 05 Mar 2008 14:07:09 +05:30".
  const std::u16string& TimeStampRFC() const;
  // The service centre's address, "+" in front when international; empty when the modem gave none.
  const std::u16string& SMSC() const;

  // Removes the message, all its parts, from the modem's memory and from the inbox, whose messages are numbered anew.
  // False on failure, with the error in the SMS object:
  //   6008 the index is no longer in the inbox, 6007 no stored message belongs to it, 6002 to 6005 and 6011 the modem
  //   could not be reached or refused, or a connection, PIN or registration error. Parts already removed stay removed.
  bool Delete();

 private:
  std::shared_ptr<const State> state_;
};

}  // namespace tavro
