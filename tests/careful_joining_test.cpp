// Long messages in the prompt manner: which parts are joined, what is missing, and what a message's deletion removes.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "incoming/deliver_decoding.h"
#include "incoming/sim_box.h"

namespace tavro {
namespace {

constexpr std::int64_t kHour = 3600, kDay = 86400;
constexpr std::int64_t kStart = 1709640000;  // seconds since 1970

struct StoredText {
  int location, number;
  std::int64_t seconds;  // since kStart
  std::u16string text;
  int total = 2;
  int reference = 7;
  std::u16string smsc = u"+49";
};

SIMMessage Record(const StoredText& stored) {
  SIMMessage record;
  record.memoryIndex = static_cast<std::int16_t>(stored.location);
  record.concatReference = stored.reference;
  record.concatTotal = static_cast<std::int16_t>(stored.total);
  record.concatPart = static_cast<std::int16_t>(stored.number);
  auto details = std::make_unique<MessageDetails>();
  details->data.assign(stored.text.begin(), stored.text.end());
  details->pdu = details->data;
  details->parts = record.concatTotal;
  if (stored.total > 1) details->shown = {record.concatPart};
  if (stored.seconds >= -kStart) details->sent = kStart + stored.seconds;
  details->ports = ApplicationPorts{static_cast<std::uint16_t>(stored.number), 0};
  details->messageClass = stored.number;
  details->isReplacement = stored.number == 1;
  details->waiting = {{WaitingMessages::Kind::kFax, true, stored.number}};
  auto content = std::make_shared<MessageContent>();
  content->phone = u"+4917";
  content->text = stored.text;
  content->timeStamp = stored.location;  // tells whose time stamp a message has
  content->timeZone = record.memoryIndex;
  content->timeStampRFC = std::u16string(1, static_cast<char16_t>(u'0' + stored.location));
  content->smsc = stored.smsc;
  content->details = std::move(details);
  record.content = std::move(content);
  return record;
}

std::shared_ptr<SIMBox> BoxOf(const std::vector<StoredText>& stored, std::int64_t now) {
  auto box = std::make_shared<SIMBox>(std::weak_ptr<IncomingServices>());
  for (const StoredText& each : stored) EXPECT_TRUE(box->AddRecord(Record(each)));
  box->JoinWithCare(kStart + now);
  box->BuildInbox(true);
  return box;
}

std::string Narrow(const std::u16string& text) { return {text.begin(), text.end()}; }

// "text@locations-missing parts" of each message.
std::string Inbox(const SIMBox& box) {
  std::string all;
  for (const auto& message : *box.InboxMessages()) {
    all += (all.empty() ? "" : " ") + Narrow(message->Text());
    char separator = '@';
    for (const int location : box.LocationsOf(message->Index())) {
      all += separator + std::to_string(location);
      separator = ',';
    }
    for (const int part : message->MissingParts()) all += "-" + std::to_string(part);
  }
  return all;
}

constexpr std::int64_t kUndated = -kStart - 1;

TEST(CarefulJoining, PartsOfOneReference) {
  const struct {
    const char* what;
    std::vector<StoredText> stored;
    std::int64_t now;
    const char* inbox;
  } cases[] = {
      {"at different times, in any order in the memory",
       {{1, 1, 0, u"A1"}, {2, 2, 5 * kHour + 1, u"B2"}, {3, 2, 1, u"A2"}, {4, 1, 5 * kHour, u"B1"}},
       6 * kHour,
       "A1A2@1,3 B1B2@2,4"},
      {"one behind the other, nearer to the next message than to their own",
       {{1, 1, 0, u"A1"}, {2, 2, 5, u"A2"}, {3, 1, 6, u"B1"}, {4, 2, 11, u"B2"}},
       60,
       "A1A2@1,2 B1B2@3,4"},
      {"the same without the last part", {{1, 1, 0, u"A1"}, {2, 2, 5, u"A2"}, {3, 1, 6, u"B1"}}, 60, "A1A2@1,2"},
      {"under way at once",
       {{1, 1, 0, u"A1"}, {2, 1, 0, u"B1"}, {3, 2, 0, u"A2"}, {4, 2, 0, u"B2"}},
       60,
       "A1A2@1,3 B1B2@2,4"},
      {"the first part of the earlier one is missing",
       {{1, 2, 0, u"A2"}, {2, 1, 20, u"B1"}, {3, 2, 21, u"B2"}},
       60,
       "B1B2@2,3"},
      {"and a day later", {{1, 2, 0, u"A2"}, {2, 1, 20, u"B1"}, {3, 2, 21, u"B2"}}, kDay, "[...]A2@1-1 B1B2@2,3"},
      {"the last part of the later one is",
       {{1, 1, 0, u"A1"}, {2, 2, 1, u"A2"}, {3, 1, 2 * kHour, u"B1"}},
       3 * kDay,
       "A1A2@1,2 B1[...]@3-2"},
      {"the second part came first, and another message's second part later",
       {{1, 2, 0, u"A2"}, {2, 1, 1, u"A1"}, {3, 2, 100, u"B2"}},
       3 * kDay,
       "A1A2@1,2 [...]B2@3-1"},
      {"with a long pause within a message", {{1, 1, 0, u"A1"}, {2, 2, 20 * kHour, u"A2"}}, kDay, "A1A2@1,2"},
      {"but not of more than a day", {{1, 1, 0, u"A1"}, {2, 2, kDay + 1, u"B2"}}, 4 * kDay, "A1[...]@1-2 [...]B2@2-1"},
      {"received twice", {{1, 1, 0, u"A1"}, {2, 1, 0, u"A1"}, {3, 2, 0, u"A2"}, {4, 2, 0, u"A2"}}, 60, "A1A2@1,2,3,4"},
      {"sent again later", {{1, 1, 0, u"A1"}, {2, 2, 1, u"A2"}, {3, 2, kHour, u"A2"}}, 2 * kHour, "A1A2@1,2,3"},
      {"sent again before", {{1, 1, 0, u"A1"}, {2, 1, 100, u"A1"}, {3, 2, 101, u"A2"}}, kHour, "A1A2@1,2,3"},
      {"another text in its place is none of it",
       {{1, 1, 0, u"A1"}, {2, 2, 1, u"A2"}, {3, 2, kHour, u"B2"}},
       3 * kDay,
       "A1A2@1,2 [...]B2@3-1"},
      {"the same message again",
       {{1, 1, 0, u"A1"}, {2, 2, 1, u"A2"}, {3, 1, kHour, u"A1"}, {4, 2, kHour + 1, u"A2"}},
       2 * kHour,
       "A1A2@1,2 A1A2@3,4"},
      {"of 8 and of 16 bits",
       {{1, 1, 0, u"A1"}, {2, 1, 0, u"B1", 2, 0x10007}, {3, 2, 0, u"B2", 2, 0x10007}, {4, 2, 0, u"A2"}},
       60,
       "A1A2@1,4 B1B2@2,3"},
      {"of another total", {{1, 1, 0, u"A1"}, {2, 2, 0, u"B2", 3}}, 60, ""},
      {"by two service centres", {{1, 1, 0, u"A1"}, {2, 2, 0, u"A2", 2, 7, u"+48"}}, 60, "A1A2@1,2"},
      {"with a single message between",
       {{1, 2, 0, u"A2"}, {2, 1, 0, u"S", 1, 0}, {3, 1, 0, u"A1"}},
       60,
       "S@2 A1A2@1,3"},
      {"several missing", {{1, 4, 0, u"A4", 6}, {2, 1, 0, u"A1", 6}}, kDay, "A1[...]A4[...]@1,2-2-3-5-6"},
      {"just not a day old", {{1, 1, 0, u"A1"}}, kDay - 1, ""},
      {"from a clock that is wrong", {{1, 1, 0, u"A1"}}, -kDay, "A1[...]@1-2"},
      {"of no known time", {{1, 1, kUndated, u"A1"}}, 0, "A1[...]@1-2"},
      {"of no known time, whole", {{1, 1, kUndated, u"A1"}, {2, 2, kUndated, u"A2"}}, 0, "A1A2@1,2"},
  };
  for (const auto& c : cases) EXPECT_EQ(Inbox(*BoxOf(c.stored, c.now)), c.inbox) << c.what;
}

TEST(CarefulJoining, AJoinedMessageHasWhatItsPartsHave) {
  std::vector<StoredText> stored = {{5, 2, 9, u"A2"}, {3, 1, 0, u"A1", 2, 7, u"+48"}};
  const auto box = BoxOf(stored, 60);
  const auto message = box->InboxMessages()->front();
  EXPECT_EQ(message->SMSC(), u"+48");
  EXPECT_EQ(message->TimeStamp(), 5);  // of the last part
  EXPECT_EQ(message->TimeZone(), 5);
  EXPECT_EQ(message->TimeStampRFC(), u"5");
  EXPECT_EQ(message->Ports()->destination, 1);  // the first that has any
  EXPECT_EQ(message->MessageClass(), 1);
  EXPECT_TRUE(message->IsReplacement());
  ASSERT_EQ(message->Waiting().size(), 1u);
  EXPECT_EQ(message->Waiting()[0].count, 2);  // the newest
  EXPECT_EQ(message->Data(), (std::vector<std::uint8_t>{'A', '1', 'A', '2'}));
  EXPECT_EQ(message->Parts(), 2);
  box->BuildInbox(false);
  EXPECT_EQ(Inbox(*box), "A2@5-1 A1@3-2");  // each by itself
}

// However the parts lie: a message removes the records that it shows, each record belongs to one message at most, and
// after a day to exactly one.
TEST(CarefulJoining, AnEscapeAndItsCodeInDifferentParts) {
  const std::string start = "0791947101670000440C919471103254760000423050417090400905000307";
  const struct {
    std::string first, second;
    std::u16string text;
  } cases[] = {
      {"0201C21B", "02025262", u"a}b"},
      {"0201C21B", "0202C462", u"abb"},       // which is nothing else behind an escape
      {"0301C21B", "03035262", u"a[...])b"},  // a part is missing between them
      {"0201361B", "02025262", u" )b"},       // the escape of an escape
      {"0201C262", "0202C41B", u"abb"},       // nothing follows
  };
  for (const auto& [first, second, text] : cases) {
    SIMBox box{std::weak_ptr<IncomingServices>()};
    for (const std::string& entry : {"1,1,,27\r\n" + start + first, "2,1,,27\r\n" + start + second}) {
      EXPECT_TRUE(box.AddRecord(DecodeStoredMessage(entry, DateNames{}, kPromptManner).record));
    }
    box.JoinWithCare(kStart + 5 * kDay);
    box.BuildInbox(true);
    ASSERT_EQ(box.InboxMessages()->size(), 1U);
    EXPECT_EQ(box.InboxMessages()->front()->Text(), text);
  }
}

TEST(CarefulJoining, WhatAMessageShowsIsWhatItsDeletionRemoves) {
  std::mt19937 random(5);
  for (int run = 0; run < 2000; ++run) {
    std::vector<StoredText> stored;
    std::map<int, std::string> textAt;
    const int count = static_cast<int>(random() % 12);
    const std::int64_t spread = run % 3 == 0 ? 10 : run % 3 == 1 ? 1000 : 3 * kDay;
    for (int location = 1; location <= count; ++location) {
      StoredText text{location, static_cast<int>(1 + random() % 3), static_cast<int>(random()) % spread, u"", 3};
      // Few texts, so that some come twice.
      text.text = {u'<', static_cast<char16_t>(u'0' + text.number), static_cast<char16_t>(u'a' + random() % 5), u'>'};
      if (random() % 5 == 0) text.seconds = 0;
      textAt[location] = Narrow(text.text);
      stored.push_back(text);
    }
    const bool isOld = run % 2 == 0;
    const auto box = BoxOf(stored, isOld ? 10 * kDay : 1);
    std::set<int> seen;
    for (const auto& message : *box->InboxMessages()) {
      const std::string shown = Narrow(message->Text());
      std::set<std::string> removed;
      for (const int location : box->LocationsOf(message->Index())) {
        EXPECT_TRUE(seen.insert(location).second);
        removed.insert(textAt[location]);
      }
      std::string expected;  // the removed texts in order, as the number stands in front
      int next = 1;
      for (const std::string& text : removed) {
        if (text[1] - '0' != next) expected += "[...]";
        expected += text;
        next = text[1] - '0' + 1;
      }
      if (next != 4) expected += "[...]";
      EXPECT_EQ(shown, expected);
    }
    if (isOld) {
      EXPECT_EQ(seen.size(), stored.size());
    }
  }
}

}  // namespace
}  // namespace tavro
