#include "platform/utf8.h"

#include <gtest/gtest.h>

namespace tavro {
namespace {

TEST(Utf8, IsOneFormOfEveryText) {
  struct {
    const char16_t* text;
    const char* octets;
  } const cases[] = {{u"", ""},
                     {u"AT\r\n", "AT\r\n"},
                     {u"\u007F\u0080\u07FF", "\x7F\xC2\x80\xDF\xBF"},
                     {u"\u0800\uD7FF\uE000\uFFFF", "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"},
                     {u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ToUtf8(c.text), c.octets);
    EXPECT_EQ(FromUtf8(c.octets), c.text);
  }
}

TEST(Utf8, ALoneSurrogateBecomesAQuestionMark) {
  EXPECT_EQ(ToUtf8(u"a\xD800"), "a?");
  EXPECT_EQ(ToUtf8(u"\xDC00\xD800"
                   u"b"),
            "??b");
  EXPECT_EQ(ToUtf8(u"\xD800\xD83D\xDE00"), "?\xF0\x9F\x98\x80");
}

TEST(Utf8, AnOctetThatIsNoCharacterKeepsItsNumber) {
  struct {
    const char* octets;
    const char16_t* text;
  } const cases[] = {{"a\x80z", u"a\u0080z"},                            // no lead
                     {"\xC3", u"\u00C3"},                                // cut short
                     {"\xE2\x82", u"\u00E2\u0082"},                      //
                     {"\xE2\x82z", u"\u00E2\u0082z"},                    //
                     {"\xC3\xC3\xA9", u"\u00C3\u00E9"},                  // a valid one behind it
                     {"\xC1\xBF", u"\u00C1\u00BF"},                      // overlong
                     {"\xE0\x9F\xBF", u"\u00E0\u009F\u00BF"},            //
                     {"\xF0\x8F\xBF\xBF", u"\u00F0\u008F\u00BF\u00BF"},  //
                     {"\xED\xA0\x80", u"\u00ED\u00A0\u0080"},            // a surrogate
                     {"\xF4\x90\x80\x80", u"\u00F4\u0090\u0080\u0080"},  // above U+10FFFF
                     {"\xF8\x88\x80\x80\x80", u"\u00F8\u0088\u0080\u0080\u0080"},
                     {"\xFF", u"\u00FF"}};
  for (const auto& c : cases) EXPECT_EQ(FromUtf8(c.octets), c.text);
}

}  // namespace
}  // namespace tavro
