#include "detail/utf8.h"

#include <gtest/gtest.h>

#include <string>

#include "models/random_input.h"
#include "models/slow_lines.h"
#include "values.h"

namespace mcp_responses::detail {
namespace {

TEST(Utf8, DecodesEveryStartOfASequenceAsTheModelDoes) {
  // Two bytes of any kind, then bytes next to the bounds that a third and a fourth have.
  for (unsigned start = 0; start < 0x10000; ++start) {
    for (const char* end : {"", "\x7F", "\x80", "\xBF", "\xC0", "\x80\x80", "\xBF\xBF", "\x80\x7F",
                            "\xBF\xE2\x80\xA8"}) {
      const std::string bytes{std::string{static_cast<char>(start >> 8), static_cast<char>(start)} +
                              end};
      ASSERT_EQ(models::code_points_of(Text(bytes)), models::decoded(bytes))
          << std::hex << start << ' ' << testing::PrintToString(end);
    }
  }
}

TEST(Utf8, EveryScalarValueGoesThereAndBack) {
  std::u32string all;
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (!is_surrogate(c)) all.push_back(c);
  }
  const std::string bytes = models::text_of(all).utf8();
  EXPECT_EQ(bytes.size(), 0x80 + 2 * 0x780 + 3 * (0xF800 - 0x800) + 4 * std::size_t{0x100000});
  EXPECT_TRUE(models::code_points_of(Text(bytes)) == all);
}

}  // namespace
}  // namespace mcp_responses::detail
