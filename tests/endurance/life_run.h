// Runs a life and checks what the headers of the component promise.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "faulty_line.h"
#include "ledger.h"
#include "life.h"
#include "simulator/simulated_modem.h"
#include "tavro/sms.h"

namespace tavro::lives {

struct Violation {
  std::string kind;  // a short name
  std::string what;
};

struct Outcome {
  std::optional<Violation> violation;   // the first one, which ended the life
  std::map<std::string, int> exempted;  // those that a line that lied explains, by kind
  int calls = 0;
  std::vector<std::string> trace;  // when asked for
};

class LifeRun {
 public:
  LifeRun(const Life& life, bool traces);
  Outcome Run();

 private:
  // One public call, and what is to be compared with it.
  struct Call {
    std::string name;
    std::int64_t limit = 0;              // ms that it was told to wait
    std::vector<StoredMessage> stored;   // before it, in the memory that the program chose
    std::vector<std::string> deletable;  // what is shown of the messages that it may delete
    std::int64_t startMs = 0;

    // Behind it.
    bool succeeded = false;
    std::int32_t code = 0;
    std::string error;
    std::int64_t ms = 0;
    FaultyLine::Traffic traffic;
  };

  void Prepare();
  void Perform(const Step& step);
  void Finish();

  // Makes the call; `succeeds` is what it says of itself. Checks what holds for each.
  template <class Function>
  Call Make(std::string name, std::int64_t limit, std::vector<std::string> deletable, Function succeeds);
  void Connect();
  void Query(int number);
  void Send(const std::string& name, bool isLong, bool isUcs2, bool isOwn, bool alert);
  void Push(const std::string& name);
  bool Refresh(int type);
  bool Delete(int number);
  bool Clear();
  bool Wait(int ms);
  void WaitForDelivery(int ms);
  void Reports();
  void DeliveryOf();
  void Ussd(int number);
  void Usage();
  void Memory(int which);
  void Arrive(const Step& step);

  void CheckTime(const Call& call);
  void CheckPin(int refusals, bool isHeard);
  void CheckDeeds(const Call& call);
  void CheckSent(const Call& call, const std::string& name, const std::string& references);
  void CheckListing(const Call& call, int type);
  void CheckGone(const Call& call, const std::vector<std::string>& texts);
  void CheckKept();
  bool IsKept(const std::string& text) const;
  void NoteDeleted(const std::vector<std::string>& texts);

  // What may explain that something does not hold: octets that were changed, lost or invented.
  enum class Lie : std::uint8_t { kNone, kNow, kEver };  // kNow: during this call

  // Ends the life unless it holds or is explained.
  void Demand(bool holds, std::string_view kind, const std::string& what, Lie excuse = Lie::kNone);
  std::string_view ClassicLetter(std::string_view kind) const;
  std::vector<std::string> Shown();
  const std::string& WholeText(std::string_view piece) const;

  const Life& life_;
  SimulatedModem modem_;
  std::shared_ptr<FaultyLine> line_;
  SMS sms_;
  const bool traces_;

  std::map<std::string, std::string> texts_;  // all, by name
  std::set<std::string> comeTwice_;           // of these
  std::map<std::string, Sent> sent_;
  std::string memory_ = "SM";  // that the program chose
  bool memoryDoubt_ = false;   // another one may be selected: that was not answered
  bool concatenates_ = false;
  std::string references_ = "7";         // of what was sent last
  std::set<int> seenReports_;            // by reference
  std::vector<std::string> announced_;   // what was shown when Refresh or Wait told of messages last
  std::vector<std::string> deleted_;     // texts of messages that the program deleted
  std::vector<std::string> deletedNow_;  // by the modem during the last call
  std::vector<std::string> mayBeGone_;   // by a deletion that failed, which the modem may get late
  std::vector<std::string> kept_;        // PDUs that the component took over from the modem
  std::size_t deedsSeen_ = 0;
  std::int32_t timeout_ = 0;
  bool isHealed_ = false;
  bool pinIsRefused_ = false;                // since it was set
  bool lied_ = false, isDisturbed_ = false;  // the line, during the last call
  Outcome outcome_;
};

}  // namespace tavro::lives
