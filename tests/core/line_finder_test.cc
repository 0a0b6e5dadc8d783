#include "line_finder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "models/random_input.h"
#include "models/slow_lines.h"

namespace mcp_responses {
namespace {

TEST(LineFinder, ABreakAtEveryPlaceAroundABlock) {
  for (const std::string_view piece : models::breaks_and_the_like) {
    for (std::size_t before = 55; before <= 140; ++before) {
      for (const std::size_t after : {0U, 1U, 2U, 63U, 64U, 65U, 130U}) {
        const std::string file =
            std::string(before, 'a').append(piece).append(after, 'b') + "\n1\n2\n3";
        const auto lines = models::split_lines(models::decoded(file));
        for (std::size_t first = 1; first <= lines.size(); ++first) {
          LineFinder finder(models::in_pieces(file, before % 3 == 0 ? 1 : 100));
          for (std::size_t number = first; number <= lines.size() + 1; ++number) {
            const auto line = finder.find(static_cast<std::int64_t>(number));
            ASSERT_EQ(line.has_value(), number <= lines.size()) << testing::PrintToString(file);
            if (!line) break;
            ASSERT_EQ(models::decoded(*line), lines[number - 1]);
          }
        }
      }
    }
  }
}

/// Lines of some pages, most of it white space, or bytes that are no characters.
std::string long_lines(models::Choices& choices) {
  std::string file;
  while (!choices.used_up()) {
    const std::string_view piece = choices.one_of<std::string_view>(
        {" ", "\t", "\u3000", "\u2003", "x", "é", "漢", "😀", "\x80", "\xF0\x9F\x98", "\n", "\r\n"});
    const std::size_t most = choices.below(4) == 0 ? 9000 : 300;
    const bool is_break = piece.back() == '\n';
    for (std::size_t count = is_break ? 1 : choices.below(most); count > 0; --count) file += piece;
  }
  return file;
}

TEST(LineFinder, OfALongLineWhatItsTextNeeds) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    std::mt19937_64 random(seed);
    std::string bytes(120, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    models::Choices choices(bytes);
    const std::string file = long_lines(choices);
    const auto lines = models::split_lines(models::decoded(file));
    LineFinder finder(models::in_pieces(file, 1 + seed * 37 % 9000));
    const std::size_t step = 1 + seed % 2;
    for (std::size_t number = step; number <= lines.size(); number += step) {
      const auto line = finder.find(static_cast<std::int64_t>(number));
      ASSERT_TRUE(line) << seed << ": " << number;
      ASSERT_EQ(models::code_points_of(code_line_text(*line)),
                models::shown_line(lines[number - 1]))
          << seed << ": " << number;
    }
    ASSERT_FALSE(finder.find(static_cast<std::int64_t>(lines.size() + step)));
  }
}

TEST(CodeLineText, IsStrippedBeforeItIsCut) {
  const std::string nines(199, '9');
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {" \t\u3000 ", ""},
      {"    return x   ", "return x"},
      {"\ufeffx", "\ufeffx"},
      {std::string(500, ' ') + nines + "9" + std::string(500, ' '), nines + "9"},
      {nines + "99", nines + "…"},
      {nines + " 9", nines + "…"},
      {nines.substr(1) + "  9", nines.substr(1) + "…"},
      {nines + "9" + std::string(500, ' ') + "9", nines + "…"},
      {std::string(100, '9') + std::string(500, ' ') + "9", std::string(100, '9') + "…"},
      {"\xFF\xE2\x80", "\ufffd\ufffd"},
  };
  for (const auto& [line, shown] : rows) {
    EXPECT_EQ(code_line_text(line).utf8(), shown) << line;
  }
}

}  // namespace
}  // namespace mcp_responses
