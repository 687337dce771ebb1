// A simulated line on which a life's faults happen, and which watches what the component does there.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "life.h"
#include "simulator/simulated_line.h"
#include "simulator/simulated_modem.h"

namespace tavro::lives {

class FaultyLine : public SimulatedLine {
 public:
  // What the component did since the call began.
  struct Traffic {
    int lines = 0, pdus = 0;          // commands and PDUs that it wrote whole
    int opened = 0;                   // how often it opened the port
    std::int64_t longestSilence = 0;  // ms in which it neither wrote nor got an octet
    std::string lastPdu;              // that was written behind the last AT+CMGS
    bool searchesNetwork = false;     // AT+COPS=0, which has a limit of its own
    bool hasLied = false;             // octets were changed, lost or invented
    bool isDisturbed = false;         // any fault may have struck
  };

  explicit FaultyLine(SimulatedModem& modem);

  // From now on.
  void Arm(const Fault& fault);
  // No more faults; what is under way arrives, and a line that is lost is there again.
  void Heal();
  void BeginCall();
  Traffic EndCall();
  // Whether octets were changed, lost or invented so far.
  bool HasLied() const { return hasLied_; }
  // Whether what the modem said was broken off or in pieces so far.
  bool HasCut() const { return hasCut_; }
  // Collects what is said on the line and in the log, from now on.
  void StartTrace() { traces_ = true; }
  const std::vector<std::string>& Trace() const { return trace_; }
  void NoteCall(const std::string& text) { Note("==", text); }

  Handle Open(const std::string& name) override;
  bool Close(Handle handle) override;
  bool WriteToFile(std::u16string_view path, std::string_view content, bool append) override;

 protected:
  void ToModem(SimulatedModem& modem, std::string_view bytes) override;
  std::optional<std::int64_t> NextFromModem(const SimulatedModem& modem) override;
  std::string FromModem(SimulatedModem& modem, std::int64_t nowMs) override;

 private:
  struct Piece {
    std::int64_t ms = 0;
    std::string bytes;
  };
  struct Direction {
    std::int64_t octets = 0;    // so far
    std::vector<Fault> faults;  // `at` counts from the start of the life
    std::int64_t delayedUntil = 0;
    int lost = 0, doubled = 0;  // so many of the next octets are
    bool isMute = false;
    std::deque<Piece> underWay;
  };

  void Disturb(Direction& direction, std::string_view bytes);
  void Strike(Direction& direction, const Fault& fault, std::string& passed);
  void Put(Direction& direction, std::string bytes);
  void Unplug(const Fault& fault);
  void PlugIn();
  void Deliver();
  void ArmCommand(const Fault& fault);
  void Watch(std::string_view bytes);
  void NoteActivity();
  void Note(std::string_view mark, std::string_view bytes);

  SimulatedModem& modem_;
  Direction in_, out_;
  bool hasLied_ = false, hasCut_ = false;
  bool isCommandArmed_ = false;  // a fault that waits for a command, or for a call of the driver
  Traffic traffic_;
  std::int64_t activeMs_ = 0;
  std::string written_;  // the line that is being written
  bool traces_ = false;
  std::vector<std::string> trace_;
};

}  // namespace tavro::lives
