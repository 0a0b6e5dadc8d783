// Limits. fuzz_cuts compares cuts and summaries of random texts with the model.
#include "cuts.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "models/slow_cuts.h"
#include "values.h"

namespace mcp_responses {
namespace {

TEST(Cuts, ExactlyTheseCodePointsAreWhiteSpace) {
  for (std::uint32_t c = 0; c <= 0x10FFFF; ++c)
    ASSERT_EQ(is_white_space(c), models::is_space(c)) << c;
}

TEST(Cuts, Limits) {
  const Text text = "abc"_t;
  for (const std::int64_t chars : {std::numeric_limits<std::int64_t>::min(), std::int64_t{0}})
    EXPECT_EQ(cut(text, chars).utf8(), "");
  EXPECT_EQ(cut(text, 3).payload().pointer, text.payload().pointer)
      << "a text that fits is not copied";
  EXPECT_FALSE(first_sentence({}));
}

}  // namespace
}  // namespace mcp_responses
