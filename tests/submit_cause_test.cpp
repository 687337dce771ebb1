#include "outgoing/submit_cause.h"

#include <gtest/gtest.h>

namespace tavro {
namespace {

using Kind = SubmitCause::Kind;

TEST(SubmitCauseTest, IsWhatTheStandardsSay) {
  const struct {
    const char* answer;
    int number;
    const char* text;
    Kind kind;
  } kCases[] = {
      {"\r\nERROR\r\n", -1, "", Kind::kTemporary},
      {"\r\n+CMS ERROR: 1\r\n", 1, "Unassigned (unallocated) number", Kind::kPermanent},
      {"\r\n+CMS ERROR: 21\r\n", 21, "Short message transfer rejected", Kind::kPermanent},
      {"\r\n+CMS ERROR: 38\r\n", 38, "Network out of order", Kind::kTemporary},
      {"\r\n+cms error:42\r\n\r\nRING\r\n", 42, "Congestion", Kind::kTemporary},
      {"+CMS ERROR: 127", 127, "Interworking, unspecified", Kind::kTemporary},
      {"\r\n+CMS ERROR: 195\r\n", 195, "Invalid SME address", Kind::kPermanent},
      {"\r\n+CMS ERROR: 304\r\n", 304, "invalid PDU mode parameter", Kind::kPermanent},
      {"\r\n+CMS ERROR: 331\r\n", 331, "no network service", Kind::kTemporary},
      {"\r\n+CMS ERROR: 332\r\n", 332, "network timeout", Kind::kUnclear},
      {"\r\n+CMS ERROR: 500\r\n", 500, "unknown error", Kind::kTemporary},
      {"\r\n> +CMS ERROR: 331\r\n", 331, "no network service", Kind::kTemporary},
      {"\r\n+CMS ERROR: 513\r\n", 513, "", Kind::kTemporary},  // a maker's own
      // In words, as AT+CMEE=2 has them; SIMs had no (U) once.
      {"\r\n+CMS ERROR: Network Timeout\r\n", 332, "network timeout", Kind::kUnclear},
      {"\r\n+CMS ERROR: SIM PUK required\r\n", 316, "(U)SIM PUK required", Kind::kPermanent},
      {"\r\n+CMS ERROR: whatever\r\n", -1, "", Kind::kTemporary},
      // The number of another list.
      {"\r\n+CME ERROR: 332\r\n", -1, "", Kind::kTemporary},
      {"\r\n+CUSD: 0,\"+CMS ERROR: 38\"\r\n\r\n+CMS ERROR: 96\r\n", 96, "Invalid mandatory information",
       Kind::kPermanent},
  };
  for (const auto& c : kCases) {
    const auto cause = SubmitCauseIn(c.answer);
    ASSERT_TRUE(cause) << c.answer;
    EXPECT_EQ(cause->number, c.number) << c.answer;
    EXPECT_EQ(cause->text, c.text) << c.answer;
    EXPECT_EQ(cause->kind, c.kind) << c.answer;
  }
  for (const char* answer :
       {"", "\r\nOK\r\n", "\r\n+CMGS: 38\r\n", "\r\n+CUSD: 0,\"ERROR\",15\r\n", "\r\n+KMS ERROR: 332\r\n"}) {
    EXPECT_FALSE(SubmitCauseIn(answer)) << answer;
  }
}

}  // namespace
}  // namespace tavro
