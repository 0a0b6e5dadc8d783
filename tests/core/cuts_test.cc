#include "cuts.h"

#include <gtest/gtest.h>

#include <string>

#include "models/random_input.h"
#include "models/slow_cuts.h"
#include "values.h"

namespace mcp_responses {
namespace {

using namespace std::string_literals;

TEST(Cuts, ExactlyTheseCodePointsAreWhiteSpace) {
  for (std::uint32_t c = 0; c <= 0x10FFFF; ++c)
    ASSERT_EQ(is_white_space(c), models::is_space(c)) << c;
}

TEST(Cuts, Examples) {
  const std::tuple<Text, std::int64_t, const char*, const char*> rows[] = {
      {"abc"_t, -1, "", ""},
      {"abc"_t, 1, "…", ""},
      {"ab "_t, 3, "ab ", "ab "},
      {"alpha beta gamma"_t, 12, "alpha beta…", "alpha beta…"},
      {"abcde fghijkl"_t, 10, "abcde fgh…", "abcde…"},
      {"abc defgh"_t, 7, "abc de…", "abc…"},
      {"abcd\tefghijkl"_t, 10, "abcd\tefgh…", "abcd\tefgh…"},
      {" bc"_t, 2, "…", "…"},
  };
  for (const auto& [text, chars, hard, soft] : rows) {
    EXPECT_EQ(_cut(text, chars).utf8(), hard) << text.utf8();
    EXPECT_EQ(_trimmed(text, chars).utf8(), soft) << text.utf8();
  }
  const Text text = "abc"_t;
  EXPECT_EQ(_cut(text, 3).payload().pointer, text.payload().pointer)
      << "a text that fits is not copied";
}

// White space at every position of a text of several blocks.
TEST(Cuts, EqualTheModel) {
  for (const char32_t character : {U'w', U'\u0151', U'\U00010151'}) {
    for (std::size_t at = 0; at < 40; ++at) {
      for (const std::size_t spaces : {1U, 2U, 20U, 40U}) {
        for (const char32_t space : {U' ', U'\t'}) {
          const std::u32string plain =
              std::u32string(at, character) + std::u32string(spaces, space) + U"ab";
          for (const std::int64_t chars : {2, 17, 18, 33, 34, 40}) {
            const std::string label = std::to_string(at) + " to " + std::to_string(chars);
            const Text text = models::text_of(plain);
            ASSERT_EQ(models::code_points_of(_cut(text, chars)), models::cut(plain, chars))
                << label;
            ASSERT_EQ(models::code_points_of(_trimmed(text, chars)), models::trimmed(plain, chars))
                << label;
          }
        }
      }
    }
  }
}

TEST(Cuts, FirstSentences) {
  const std::pair<std::string, std::string> rows[] = {
      {" \n\t\u3000 ", ""},
      {"\n\n  \n  First.  Second\n\nThird", "First."},
      {"Version 1.2 is used. Next.", "Version 1.2 is used."},
      {"What? Yes.", "What?"},
      {"Done!Next one.", "Done!Next one."},
      {"One. \u200bTwo", "One."},
      {"First line\r\n\r\nsecond line.", "First line second line."},
      {"First line\n \nsecond line.", "First line second line."},
      {". a", "."},
  };
  for (const auto& [docstring, sentence] : rows) {
    EXPECT_EQ(first_sentence(Text(docstring)).value_or(Text()).utf8(), sentence) << docstring;
    EXPECT_EQ(first_sentence(Text(docstring)).has_value(), !sentence.empty()) << docstring;
  }
  EXPECT_FALSE(first_sentence({}));
}

// All pairs of special characters at every position of a text, and so of a block of 16 units.
TEST(Cuts, FirstSentencesWithSpecialCharactersAtEveryPosition) {
  const std::u32string words = U"ab cdefg hi jklmnop qrs tuvw xyz abc def";
  const std::u32string specials = U" .?\n\0\x1c\x85\xA0\u2003x"s;
  for (std::size_t size = 2; size <= words.size(); ++size) {
    for (std::size_t at = 0; at + 1 < size; ++at) {
      std::u32string docstring = words.substr(0, size);
      for (const char32_t first : specials) {
        for (const char32_t second : specials) {
          docstring[at] = first;
          docstring[at + 1] = second;
          const Text text = models::text_of(docstring);
          ASSERT_EQ(models::code_points_of(first_sentence(text).value_or(Text())),
                    models::first_sentence(docstring))
              << text.utf8();
        }
      }
    }
  }
}

// Around the limit: the characters after the 160th determine whether the text is cut.
TEST(Cuts, FirstSentencesOfLongWords) {
  const std::u32string ends[] = {U"",    U"w",  U"www",   U" ",        U" w",   U".",
                                 U". w", U".w", U".  \n", U" n. Next", U" w w", U" www"};
  for (const char32_t character : {U'w', U'\xE9', U'\u0151', U'\U00010151'}) {
    for (std::size_t size = 155; size <= 165; ++size) {
      for (const std::u32string& end : ends) {
        const std::u32string docstring = std::u32string(size, character) + end;
        const Text text = models::text_of(docstring);
        ASSERT_EQ(models::code_points_of(first_sentence(text).value_or(Text())),
                  models::first_sentence(docstring))
            << text.utf8();
      }
    }
  }
}

}  // namespace
}  // namespace mcp_responses
