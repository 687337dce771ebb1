// Every allocation of the C interface's own fails once, alone and with all behind it: a code, and nothing thrown.
#include <gtest/gtest.h>

#include <string>

#include "failing_new.h"
#include "tavro/tavro.h"

namespace tavro {
namespace {

// What a program does without a modem, up to the first failure; what it was given, it gives back.
int Use(const std::string& text) {
  const tavro_options options = {sizeof options, 0, "/dev/null"};
  tavro_modem* modem = nullptr;
  tavro_list *messages = nullptr, *parts = nullptr, *fields = nullptr;
  tavro_text value;
  int code = tavro_open(&options, &modem);
  if (code == TAVRO_OK) code = tavro_set_text(modem, TAVRO_PIN, text.c_str());
  if (code == TAVRO_OK) code = tavro_get_text(modem, TAVRO_ABOUT, &value);
  if (code == TAVRO_OK) code = tavro_inbox(modem, &messages);
  if (code == TAVRO_OK) code = tavro_encode("+447700900123", text.c_str(), nullptr, &parts);
  if (code == TAVRO_OK) code = tavro_decode("0791947167000000040C91947121436587000042304070704080", 0, &fields);
  EXPECT_TRUE(code == TAVRO_OK || tavro_error(nullptr, nullptr) == code);
  for (tavro_list* list : {messages, parts, fields}) EXPECT_EQ(tavro_list_free(list) == TAVRO_OK, list != nullptr);
  EXPECT_EQ(tavro_close(modem) == TAVRO_OK, modem != nullptr);
  return code;
}

TEST(CInterfaceMemory, NoneIsLeftForAnyAllocation) {
  const std::string text(200, 'a');
  for (const bool forGood : {false, true}) {
    long after = 0, succeeded = 0;
    for (bool fails = true; fails; ++after) {
      SCOPED_TRACE(after);
      FailingNew::Arm(after, forGood);
      const int code = Use(text);
      fails = FailingNew::Disarm();
      if (code == TAVRO_OK) {
        ++succeeded;
      } else {
        EXPECT_TRUE(code == TAVRO_OUT_OF_MEMORY || code == 1043) << code;
        EXPECT_TRUE(fails);
      }
    }
    EXPECT_GT(after, 50);
    EXPECT_LT(succeeded, after / 2);  // some do without
  }
}

}  // namespace
}  // namespace tavro
