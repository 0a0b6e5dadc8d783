#include "text.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "models/texts.h"
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
    for (const Text& text : {wide, Text(wide.utf8()), Text(wide)}) {
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
  for (const char* utf8 : {"worc", "wor", "words", "wörd", "w\u0151rd", "w😀rd"}) {
    const Text text{std::string_view(utf8)};
    rows.push_back({text, models::text_of(models::code_points_of(text))});
  }
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

TEST(Text, ASurrogateIsCarriedButHasNoUtf8) {
  for (const std::u32string before : {U"", U"a", U"\U0001F600"}) {
    const Text text = models::text_of(before + std::u32string{0xD800, 'x', 0xDFFF});
    try {
      text.utf8();
      ADD_FAILURE() << "no error";
    } catch (const SurrogateError& error) {
      EXPECT_EQ(error.position(), before.size());
      EXPECT_EQ(error.text(), text);
    }
  }
}

}  // namespace
}  // namespace mcp_responses
