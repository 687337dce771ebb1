// A life: what a program calls, what its modem is like, what comes from the network, and what goes wrong when. Plain
// data, so that it can be made from a seed, run as often as wanted, shortened and printed.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tavro/sms.h"

namespace tavro::lives {

// Which ones are benign: what they leave of the octets that pass is as it was, so that all promises can be kept.
struct Fault {
  enum class Kind : std::uint8_t {
    // At the octet `at` in one direction, counted from the start of the call.
    kDelay,   // it and what follows come `size` ms later
    kMute,    // from the modem: it and what follows are lost until the program writes again
    kUnplug,  // the line is lost for `size` ms; with `what` 1 the modem restarts too
    kLose,    // malign: `size` octets
    kDouble,  // malign: `size` octets come twice each
    kChange,  // malign: it is changed by exclusive or with `size`
    kNoise,   // malign: noise number `what` in front of it
    // At the call `at` of the driver, counted likewise.
    kShortWrite,   // ends after `size` octets
    kFailedWrite,  // fails and does nothing; with `what` 1 it fails although the octets went out
    kFailedOpen,
    // At the command number `at` that matches pattern `what`, counted likewise.
    kSilence,    // it has no effect and no answer
    kLate,       // the answer comes `size` ms late
    kNoAnswer,   // it takes effect without an answer
    kNoResult,   // the information text alone comes
    kRefusal,    // refused, with error number `size`
    kInterject,  // line number `size` of the modem's own accord is in the answer
    // At the start of the call.
    kDeaf,  // the next `size` commands are not heard
  };

  Kind kind = Kind::kDelay;
  bool toModem = false;
  int at = 0, size = 0, what = 0;

  bool IsMalign() const { return kind >= Kind::kLose && kind <= Kind::kNoise; }
  bool operator==(const Fault&) const = default;
};

struct Step {
  enum class Kind : std::uint8_t {
    kConnect,
    kDisconnect,
    kQuery,  // number a
    kSend,   // bits of a: 1 long, 2 UCS2, 4 to the SIM's own number, 8 class 0
    kPush,
    kWantReports,  // a
    kRefresh,      // type a
    kConcatenate,  // a
    kDelete,       // the a-th message, from its start again when there are fewer
    kClear,
    kWait,             // a ms
    kWaitForDelivery,  // of what was sent last, a ms
    kReports,
    kDeliveryOf,
    kUssd,  // number a
    kCancelUssd,
    kUsage,
    kMemory,   // "SM", "ME" with a 1, asks for it with a 2
    kTimeout,  // a ms
    kRetry,    // a
    kPause,    // a ms in which the program does something else
    kArrival,  // a message comes in a ms; bits of b: 1 long, 2 UCS2, 4 twice
    kDraft,    // is in the memory, "ME" with a 1
  };

  int id = 0;
  Kind kind = Kind::kConnect;
  int a = 0, b = 0;
  std::vector<Fault> faults = {};
};

// What a modem and the program's options are like; 0 is what they mostly are.
enum class Trait : std::uint8_t {
  kLatency,      // ms
  kSendLatency,  // ms
  kPieceSize,    // octets
  kPieceGap,     // ms
  kEchoStuck,
  kNoBlank,      // behind the colon
  kPduFilledTo,  // octets
  kListing,      // 1: the PDU stands on the line of its header
  kListsEverything,
  kSimCapacity,
  kPhoneCapacity,
  kReference,    // the first one
  kReportDelay,  // ms
  kHomeReportsOnly,
  kSimBusy,       // commands
  kRegistration,  // queries that find it searching
  kIndications,   // 1 mode 3 alone, 2 only directly, 3 none, 4 it does not say which
  kPin,           // 1 it wants one; 2 and the program has another at first
  kUssdForm,      // 1 packed, 2 UCS2
  kDeaf,          // commands at its start
  kRecovery,      // bits: 1 repeats, 2 restarts, 4 reopens
  kWideReferences,
  kTimeout,  // ms; 0: 5000
  kCount,
};

struct Life {
  std::uint64_t seed = 0;
  Dialogue dialogue = Dialogue::kPrompt;
  bool isStrict = false;  // a line that lies is no excuse
  std::array<int, static_cast<std::size_t>(Trait::kCount)> traits = {};
  std::vector<Step> steps = {};

  int operator[](Trait trait) const { return traits[static_cast<std::size_t>(trait)]; }
};

// The life of a seed; `malign`: with faults that change octets too.
Life MakeLife(std::uint64_t seed, Dialogue dialogue, bool malign);

// "Send 5 4 0 { Delay in 12 300 0 }", and all of a life in lines.
std::string Describe(const Step& step);
std::string Describe(const Life& life);

}  // namespace tavro::lives
