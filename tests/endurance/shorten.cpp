#include "shorten.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "life_run.h"

namespace tavro::lives {

namespace {

bool Shows(const Life& life, const std::string& kind) {
  const Outcome outcome = LifeRun(life, false).Run();
  return outcome.violation && outcome.violation->kind == kind;
}

// Keeps the changed life when it still shows the violation.
template <class Change>
bool Try(Life& life, const std::string& kind, Change change) {
  Life changed = life;
  change(changed);
  if (!Shows(changed, kind)) return false;
  life = std::move(changed);
  return true;
}

bool DropSteps(Life& life, const std::string& kind) {
  bool hasDropped = false;
  for (std::size_t size = life.steps.size() / 2 + 1; size > 0; size /= 2) {
    for (std::size_t at = 0; at < life.steps.size();) {
      const bool isDropped = Try(life, kind, [&](Life& changed) {
        const auto first = changed.steps.begin() + static_cast<std::ptrdiff_t>(at);
        const auto count = static_cast<std::ptrdiff_t>(std::min(size, changed.steps.size() - at));
        changed.steps.erase(first, first + count);
      });
      hasDropped = hasDropped || isDropped;
      if (!isDropped) at += size;
    }
  }
  return hasDropped;
}

bool DropFaults(Life& life, const std::string& kind) {
  bool hasDropped = false;
  for (std::size_t i = 0; i < life.steps.size(); ++i) {
    for (std::size_t fault = life.steps[i].faults.size(); fault-- > 0;) {
      const bool isDropped = Try(life, kind, [&](Life& changed) {
        changed.steps[i].faults.erase(changed.steps[i].faults.begin() + static_cast<std::ptrdiff_t>(fault));
      });
      hasDropped = hasDropped || isDropped;
    }
  }
  return hasDropped;
}

bool DropTraits(Life& life, const std::string& kind) {
  bool hasDropped = false;
  for (std::size_t i = 0; i < life.traits.size(); ++i) {
    if (life.traits[i] == 0) continue;
    const bool isDropped = Try(life, kind, [&](Life& changed) { changed.traits[i] = 0; });
    hasDropped = hasDropped || isDropped;
  }
  return hasDropped;
}

}  // namespace

Life Shorten(Life life, const std::string& kind) {
  bool goesOn = true;
  while (goesOn) {
    goesOn = DropSteps(life, kind);
    goesOn = DropFaults(life, kind) || goesOn;
    goesOn = DropTraits(life, kind) || goesOn;
  }
  return life;
}

}  // namespace tavro::lives
