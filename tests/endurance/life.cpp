#include "life.h"

#include <initializer_list>
#include <string_view>

namespace tavro::lives {

namespace {

constexpr std::string_view kFaultNames[] = {"Delay",    "Mute",       "Unplug",      "Lose",       "Double",  "Change",
                                            "Noise",    "ShortWrite", "FailedWrite", "FailedOpen", "Silence", "Late",
                                            "NoAnswer", "NoResult",   "Refusal",     "Interject",  "Deaf"};
constexpr std::string_view kStepNames[] = {"Connect", "Disconnect",  "Query",  "Send",       "Push",  "WantReports",
                                           "Refresh", "Concatenate", "Delete", "Clear",      "Wait",  "WaitForDelivery",
                                           "Reports", "DeliveryOf",  "Ussd",   "CancelUssd", "Usage", "Memory",
                                           "Timeout", "Retry",       "Pause",  "Arrival",    "Draft"};
constexpr std::string_view kTraitNames[] = {
    "latency",        "sendLatency",     "pieceSize",   "pieceGap",      "echoStuck", "noBlank",     "pduFilledTo",
    "listing",        "listsEverything", "simCapacity", "phoneCapacity", "reference", "reportDelay", "homeReportsOnly",
    "simBusy",        "registration",    "indications", "pin",           "ussdForm",  "deaf",        "recovery",
    "wideReferences", "timeout"};

// The same numbers on every system (SplitMix64).
class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15 + 1) {}

  std::uint64_t Next() {
    std::uint64_t z = (state_ += 0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }
  int Below(int limit) { return static_cast<int>(Next() % static_cast<std::uint64_t>(limit)); }
  int Between(int first, int last) { return first + Below(last - first + 1); }
  bool Chance(int percent) { return Below(100) < percent; }
  int OneOf(std::initializer_list<int> values) { return values.begin()[Below(static_cast<int>(values.size()))]; }

 private:
  std::uint64_t state_;
};

struct Weight {
  Step::Kind kind;
  int weight;
};
using K = Step::Kind;
constexpr Weight kWeights[] = {{K::kConnect, 4}, {K::kDisconnect, 3},  {K::kQuery, 8},    {K::kSend, 20},
                               {K::kPush, 3},    {K::kWantReports, 3}, {K::kRefresh, 14}, {K::kConcatenate, 3},
                               {K::kDelete, 14}, {K::kClear, 3},       {K::kWait, 14},    {K::kWaitForDelivery, 4},
                               {K::kReports, 5}, {K::kDeliveryOf, 3},  {K::kUssd, 3},     {K::kCancelUssd, 1},
                               {K::kUsage, 2},   {K::kMemory, 4},      {K::kTimeout, 2},  {K::kRetry, 1},
                               {K::kPause, 3},   {K::kArrival, 16},    {K::kDraft, 2}};

Step::Kind AnyKind(Random& random) {
  int all = 0;
  for (const Weight& each : kWeights) all += each.weight;
  int chosen = random.Below(all);
  for (const Weight& each : kWeights) {
    if ((chosen -= each.weight) < 0) return each.kind;
  }
  return K::kConnect;
}

Step MakeStep(Random& random, int id) {
  Step step{id, AnyKind(random)};
  switch (step.kind) {
    case K::kQuery:
      step.a = random.Below(10);
      break;
    case K::kSend:
      step.a = (random.Chance(30) ? 1 : 0) + (random.Chance(25) ? 2 : 0) + (random.Chance(35) ? 4 : 0) +
               (random.Chance(5) ? 8 : 0);
      break;
    case K::kWantReports:
    case K::kConcatenate:
      step.a = random.Chance(75) ? 1 : 0;
      break;
    case K::kRefresh:
      step.a = random.OneOf({2, 2, 2, 0, 1});
      break;
    case K::kDelete:
      step.a = random.Below(6);
      break;
    case K::kWait:
    case K::kWaitForDelivery:
      step.a = random.OneOf({0, 0, 100, 2000, 7000, 30000, 70000});
      break;
    case K::kUssd:
      step.a = random.Below(3);
      break;
    case K::kMemory:
      step.a = random.Below(3);
      break;
    case K::kTimeout:
      step.a = random.OneOf({1000, 2000, 3000, 5000, 10000});
      break;
    case K::kRetry:
      step.a = random.Below(4);
      break;
    case K::kPause:
      step.a = random.OneOf({100, 1000, 20000, 100000});
      break;
    case K::kArrival:
      step.a = random.OneOf({0, 0, 1, 5, 20, 100, 300, 1000, 5000, 20000});
      step.b = (random.Chance(25) ? 1 : 0) + (random.Chance(30) ? 2 : 0) + (random.Chance(3) ? 4 : 0);
      break;
    case K::kDraft:
      step.a = random.Chance(30) ? 1 : 0;
      break;
    default:
      break;
  }
  return step;
}

// Near the start of a call, in the middle of it, or far behind.
int AnyPosition(Random& random) { return random.Below(random.OneOf({10, 40, 150, 500, 1500})); }

Fault MakeFault(Random& random, bool malign) {
  using F = Fault::Kind;
  Fault fault;
  if (malign && random.Chance(60)) {
    fault.kind = static_cast<F>(random.Between(static_cast<int>(F::kLose), static_cast<int>(F::kNoise)));
    fault.toModem = random.Chance(40);
    fault.at = AnyPosition(random);
    fault.size = fault.kind == F::kChange   ? 1 << random.Below(8)
                 : fault.kind == F::kDouble ? random.OneOf({1, 1, 2, 8})
                                            : random.OneOf({1, 1, 2, 5, 20, 100});
    fault.what = random.Below(100);
    return fault;
  }
  fault.kind = static_cast<F>(random.Below(static_cast<int>(F::kDeaf) + 1));
  while (fault.IsMalign()) fault.kind = static_cast<F>(random.Below(static_cast<int>(F::kDeaf) + 1));
  switch (fault.kind) {
    case F::kDelay:
      fault.toModem = random.Chance(25);
      fault.at = AnyPosition(random);
      fault.size =
          fault.toModem ? random.OneOf({1, 50, 400, 2500}) : random.OneOf({1, 50, 400, 900, 2500, 12000, 40000});
      break;
    case F::kMute:
      fault.at = AnyPosition(random);
      break;
    case F::kUnplug:
      fault.toModem = random.Chance(50);
      fault.at = AnyPosition(random);
      fault.size = random.OneOf({0, 1, 100, 1500, 30000, 200000});
      fault.what = random.Chance(40) ? 1 : 0;
      break;
    case F::kShortWrite:
      fault.at = random.Below(15);
      fault.size = random.Below(random.OneOf({3, 12, 160}));
      break;
    case F::kFailedWrite:
      fault.at = random.Below(15);
      fault.what = random.Chance(50) ? 1 : 0;
      break;
    case F::kFailedOpen:
      break;
    case F::kDeaf:
      fault.size = random.OneOf({1, 1, 2, 3, 6});
      break;
    default:
      fault.at = random.OneOf({0, 0, 0, 1, 2, 5});
      fault.what = random.Below(100);
      fault.size =
          fault.kind == F::kLate ? random.OneOf({300, 1200, 2500, 6000, 20000, 61000, 190000}) : random.Below(100);
      break;
  }
  return fault;
}

void MakeTraits(Random& random, Life& life) {
  const auto set = [&](Trait trait, int percent, std::initializer_list<int> values) {
    if (random.Chance(percent)) life.traits[static_cast<std::size_t>(trait)] = random.OneOf(values);
  };
  set(Trait::kLatency, 50, {1, 5, 30, 120, 400});
  set(Trait::kSendLatency, 30, {50, 800, 3000, 20000});
  set(Trait::kPieceSize, 30, {1, 3, 8, 16, 64});
  set(Trait::kPieceGap, 100, {1, 2, 10, 60});
  set(Trait::kEchoStuck, 8, {1});
  set(Trait::kNoBlank, 10, {1});
  set(Trait::kPduFilledTo, 8, {176});
  set(Trait::kListing, 8, {1});
  set(Trait::kListsEverything, 5, {1});
  set(Trait::kSimCapacity, 40, {2, 4, 8});
  set(Trait::kPhoneCapacity, 40, {3, 6});
  set(Trait::kReference, 50, {1, 100, 250, 254, 255});
  set(Trait::kReportDelay, 40, {10, 300, 4000, 30000});
  set(Trait::kHomeReportsOnly, 30, {1});
  set(Trait::kSimBusy, 8, {1, 3});
  set(Trait::kRegistration, 8, {1, 3});
  set(Trait::kIndications, 35, {1, 2, 2, 3, 4});
  set(Trait::kPin, 15, {1, 1, 2});
  set(Trait::kUssdForm, 20, {1, 2});
  set(Trait::kDeaf, 8, {1, 3});
  set(Trait::kRecovery, 50, {1, 2, 3, 4, 5, 6, 7});
  set(Trait::kWideReferences, 15, {1});
  set(Trait::kTimeout, 70, {1000, 2000, 3000, 8000, 30000});
}

std::string Words(std::string_view name, std::initializer_list<int> numbers) {
  std::string text(name);
  for (const int number : numbers) text += " " + std::to_string(number);
  return text;
}

}  // namespace

Life MakeLife(std::uint64_t seed, Dialogue dialogue, bool malign) {
  Random random(seed);
  Life life;
  life.seed = seed;
  life.dialogue = dialogue;
  MakeTraits(random, life);
  const int steps = random.Between(10, 30);
  for (int id = 1; id <= steps; ++id) life.steps.push_back(MakeStep(random, id));
  if (random.Chance(85)) life.steps.front() = {1, K::kConnect};
  int faults = random.OneOf({0, 1, 1, 2, 2, 3});
  if (random.Chance(8)) faults = random.Between(6, 25);
  for (int i = 0; i < faults; ++i) {
    Step& step = life.steps[static_cast<std::size_t>(random.Below(steps))];
    step.faults.push_back(MakeFault(random, malign));
  }
  return life;
}

std::string Describe(const Step& step) {
  std::string text = Words(kStepNames[static_cast<std::size_t>(step.kind)], {step.id, step.a, step.b});
  for (const Fault& fault : step.faults) {
    text += " {";
    text += Words(kFaultNames[static_cast<std::size_t>(fault.kind)], {});
    text += fault.toModem ? " out" : " in";
    text += Words("", {fault.at, fault.size, fault.what}) + "}";
  }
  return text;
}

std::string Describe(const Life& life) {
  std::string text = "seed " + std::to_string(life.seed) + "\n";
  for (std::size_t i = 0; i < life.traits.size(); ++i) {
    if (life.traits[i] != 0) text += "  " + std::string(kTraitNames[i]) + " " + std::to_string(life.traits[i]) + "\n";
  }
  for (const Step& step : life.steps) text += "  " + Describe(step) + "\n";
  return text;
}

}  // namespace tavro::lives
