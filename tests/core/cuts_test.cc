// Examples. fuzz_cuts compares random texts with the model.
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
      {"alpha beta gamma"_t, 12, "alpha beta…", "alpha beta…"},
      {"abcde fghijkl"_t, 10, "abcde fgh…", "abcde…"},
      {"abc defgh"_t, 7, "abc de…", "abc…"},
      {"abcd\tefghijkl"_t, 10, "abcd\tefgh…", "abcd\tefgh…"},
      {" bc"_t, 2, "…", "…"},
  };
  for (const auto& [text, chars, hard, soft] : rows) {
    EXPECT_EQ(cut(text, chars).utf8(), hard) << text.utf8();
    EXPECT_EQ(trimmed(text, chars).utf8(), soft) << text.utf8();
  }
  const Text text = "abc"_t;
  EXPECT_EQ(cut(text, 3).payload().pointer, text.payload().pointer)
      << "a text that fits is not copied";
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

}  // namespace
}  // namespace mcp_responses
