#include "incoming/part_groups.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <tuple>
#include <utility>

namespace tavro {

namespace {

constexpr std::int64_t kPause = 60, kDay = 86400;  // seconds
constexpr std::int64_t kNotRising = 8;

std::int16_t Number(const ReceivedPart& part) { return part.record->concatPart; }
std::int16_t Place(const ReceivedPart& part) { return part.record->memoryIndex; }
std::size_t Total(const ReceivedPart& part) { return static_cast<std::size_t>(part.record->concatTotal); }

const std::vector<std::uint8_t>& Data(const ReceivedPart& part) { return part.record->content->details->data; }

bool SaysTheSame(const ReceivedPart& a, const ReceivedPart& b) {
  return Number(a) == Number(b) && a.record->content->text == b.record->content->text && Data(a) == Data(b);
}

bool IsEarlier(const ReceivedPart& a, const ReceivedPart& b) {
  return std::pair(a.sent, Place(a)) < std::pair(b.sent, Place(b));
}
bool HasLowerNumber(const ReceivedPart& a, const ReceivedPart& b) { return Number(a) < Number(b); }

class PartGrouping {
 public:
  explicit PartGrouping(std::vector<ReceivedPart> parts) : parts_(std::move(parts)) {}

  std::vector<PartGroup> Group() && {
    SetDuplicatesAside();
    for (std::size_t start = 0; start < parts_.size();) {
      std::size_t end = start + 1;
      while (end < parts_.size() && parts_[end].sent - parts_[end - 1].sent < kPause) ++end;
      if (!GroupWhole(start, end)) rest_.insert(rest_.end(), At(start), At(end));
      start = end;
    }
    JoinNeighbours();
    for (PartGroup& group : groups_) std::sort(group.parts.begin(), group.parts.end(), HasLowerNumber);
    MergeRepetitions();
    HandOutDuplicates();
    return std::move(groups_);
  }

 private:
  using Iterator = std::vector<ReceivedPart>::iterator;
  Iterator At(std::size_t position) { return parts_.begin() + static_cast<std::ptrdiff_t>(position); }

  // Leaves the parts that differ, in order of time.
  void SetDuplicatesAside() {
    std::sort(parts_.begin(), parts_.end(), [](const ReceivedPart& a, const ReceivedPart& b) {
      if (a.sent != b.sent || Number(a) != Number(b))
        return std::pair(a.sent, Number(a)) < std::pair(b.sent, Number(b));
      if (Data(a) != Data(b)) return Data(a) < Data(b);
      return Place(a) < Place(b);
    });
    std::vector<ReceivedPart> different;
    for (const ReceivedPart& part : parts_) {
      if (!different.empty() && different.back().sent == part.sent && SaysTheSame(different.back(), part)) {
        duplicates_.push_back({different.back().record, part.record});
      } else {
        different.push_back(part);
      }
    }
    parts_ = std::move(different);
    std::sort(parts_.begin(), parts_.end(), IsEarlier);
  }

  // Makes groups of the parts in a range when each number is there equally often.
  bool GroupWhole(std::size_t start, std::size_t end) {
    const std::size_t total = Total(parts_[start]);
    const std::size_t count = (end - start) / total;
    if ((end - start) % total != 0) return false;
    std::vector<std::size_t> seen(total);
    for (std::size_t i = start; i < end; ++i) ++seen[static_cast<std::size_t>(Number(parts_[i]) - 1)];
    if (std::any_of(seen.begin(), seen.end(), [count](std::size_t each) { return each != count; })) return false;
    std::stable_sort(At(start), At(end), HasLowerNumber);
    for (std::size_t i = 0; i < count; ++i) {
      PartGroup group;
      for (std::size_t number = 0; number < total; ++number) group.parts.push_back(parts_[start + number * count + i]);
      groups_.push_back(std::move(group));
    }
    return true;
  }

  // Ranges of rest_ grow together over the gaps between neighbours, the smallest gap first.
  void JoinNeighbours() {
    const std::size_t count = rest_.size();
    std::vector<std::size_t> distinctFrom(count), first(count), last(count), gaps(count > 0 ? count - 1 : 0);
    std::iota(first.begin(), first.end(), 0);
    std::iota(last.begin(), last.end(), 0);
    std::iota(gaps.begin(), gaps.end(), 0);
    FindDistinctRanges(distinctFrom);
    std::sort(gaps.begin(), gaps.end(), [this](std::size_t a, std::size_t b) { return Width(a) < Width(b); });
    for (const std::size_t gap : gaps) {
      const std::size_t from = first[gap], to = last[gap + 1];
      if (distinctFrom[to] > from || rest_[to].sent - rest_[from].sent > kDay) continue;
      last[from] = to;
      first[to] = from;
    }
    for (std::size_t start = 0; start < count; start = last[start] + 1) {
      PartGroup group;
      for (std::size_t i = start; i <= last[start]; ++i) group.parts.push_back(rest_[i]);
      groups_.push_back(std::move(group));
    }
  }

  // From where on no number comes twice up to each part.
  void FindDistinctRanges(std::vector<std::size_t>& from) const {
    if (rest_.empty()) return;
    std::vector<std::size_t> behind(Total(rest_.front()) + 1);  // behind the number's last part so far
    std::size_t start = 0;
    for (std::size_t i = 0; i < rest_.size(); ++i) {
      std::size_t& place = behind[static_cast<std::size_t>(Number(rest_[i]))];
      start = std::max(start, place);
      place = i + 1;
      from[i] = start;
    }
  }

  // How far apart a part and the next one count as being.
  std::tuple<std::int64_t, bool, int, std::size_t> Width(std::size_t gap) const {
    const ReceivedPart &left = rest_[gap], &right = rest_[gap + 1];
    const bool rises = Number(left) < Number(right);
    const std::int64_t seconds = right.sent - left.sent;
    return {rises ? seconds : seconds * kNotRising, !rises, std::abs(Place(right) - Place(left)), gap};
  }

  void MergeRepetitions() {
    std::sort(groups_.begin(), groups_.end(),
              [](const PartGroup& a, const PartGroup& b) { return IsEarlier(a.parts.front(), b.parts.front()); });
    std::vector<PartGroup> kept;
    for (PartGroup& group : groups_) {
      if (!kept.empty() && IsRepeatedIn(group, kept.back())) {
        Merge(group, kept.back());
        continue;
      }
      if (!kept.empty() && IsRepeatedIn(kept.back(), group)) {
        Merge(kept.back(), group);
        kept.pop_back();
      }
      kept.push_back(std::move(group));
    }
    groups_ = std::move(kept);
  }

  static bool IsRepeatedIn(const PartGroup& group, const PartGroup& other) {
    const bool isComplete = group.parts.size() == Total(group.parts.front());
    if (isComplete || std::abs(group.parts.front().sent - other.parts.front().sent) > kDay) return false;
    return std::all_of(group.parts.begin(), group.parts.end(), [&](const ReceivedPart& part) {
      const auto same = std::lower_bound(other.parts.begin(), other.parts.end(), part, HasLowerNumber);
      return same != other.parts.end() && SaysTheSame(*same, part);
    });
  }

  static void Merge(const PartGroup& repetition, PartGroup& group) {
    for (const ReceivedPart& part : repetition.parts) group.duplicates.push_back(part.record);
    group.duplicates.insert(group.duplicates.end(), repetition.duplicates.begin(), repetition.duplicates.end());
  }

  void HandOutDuplicates() {
    std::sort(duplicates_.begin(), duplicates_.end());
    for (PartGroup& group : groups_) {
      std::vector<const SIMMessage*> originals(group.duplicates.begin(), group.duplicates.end());
      for (const ReceivedPart& part : group.parts) originals.push_back(part.record);
      for (const SIMMessage* original : originals) {
        auto found = std::lower_bound(duplicates_.begin(), duplicates_.end(), original,
                                      [](const Duplicate& duplicate, const SIMMessage* record) {
                                        return std::less<const SIMMessage*>()(duplicate.original, record);
                                      });
        for (; found != duplicates_.end() && found->original == original; ++found) {
          group.duplicates.push_back(found->record);
        }
      }
    }
  }

  struct Duplicate {
    SIMMessage* original;
    SIMMessage* record;
    bool operator<(const Duplicate& other) const { return std::less<const SIMMessage*>()(original, other.original); }
  };

  std::vector<ReceivedPart> parts_;  // that differ, in order of time
  std::vector<ReceivedPart> rest_;   // that are in no group yet
  std::vector<Duplicate> duplicates_;
  std::vector<PartGroup> groups_;
};

}  // namespace

std::vector<PartGroup> GroupParts(std::vector<ReceivedPart> parts) { return PartGrouping(std::move(parts)).Group(); }

}  // namespace tavro
