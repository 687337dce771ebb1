// The Telnet protocol (RFC 854) as a client of a serial line behind a network speaks it: octets in both directions and
// the options that are agreed on. Knows no sockets; whatever comes, in whatever pieces, is taken.
//
//   stream         = *( data / IAC IAC / IAC command / IAC verb option / subnegotiation )
//   data           = any octet but IAC (255); CR NUL is CR in a direction that is not binary
//   verb           = WILL (251) / WON'T (252) / DO (253) / DON'T (254)
//   subnegotiation = IAC SB (250) option *( any octet but IAC / IAC IAC ) IAC SE (240)
//   option         = binary (0, RFC 856) / suppress go-ahead (3, RFC 858) / COM port (44, RFC 2217) / others: refused
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace tavro {

class Telnet {
 public:
  // What becomes of an option on one side: asked for and not answered yet, or settled.
  enum class Agreement : unsigned char { kOff, kAsked, kOn };

  // The longest subnegotiation that is handed on, in octets; of a longer one nothing is.
  static constexpr std::size_t kLongestSubnegotiation = 4096;

  // Takes the content of each subnegotiation of the COM port option, IACs single again.
  explicit Telnet(std::function<void(std::string_view content)> takeComPort) : takeComPort_(std::move(takeComPort)) {}

  // What the client says at the start: it asks for all three options, the first two in both directions.
  std::string Opening();
  // Takes octets from the server. Puts the data among them behind `data` and what is to be answered behind `replies`.
  void Receive(std::string_view octets, std::string& data, std::string& replies);
  // Puts the octets behind `out` as they go to the server.
  void Encode(std::string_view octets, std::string& out) const;

  Agreement ComPort() const { return mine_[kComPort]; }

  // The content as a subnegotiation of the COM port option.
  static std::string Subnegotiation(std::string_view content);

 private:
  enum class State : unsigned char { kData, kCommand, kVerb, kSubOption, kSub, kSubCommand };
  // The places of the options in the tables below.
  enum Option : unsigned char { kBinary, kNoGoAhead, kComPort, kOptions };

  void TakeData(unsigned char octet, std::string& data);
  void TakeCommand(unsigned char octet, std::string& data);
  void TakeVerb(unsigned char option, std::string& replies);
  void AddToSubnegotiation(char octet);
  void EndSubnegotiation();

  std::function<void(std::string_view)> takeComPort_;
  State state_ = State::kData;
  unsigned char verb_ = 0;
  bool afterCarriageReturn_ = false;
  bool isComPort_ = false;  // the subnegotiation that comes in
  bool isTooLong_ = false;
  std::string subnegotiation_;
  Agreement mine_[kOptions] = {}, theirs_[kOptions] = {};  // what this side does (WILL), what the server does (DO)
};

}  // namespace tavro
