#include "text.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "models/random_input.h"
#include "values.h"

namespace mcp_responses {
namespace {

TEST(Text, IsKeptInTheNarrowestWidth) {
  const std::tuple<std::u32string, Repertoire, std::size_t> rows[] = {
      {U"", Repertoire::ascii, 1},          {U"a\x7F", Repertoire::ascii, 1},
      {U"a\x80", Repertoire::latin1, 1},    {U"\xFF", Repertoire::latin1, 1},
      {U"a\u0100", Repertoire::bmp, 2},     {U"\uFFFF", Repertoire::bmp, 2},
      {U"\U00010000", Repertoire::full, 4}, {U"a\U0010FFFF", Repertoire::full, 4}};
  for (const auto& [plain, repertoire, unit] : rows) {
    const Text wide = models::text_of(plain);
    for (const Text& text : {wide, Text(wide.utf8())}) {
      EXPECT_EQ(text.view().repertoire, repertoire) << wide.utf8();
      EXPECT_EQ(unit_size(text.view().repertoire), unit) << wide.utf8();
      EXPECT_EQ(models::code_points_of(text), plain) << wide.utf8();
    }
  }
  const std::uint16_t two_byte_units[] = {'a', 0xE9};
  EXPECT_EQ(Text::copy_of(two_byte_units).view().repertoire, Repertoire::latin1);
}

TEST(Text, EqualTextsAreEqualAndHashAlikeHoweverHeld) {
  static constexpr Word program_word{"word", 4};
  Foreign foreign("word"_t);
  std::vector<std::vector<Text>> rows{{"word"_t, Text(program_word), *foreign.handle().text()},
                                      {Text(), ""_t, models::text_of(U"")}};
  for (const char32_t* other : {U"worc", U"wor", U"words", U"wörd", U"w\u0151rd", U"w😀rd"})
    rows.push_back({models::text_of(other), Text(models::text_of(other).utf8())});
  std::set<std::size_t> hashes;
  for (const auto& row : rows) {
    hashes.insert(hash_of(row.front().view()));
    for (const Text& a : row) {
      EXPECT_EQ(hash_of(a.view()), hash_of(row.front().view())) << a.utf8();
      for (const auto& other : rows) {
        for (const Text& b : other) {
          EXPECT_EQ(a == b, &row == &other) << a.utf8() << " and " << b.utf8();
        }
      }
    }
  }
  EXPECT_GT(hashes.size(), rows.size() / 2);
}

}  // namespace
}  // namespace mcp_responses
