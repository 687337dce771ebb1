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
#include "simulator/command_result.h"
#include "simulator/message_store.h"
#include "simulator/modem_deed.h"
#include "simulator/modem_settings.h"
#include "simulator/network_time.h"

namespace tavro {

struct ModemState;

// What is to happen in the network, by its time.
using NetworkEvents = std::multimap<std::int64_t, std::function<void(ModemState&)>>;

// What a modem forgets when it is switched off.
struct VolatileState {
  bool verbose = true;     // ATV1
  bool quiet = false;      // ATQ1
  bool pinGiven = false;   // the right one
  int functionality = 1;   // AT+CFUN
  int operatorFormat = 0;  // AT+COPS=3: 0 long, 1 short, 2 number
  // How many queries were answered, by command.
  std::map<std::string, std::size_t, std::less<>> registrationQueries;
  std::map<std::string, int, std::less<>> options;  // values of commands that do nothing but keep a number
  std::map<int, int> registers = {{0, 0}, {3, 13}, {4, 10}, {5, 8}, {6, 2}, {7, 60}, {8, 2}, {10, 1}, {12, 50}};  // ATS
  int rate = 0;                              // AT+IPR
  std::string eventReporting = "0,0,0,0,0";  // AT+CMER
  std::array<int, 5> indications{};          // AT+CNMI: mode, mt, bm, ds, bfr
  int service = 0;                           // AT+CSMS
  std::array<std::string, 3> memories{"SM", "SM", "SM"};
  std::string phoneBookMemory = "SM";      // AT+CPBS
  std::optional<NetworkTime> clockAtZero;  // as AT+CCLK set it, reckoned back to the time 0

  // AT+CSCS; as long as the settings say so it is UCS2.
  enum class CharacterSet { kGsm, kIra, kUcs2, kHex };
  CharacterSet otherSet = CharacterSet::kGsm;

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

  // The message that was given to the application and that AT+CNMA has to acknowledge.
  struct Unacknowledged {
    std::string pdu;
    NetworkEvents::iterator timeOut;
  };
  std::optional<Unacknowledged> unacknowledged;

  bool ussdShown = false;                              // AT+CUSD=1
  std::optional<std::string> ussdSession;              // the codes that led to the menu that waits for a reply
  std::optional<NetworkEvents::iterator> ussdPending;  // the answer that is to come

  // Lines of the modem's own accord that a command or an event brought about, said behind its answer,
  std::vector<std::string> unsolicited;
  std::vector<std::string> buffered;  // and those that are not said before AT+CNMI allows it
};

struct ModemState : VolatileState {
  explicit ModemState(ModemSettings given);

  ModemSettings settings;
  MessageStore store{settings};
  std::map<int, PhoneBookEntry> phoneBook;  // by location
  bool isOn = true;
  std::int64_t nowMs = 0;
  std::int64_t startedMs = 0;  // when its first byte came
  int nextReference;
  std::vector<ModemDeed> deeds;

  // The network.
  NetworkEvents events;
  std::deque<std::string> waiting;  // messages that come when a location becomes free
  std::deque<std::string> held;     // and those that come as soon as the modem can take them
  int longReference = 0;            // of the last text in parts

  CharacterSet TextSet() const { return settings.ucs2 ? CharacterSet::kUcs2 : otherSet; }
  void SetTextSet(CharacterSet set) {
    settings.ucs2 = set == CharacterSet::kUcs2;
    otherSet = set;
  }
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
    const NetworkTime atZero = clockAtZero.value_or(NetworkTime{settings.clockMs, settings.zoneMinutes});
    return {atZero.wallClockMs + nowMs, atZero.zoneMinutes};
  }
  NetworkEvents::iterator At(std::int64_t ms, std::function<void(ModemState&)> action);
  void RunNextEvent();
  // Whether this command, which needs the SIM, finds it busy.
  bool FindsSimBusy();
  // ATZ.
  void Reset();
  // The modem is switched on anew: the memories are as they were.
  void Restart();

 private:
  // Of the settings, those that the modem itself changes as it goes on.
  struct Start {
    bool ucs2;
    int activity, deafCommands, simBusyCommands;
  };
  Start start_;
};

// Ends the entry that a prompt began; it is a PDU, or a text.
CommandResult RunEntry(ModemState& modem, ModemState::Entry entry, std::string_view text);

}  // namespace tavro
