// Runs many lives and tells what they violate. A life is known by its seed.
//
//   tavro_lives --lives N --seed S [--manner prompt|classic] [--faults benign|all] [--lies count|fail] [--show KIND]
//
// With all faults every second life has those too that change what passes; what these explain is counted, or fails as
// everything else does. The first life of each kind of violation is shortened and printed with its dialogue, of KIND
// every one. Exits with 1 when there was a violation.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "life.h"
#include "life_run.h"
#include "shorten.h"

namespace {

using namespace tavro::lives;

struct Arguments {
  std::uint64_t lives = 1000, seed = 1;
  tavro::Dialogue dialogue = tavro::Dialogue::kPrompt;
  bool isMalign = true, isStrict = false;
  std::string show;
};

bool Read(int count, char** words, Arguments& arguments) {
  for (int i = 1; i + 1 < count; i += 2) {
    const std::string_view name = words[i], value = words[i + 1];
    if (name == "--lives") {
      arguments.lives = std::strtoull(words[i + 1], nullptr, 10);
    } else if (name == "--seed") {
      arguments.seed = std::strtoull(words[i + 1], nullptr, 10);
    } else if (name == "--manner" && (value == "prompt" || value == "classic")) {
      arguments.dialogue = value == "classic" ? tavro::Dialogue::kClassic : tavro::Dialogue::kPrompt;
    } else if (name == "--faults" && (value == "benign" || value == "all")) {
      arguments.isMalign = value == "all";
    } else if (name == "--lies" && (value == "count" || value == "fail")) {
      arguments.isStrict = value == "fail";
    } else if (name == "--show") {
      arguments.show = value;
    } else {
      return false;
    }
  }
  return count % 2 == 1;
}

void Print(const Life& life, const std::string& kind) {
  const Life shortest = Shorten(life, kind);
  const Outcome outcome = LifeRun(shortest, true).Run();
  std::printf("\n%s: %s\n%s", kind.c_str(), outcome.violation->what.c_str(), Describe(shortest).c_str());
  for (const std::string& line : outcome.trace) std::printf("    %s\n", line.c_str());
}

}  // namespace

int main(int count, char** words) {
  Arguments arguments;
  if (!Read(count, words, arguments)) {
    std::fprintf(stderr, "usage: tavro_lives --lives N --seed S [--manner prompt|classic] [--faults benign|all]\n");
    return 2;
  }
  std::map<std::string, int> violations, exempted;
  std::int64_t calls = 0;
  for (std::uint64_t i = 0; i < arguments.lives; ++i) {
    const std::uint64_t seed = arguments.seed + i;
    Life life = MakeLife(seed, arguments.dialogue, arguments.isMalign && seed % 2 == 0);
    life.isStrict = arguments.isStrict;
    const Outcome outcome = LifeRun(life, false).Run();
    calls += outcome.calls;
    for (const auto& [kind, times] : outcome.exempted) exempted[kind] += times;
    if (!outcome.violation) continue;
    const std::string& kind = outcome.violation->kind;
    if (++violations[kind] == 1 || kind == arguments.show) Print(life, kind);
    std::fflush(stdout);
  }
  std::printf("%llu lives, %lld calls\n", static_cast<unsigned long long>(arguments.lives),
              static_cast<long long>(calls));
  for (const auto& [kind, times] : exempted) std::printf("  %s %d\n", kind.c_str(), times);
  for (const auto& [kind, times] : violations) std::printf("  VIOLATED: %s %d\n", kind.c_str(), times);
  return violations.empty() ? 0 : 1;
}
