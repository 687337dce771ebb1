// WAP push: a Service Indication (a text and a URL) sent to a phone as one binary short message.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "tavro/export.h"

namespace tavro {

// Every call clears the SMS object's last error first and reports a failure there; a rejected value leaves the old one
// in place. After the SMS object was released the properties still work and Send returns false.
class TAVRO_API Wap {
 public:
  struct State;
  explicit Wap(std::unique_ptr<State> state);  // made by the component
  ~Wap();
  Wap(const Wap&) = delete;
  Wap& operator=(const Wap&) = delete;

  // The phone's number, international ("+" and digits) or national; anything else is error 7004.
  std::u16string Destination();
  void SetDestination(const std::u16string& number);

  // The text shown to the user, sent as UTF-8; an empty one is error 7001.
  std::u16string Text();
  void SetText(const std::u16string& text);

  // The address to open; an empty one is error 7002.
  std::u16string URL();
  void SetURL(const std::u16string& url);

  // When the phone shows it: 1 signal-low, 2 signal-medium (the start), 3 signal-high. Any other value is error 7017
  // and sets 2.
  std::int16_t Action();
  void SetAction(std::int16_t action);

  // The creation date as an OLE Automation date, or empty (the start) for the time of sending. Setting it to an empty
  // value or to a number that is no date is error 7019.
  std::optional<double> Created();
  void SetCreated(std::optional<double> date);

  // When the indication expires after its creation: "0" for never (the start), or a whole number and a unit: "1H" to
  // "24H" hours, "1D" to "31D" days, "1M" to "12M" months, either letter case. Anything else is error 7003.
  std::u16string Expiry();
  void SetExpiry(const std::u16string& expiry);

  // Submits the push. True when the modem confirmed it. Errors: 7005 to 7007 a property is missing, 7018 more than 140
  // octets, 7022 no service centre, 7008 to 7016 and 7023 the modem could not be reached or refused.
  bool Send();

  // True when the push fits one short message (at most 140 octets of user data).
  bool IsLengthOK();

 private:
  std::unique_ptr<State> state_;
};

}  // namespace tavro
