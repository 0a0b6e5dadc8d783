#include "text.h"

#include <gtest/gtest.h>

#include <vector>

#include "models/random_input.h"
#include "values.h"

namespace mcp_responses {
namespace {

TEST(Text, IsKeptInTheNarrowestWidth) {
  const std::tuple<std::u32string, Repertoire, std::size_t> rows[] = {
      {U"", Repertoire::ascii, 1},          {U"a\x7F", Repertoire::ascii, 1},
      {U"\x80", Repertoire::latin1, 1},     {U"\xFF", Repertoire::latin1, 1},
      {U"\u0100", Repertoire::bmp, 2},      {U"\uFFFF", Repertoire::bmp, 2},
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
  EXPECT_EQ(Text::copy_of({two_byte_units, 2, Repertoire::bmp}).view().repertoire,
            Repertoire::latin1);
}

TEST(Text, EqualTextsAreEqualAndAllAreInOrderHoweverHeld) {
  static constexpr StringLiteral program_word{"word", 4};
  Foreign foreign("word"_t);
  std::vector<std::vector<Text>> rows{{Text(), ""_t, models::text_of(U"")}};  // ascending
  for (const char* utf8 : {"wor", "worc", "word", "wore", "wörd", "w\u0151rd", "w😀rd", "words"}) {
    const Text text{std::string_view(utf8)};
    rows.push_back({text, models::text_of(models::code_points_of(text))});
    if (text == "word"_t)
      rows.back().insert(rows.back().end(), {Text(program_word), *foreign.handle().text()});
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < rows.size(); ++j) {
      for (const Text& a : rows[i]) {
        for (const Text& b : rows[j]) {
          EXPECT_EQ(a == b, i == j) << a.utf8() << " and " << b.utf8();
          EXPECT_TRUE((a.view() <=> b.view()) == (i <=> j)) << a.utf8() << " and " << b.utf8();
        }
      }
    }
  }
}

}  // namespace
}  // namespace mcp_responses
