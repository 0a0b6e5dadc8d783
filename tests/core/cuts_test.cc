// Limits. fuzz_cuts compares cuts and summaries of random texts with the model.
#include "cuts.h"

#include <gtest/gtest.h>

#include <string>

#include "models/slow_cuts.h"
#include "values.h"

namespace mcp_responses {
namespace {

TEST(Cuts, ExactlyTheseCodePointsAreWhiteSpace) {
  for (std::uint32_t c = 0; c <= 0x10FFFF; ++c)
    ASSERT_EQ(is_white_space(c), models::is_space(c)) << c;
}

TEST(Cuts, Examples) {
  const std::tuple<Text, std::int64_t, const char*, const char*> rows[] = {
      {"abc"_t, -1, "", ""},
      {"abc"_t, 1, "…", ""},
      {"ab "_t, 3, "ab ", "ab "},
  };
  for (const auto& [text, chars, hard, soft] : rows) {
    EXPECT_EQ(cut(text, chars).utf8(), hard) << text.utf8();
    EXPECT_EQ(trimmed(text, chars).utf8(), soft) << text.utf8();
  }
  const Text text = "abc"_t;
  EXPECT_EQ(cut(text, 3).payload().pointer, text.payload().pointer)
      << "a text that fits is not copied";
  EXPECT_FALSE(first_sentence({}));
}

}  // namespace
}  // namespace mcp_responses
