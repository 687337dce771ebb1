#include "platform/telnet.h"

#include <array>
#include <cstdint>
#include <optional>

namespace tavro {

namespace {

constexpr unsigned char kSe = 240, kSb = 250, kWill = 251, kWont = 252, kDo = 253, kDont = 254, kIac = 255;
// In the order of Telnet::Option.
constexpr unsigned char kCodes[] = {0, 3, 44};
constexpr unsigned char kComPortCode = kCodes[2];

char Octet(unsigned char octet) { return static_cast<char>(octet); }

void Say(unsigned char verb, unsigned char option, std::string& out) {
  out += {Octet(kIac), Octet(verb), Octet(option)};
}

void AppendDoubled(std::string_view octets, std::string& out) {
  for (const char octet : octets) {
    out += octet;
    if (octet == Octet(kIac)) out += octet;
  }
}

}  // namespace

std::string Telnet::Opening() {
  std::string out;
  for (const Option option : {kBinary, kNoGoAhead, kComPort}) {
    mine_[option] = Agreement::kAsked;
    Say(kWill, kCodes[option], out);
    if (option == kComPort) continue;  // the server has one, the client controls it
    theirs_[option] = Agreement::kAsked;
    Say(kDo, kCodes[option], out);
  }
  return out;
}

void Telnet::Receive(std::string_view octets, std::string& data, std::string& replies) {
  for (const char character : octets) {
    const auto octet = static_cast<unsigned char>(character);
    switch (state_) {
      case State::kData:
        if (octet == kIac) {
          state_ = State::kCommand;
        } else {
          TakeData(octet, data);
        }
        break;
      case State::kCommand:
        TakeCommand(octet, data);
        break;
      case State::kVerb:
        state_ = State::kData;
        TakeVerb(octet, replies);
        break;
      case State::kSubOption:
        isComPort_ = octet == kComPortCode;
        state_ = octet == kIac ? State::kSubCommand : State::kSub;
        break;
      case State::kSub:
        if (octet == kIac) {
          state_ = State::kSubCommand;
        } else {
          AddToSubnegotiation(character);
        }
        break;
      case State::kSubCommand:
        if (octet == kIac) {
          AddToSubnegotiation(character);
          state_ = State::kSub;
        } else if (octet == kSe) {
          EndSubnegotiation();
          state_ = State::kData;
        } else {
          TakeCommand(octet, data);  // it was broken off
        }
    }
  }
}

void Telnet::TakeData(unsigned char octet, std::string& data) {
  const bool isPadding = afterCarriageReturn_ && octet == 0 && theirs_[kBinary] != Agreement::kOn;
  afterCarriageReturn_ = octet == '\r';
  if (!isPadding) data += Octet(octet);
}

// Of the commands without an option none concerns a serial line.
void Telnet::TakeCommand(unsigned char octet, std::string& data) {
  state_ = State::kData;
  if (octet == kIac) {
    TakeData(octet, data);
  } else if (octet == kSb) {
    subnegotiation_.clear();
    isTooLong_ = false;
    state_ = State::kSubOption;
  } else if (octet >= kWill) {
    verb_ = octet;
    state_ = State::kVerb;
  }
}

// An answer is given to what changes something, and to nothing else, so that two sides never answer each other for ever
// (RFC 1143).
void Telnet::TakeVerb(unsigned char code, std::string& replies) {
  const bool isAboutMe = verb_ == kDo || verb_ == kDont, isYes = verb_ == kDo || verb_ == kWill;
  const unsigned char no = isAboutMe ? kWont : kDont, yes = isAboutMe ? kWill : kDo;
  Agreement* agreement = nullptr;
  for (const Option option : {kBinary, kNoGoAhead, kComPort}) {
    if (kCodes[option] == code && (isAboutMe || option != kComPort)) {
      agreement = isAboutMe ? &mine_[option] : &theirs_[option];
    }
  }
  if (!agreement) {
    if (isYes) Say(no, code, replies);
  } else if (isYes) {
    if (*agreement == Agreement::kOff) Say(yes, code, replies);
    *agreement = Agreement::kOn;
  } else {
    if (*agreement == Agreement::kOn) Say(no, code, replies);
    *agreement = Agreement::kOff;
  }
}

void Telnet::AddToSubnegotiation(char octet) {
  if (subnegotiation_.size() < kLongestSubnegotiation) {
    subnegotiation_ += octet;
  } else {
    isTooLong_ = true;
  }
}

void Telnet::EndSubnegotiation() {
  if (isComPort_ && !isTooLong_ && takeComPort_) takeComPort_(subnegotiation_);
}

void Telnet::Encode(std::string_view octets, std::string& out) const {
  if (mine_[kBinary] == Agreement::kOn) return AppendDoubled(octets, out);
  for (const char octet : octets) {
    AppendDoubled({&octet, 1}, out);
    if (octet == '\r') out += '\0';
  }
}

std::string Telnet::Subnegotiation(std::string_view content) {
  std::string out{Octet(kIac), Octet(kSb), Octet(kComPortCode)};
  AppendDoubled(content, out);
  return out += {Octet(kIac), Octet(kSe)};
}

}  // namespace tavro
