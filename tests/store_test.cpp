// The store of received messages and the inbox that is built from it.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "incoming/sim_box.h"
#include "incoming/status_box.h"

namespace tavro {
namespace {

struct Part {
  int location, reference, total, part;
  std::u16string text;
  std::u16string phone = u"+4917";
  std::u16string smsc = u"+49";
};

SIMMessage Record(const Part& part) {
  SIMMessage record;
  record.memoryIndex = static_cast<std::int16_t>(part.location);
  record.concatReference = static_cast<std::int16_t>(part.reference);
  record.concatTotal = static_cast<std::int16_t>(part.total);
  record.concatPart = static_cast<std::int16_t>(part.part);
  // The location tells whose time stamp a message has.
  record.content = std::make_shared<MessageContent>(MessageContent{
      part.phone, part.text, static_cast<double>(part.location), record.memoryIndex, part.text, part.smsc});
  return record;
}

std::shared_ptr<SIMBox> BoxOf(const std::vector<Part>& parts) {
  auto box = std::make_shared<SIMBox>(std::weak_ptr<IncomingServices>());
  for (const Part& part : parts) EXPECT_TRUE(box->AddRecord(Record(part)));
  return box;
}

std::vector<std::u16string> Texts(const SIMBox& box) {
  std::vector<std::u16string> texts;
  for (const auto& message : *box.InboxMessages()) {
    texts.push_back(message->Text());
    EXPECT_EQ(message->Index(), static_cast<int>(texts.size()));
  }
  return texts;
}

using Lines = std::vector<std::u16string>;
using Locations = std::vector<std::int16_t>;

TEST(SIMBox, JoinsPartsInAnyOrder) {
  const auto box =
      BoxOf({{4, 17, 3, 2, u"two "}, {9, 0, 1, 1, u"single"}, {5, 17, 3, 1, u"one "}, {2, 17, 3, 3, u"three"}});
  box->BuildInbox(true);
  EXPECT_EQ(Texts(*box), (Lines{u"single", u"one two three"}));
  EXPECT_EQ((*box->InboxMessages())[1]->TimeStamp(), 2);  // of the last part
  EXPECT_EQ((*box->InboxMessages())[1]->TimeZone(), 2);
  EXPECT_EQ((*box->InboxMessages())[1]->TimeStampRFC(), u"three");
  EXPECT_EQ(box->LocationsOf(1), Locations{9});
  EXPECT_EQ(box->LocationsOf(2), (Locations{4, 5, 2}));
  EXPECT_EQ(box->LocationsByMessage(), (std::vector<Locations>{{}, {9}, {4, 5, 2}}));

  box->BuildInbox(false);
  EXPECT_EQ(Texts(*box), (Lines{u"two ", u"single", u"one ", u"three"}));
  EXPECT_EQ(box->LocationsOf(4), Locations{2});
}

TEST(SIMBox, ATotalOfZeroIsAMessageOfItsOwn) {
  const auto box = BoxOf({{3, 5, 0, 1, u"a"}, {1, 5, 0, 1, u"b"}, {2, 5, 0, 2, u"c"}});
  box->BuildInbox(true);
  EXPECT_EQ(Texts(*box), (Lines{u"a", u"b"}));
  EXPECT_EQ((*box->InboxMessages())[0]->TimeStamp(), 3);
  EXPECT_EQ(box->LocationsByMessage(), (std::vector<Locations>{{2}, {3}, {1}}));
}

TEST(SIMBox, KeepsRecordsByLocation) {
  const auto box = BoxOf({{1, 0, 1, 1, u"a"}, {2, 0, 1, 1, u"b"}, {3, 0, 1, 1, u"c"}});
  EXPECT_TRUE(box->AddRecord(Record({1, 0, 1, 1, u"again"})));  // replaces the first
  box->RemoveRecord(2);
  box->RemoveRecord(2);
  box->RemoveRecord(700);
  box->RemoveRecord(-1);
  EXPECT_EQ(box->RecordCount(), 2U);
  EXPECT_EQ(box->Record(2), nullptr);
  EXPECT_EQ(box->Record(3)->content->text, u"c");
  EXPECT_FALSE(box->AddRecord(Record({-1, 0, 1, 1, u"x"})));
  EXPECT_TRUE(box->AddRecord(Record({2, 0, 1, 1, u"new"})));
  box->BuildInbox(false);
  EXPECT_EQ(Texts(*box), (Lines{u"again", u"c", u"new"}));
  EXPECT_EQ(box->Record(2)->inboxIndex, 3);

  box->Retire();  // the messages stay, their locations do not
  EXPECT_EQ(Texts(*box), (Lines{u"again", u"c", u"new"}));
  EXPECT_EQ(box->LocationsOf(3), Locations{});
  box->BuildInbox(false);
  EXPECT_EQ(box->Count(), 0);
}

TEST(SIMBox, HoldsNoMoreThanItsIndexCanCount) {
  SIMMessage record = Record({0, 0, 1, 1, u"x"});
  const auto box = BoxOf({});
  for (int location = 0; location < 32767; ++location) {
    record.memoryIndex = static_cast<std::int16_t>(location);
    ASSERT_TRUE(box->AddRecord(record));
  }
  record.memoryIndex = 32767;
  EXPECT_TRUE(box->IsFull());
  EXPECT_FALSE(box->AddRecord(record));
  box->BuildInbox(true);
  EXPECT_EQ(box->Count(), 32767);
  EXPECT_EQ(box->InboxMessages()->back()->Index(), 32767);
}

// The rules taken one by one: for each first part the first record of each other part, then as many marks as there are
// parts, in listing order, over the marks of earlier messages.
struct Expected {
  Lines texts;
  std::vector<int> marks;
};

Expected BuildByRules(const std::vector<Part>& parts) {
  Expected expected;
  expected.marks.assign(parts.size(), 0);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const Part& first = parts[i];
    const auto belongs = [&](const Part& part) {
      return part.phone == first.phone && part.smsc == first.smsc && part.total == first.total &&
             part.reference == first.reference;
    };
    if (first.total == 1) {
      expected.texts.push_back(first.text);
      expected.marks[i] = static_cast<int>(expected.texts.size());
    } else if (first.part == 1) {
      std::u16string text = first.text;
      bool complete = true;
      for (int k = 2; complete && k <= first.total; ++k) {
        const auto found =
            std::find_if(parts.begin(), parts.end(), [&](const Part& part) { return belongs(part) && part.part == k; });
        complete = found != parts.end();
        if (complete) text += found->text;
      }
      if (!complete) continue;
      expected.texts.push_back(text);
      int marked = 0;
      for (std::size_t j = 0; j < parts.size() && marked < first.total; ++j) {
        if (!belongs(parts[j])) continue;
        expected.marks[j] = static_cast<int>(expected.texts.size());
        ++marked;
      }
    }
  }
  return expected;
}

TEST(SIMBox, ManyPartsOfOneKeyAreJoinedByTheRules) {
  std::mt19937 random(3);
  for (int run = 0; run < 500; ++run) {
    std::vector<Part> parts;
    const int count = static_cast<int>(random() % 30);
    for (int i = 0; i < count; ++i) {
      parts.push_back({1000 - i, static_cast<int>(random() % 2), static_cast<int>(1 + random() % 4),
                       static_cast<int>(random() % 5), std::u16string(1, static_cast<char16_t>(u'A' + i)),
                       random() % 4 == 0 ? u"x" : u"X", random() % 4 == 0 ? u"" : u"+49"});
    }
    const Expected expected = BuildByRules(parts);
    const auto box = BoxOf(parts);
    box->BuildInbox(random() % 2 == 0);  // an earlier build leaves nothing behind
    box->BuildInbox(true);
    ASSERT_EQ(Texts(*box), expected.texts);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      ASSERT_EQ(box->Record(static_cast<std::int16_t>(parts[i].location))->inboxIndex, expected.marks[i]);
    }
  }
}

TEST(StatusBox, KeepsEachReportOnce) {
  StatusBox box(5);
  const auto add = [&](int reference, int location) {
    return box.Add(
        {.report = {.reference = reference}, .memory = "SM", .memIndex = static_cast<std::int16_t>(location)});
  };
  EXPECT_TRUE(add(7, -1));
  EXPECT_FALSE(add(7, 3));  // listed as well
  EXPECT_EQ(box.Item(0).memIndex, 3);
  EXPECT_TRUE(add(8, 3));  // the place was taken anew
  EXPECT_EQ(box.Item(0).memIndex, -1);
  EXPECT_EQ(box.Item(1).memIndex, 3);
  box.Remove("ME", 3);
  EXPECT_EQ(box.Item(1).memIndex, 3);
  box.Remove("SM", 3);
  EXPECT_EQ(box.Item(1).memIndex, -1);
  box.Clear();
  EXPECT_EQ(box.Count(), 0U);
  EXPECT_FALSE(add(8, -1));
  for (int reference = 10; reference < 16; ++reference) add(reference, -1);
  EXPECT_EQ(box.Count(), 5U);
  EXPECT_EQ(box.Item(0).report.reference, 11);
}

}  // namespace
}  // namespace tavro
