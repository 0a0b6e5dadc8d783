#include "detail/utf8.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "models/random_input.h"
#include "models/slow_lines.h"
#include "values.h"

namespace mcp_responses::detail {
namespace {

TEST(Utf8, EachMaximalSubpartGivesOneReplacement) {
  const std::tuple<const char*, std::string, std::u32string> rows[] = {
      {"too long", "\xC0\xAF\xE0\x80\xBF\xF0\x81\x82\x41", U"RRRRRRRRA"},
      {"surrogates", "\xED\xA0\x80\xED\xBF\xBF\xED\xAF\x41", U"RRRRRRRRA"},
      {"beyond U+10FFFF", "\xF4\x91\x92\x93\xFF\x41\x80\xBF\x42", U"RRRRRARRB"},
      {"truncated", "\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", U"RRRRA"},
      {"truncated at the end", "a\xF0\x90\x80", U"aR"},
      {"a lead before a lead", "\xC2\xC2\x85\xE2\x80\xE2\x80\xA8", U"R\x85R\u2028"},
  };
  for (auto [name, bytes, text] : rows) {
    std::replace(text.begin(), text.end(), U'R', U'\uFFFD');
    EXPECT_EQ(models::code_points_of(Text(bytes)), text) << name;
  }
}

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
