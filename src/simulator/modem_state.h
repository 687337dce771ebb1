// The state of a simulated modem and the commands that work on it, without the line.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/at_command.h"
#include "simulator/message_store.h"
#include "simulator/modem_settings.h"
#include "simulator/network_time.h"

namespace tavro {

// What a command comes to: an information text and how it ended.
struct CommandResult {
  enum class Kind {
    kOk,
    kError,
    kEquipmentError,  // +CME ERROR
    kMessageError,    // +CMS ERROR
    kNoCarrier,
    kPrompt,  // a PDU follows
  };

  Kind kind = Kind::kOk;
  int code = 0;      // of an error
  std::string info;  // lines, CR LF between them; empty: none
};

inline CommandResult Info(std::string text) { return {CommandResult::Kind::kOk, 0, std::move(text)}; }
inline CommandResult Error() { return {CommandResult::Kind::kError, 0, {}}; }
inline CommandResult EquipmentError(int code) { return {CommandResult::Kind::kEquipmentError, code, {}}; }
inline CommandResult MessageError(int code) { return {CommandResult::Kind::kMessageError, code, {}}; }

// Error numbers of 3GPP TS 27.007, 9.2.
inline constexpr int kCmeNotAllowed = 3, kCmeNotSupported = 4, kCmeNoSim = 10, kCmePinNeeded = 11, kCmePukNeeded = 12,
                     kCmeSimBusy = 14, kCmeWrongPassword = 16, kCmeNotFound = 22, kCmeNoNetwork = 30,
                     kCmeBadParameter = 50, kCmeBusy = 515;
// Error numbers of 3GPP TS 27.005, 3.2.5.
inline constexpr int kCmsNotSupported = 303, kCmsBadPdu = 304, kCmsBadTextParameter = 305, kCmsNoSim = 310,
                     kCmsPinNeeded = 311, kCmsSimBusy = 314, kCmsPukNeeded = 316, kCmsBadIndex = 321, kCmsFull = 322,
                     kCmsNoServiceCentre = 330, kCmsNoNetwork = 331, kCmsNothingToAcknowledge = 340;
// The text of an error number, for AT+CMEE=2.
std::string_view EquipmentErrorText(int code);
std::string_view MessageErrorText(int code);

struct ModemState {
  explicit ModemState(ModemSettings given);

  ModemSettings settings;
  MessageStore store{settings};
  std::int64_t nowMs = 0;
  std::int64_t startedMs = 0;  // when its first byte came

  bool verbose = true;     // ATV1
  bool quiet = false;      // ATQ1
  bool pinGiven = false;   // the right one, since the modem was switched on
  int functionality = 1;   // AT+CFUN
  int operatorFormat = 0;  // AT+COPS=3: 0 long, 1 short, 2 number
  // How many queries were answered, by command.
  std::map<std::string, std::size_t, std::less<>> registrationQueries;
  std::map<std::string, int, std::less<>> options;  // values of commands that do nothing but keep a number
  std::array<int, 5> indications{};                 // AT+CNMI: mode, mt, bm, ds, bfr
  int service = 0;                                  // AT+CSMS
  std::array<std::string, 3> memories{"SM", "SM", "SM"};
  int nextReference;
  int longReference = 0;  // of the last text from the network

  struct TextParameters {  // AT+CSMP
    std::uint8_t firstOctet = 0x11;
    std::string validity = "\xA7";  // octets
    std::uint8_t protocol = 0, coding = 0;
  };
  TextParameters textParameters;
  std::array<std::string, 2> cellBroadcasts;  // AT+CSCB

  // The command whose PDU or text is awaited; kUnexpected behind a prompt that a test made another command answer with.
  enum class Entry { kNone, kSend, kWrite, kAcknowledge, kRefuse, kUnexpected };
  Entry entry = Entry::kNone;
  int entryLength = 0, entryStat = 0;
  bool entryIsText = false;
  std::string entryNumber;  // with a text

  // What is to happen in the network, by its time.
  using Events = std::multimap<std::int64_t, std::function<void(ModemState&)>>;
  Events events;

  std::deque<std::string> waiting;  // messages of the network that come when a location becomes free
  std::deque<std::string> held;     // and those that come as soon as the modem can take them
  // The message that was given to the application and that AT+CNMA has to acknowledge.
  struct Unacknowledged {
    std::string pdu;
    Events::iterator timeOut;
  };
  std::optional<Unacknowledged> unacknowledged;

  bool ussdShown = false;                       // AT+CUSD=1
  std::optional<std::string> ussdSession;       // the codes that led to the menu that waits for a reply
  std::optional<Events::iterator> ussdPending;  // the answer that is to come

  // Lines of the modem's own accord that a command or an event brought about, said behind its answer,
  std::vector<std::string> unsolicited;
  std::vector<std::string> buffered;  // and those that are not said before AT+CNMI allows it

  // AT+CSCS. As long as the settings say so it is UCS2.
  enum class CharacterSet { kGsm, kIra, kUcs2, kHex };
  CharacterSet TextSet() const { return settings.ucs2 ? CharacterSet::kUcs2 : otherSet; }
  void SetTextSet(CharacterSet set) {
    settings.ucs2 = set == CharacterSet::kUcs2;
    otherSet = set;
  }
  CharacterSet otherSet = CharacterSet::kGsm;

  int Option(std::string_view name) const;
  bool IsLocked() const { return !settings.pin.empty() && !pinGiven; }
  // The statuses that +CREG, +CGREG, +CEREG or +C5GREG gives; empty: the modem does not know the command.
  const std::vector<int>& Registrations(std::string_view command) const;
  int Registration(std::string_view command) const;
  // For messages at least, in any domain.
  bool IsRegistered() const;
  std::int64_t NetworkClock() const { return settings.clockMs + nowMs; }
  // The modem's own, which is that of the network until AT+CCLK sets it.
  NetworkTime Clock() const {
    const NetworkTime start = setClock.value_or(NetworkTime{settings.clockMs, settings.zoneMinutes});
    return {start.wallClockMs + nowMs, start.zoneMinutes};
  }
  std::optional<NetworkTime> setClock;  // at the time 0
  Events::iterator At(std::int64_t ms, std::function<void(ModemState&)> action);
  void RunNextEvent();
  // Whether this command, which needs the SIM, finds it busy.
  bool FindsSimBusy();
  void Reset();
};

// Ends the entry that a prompt began; it is a PDU, or a text.
CommandResult RunEntry(ModemState& modem, ModemState::Entry entry, std::string_view text);

}  // namespace tavro
