#include "line_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

#include "models/random_input.h"
#include "models/slow_lines.h"

namespace mcp_responses {
namespace {

/// Finds every `step`-th line and compares it with the model's.
void expect_lines_as_in_model(const std::string& file, std::size_t piece_size, std::size_t step,
                              const std::string& label) {
  const auto lines = models::split_lines(models::decoded(file));
  LineFinder finder(models::in_pieces(file, piece_size));
  for (std::size_t number = step; number <= lines.size(); number += step) {
    const auto line = finder.find(static_cast<std::int64_t>(number));
    ASSERT_TRUE(line) << label << ": line " << number;
    ASSERT_EQ(models::code_points_of(*line), models::displayed_line(lines[number - 1]))
        << label << ": line " << number;
  }
  ASSERT_FALSE(finder.find(static_cast<std::int64_t>(lines.size() + step))) << label;
}

TEST(LineFinder, LineBreaksAtEachPositionInABlock) {
  for (const std::string_view piece : models::breaks_and_similar) {
    for (std::size_t before = 55; before <= 140; ++before) {
      for (const std::size_t after : {0U, 1U, 2U, 63U, 64U, 65U, 130U}) {
        const std::string file =
            std::string(before, 'a').append(piece).append(after, 'b') + "\n1\n2\n3";
        for (std::size_t step = 1; step <= 5; ++step) {
          expect_lines_as_in_model(file, before % 3 == 0 ? 1 : 100, step,
                                   testing::PrintToString(file));
        }
      }
    }
  }
}

/// Lines of several kilobytes: white space, characters of all sizes, and ill-formed bytes.
std::string long_lines(models::Choices& choices) {
  std::string file;
  while (!choices.used_up()) {
    const std::string_view piece = choices.one_of<std::string_view>(
        {" ", "\t", "\u3000", "\u2003", "x", "é", "漢", "😀", "\x80", "\xF0\x9F\x98", "\n", "\r\n"});
    const std::size_t max_count = choices.below(4) == 0 ? 9000 : 300;
    const bool is_break = piece.back() == '\n';
    for (std::size_t count = is_break ? 1 : choices.below(max_count); count > 0; --count)
      file += piece;
  }
  return file;
}

TEST(LineFinder, LongLinesReadInPieces) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    std::mt19937_64 random(seed);
    std::string bytes(120, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    models::Choices choices(bytes);
    expect_lines_as_in_model(long_lines(choices), 1 + seed * 37 % 9000, 1 + seed % 2,
                             "seed " + std::to_string(seed));
  }
}

TEST(LineFinder, LinesAreStrippedBeforeTheyAreCut) {
  const std::string nines(199, '9');
  const std::string spaces(500, ' ');
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {" \t\u3000 ", ""},
      {"    return x   ", "return x"},
      {"\ufeffx", "\ufeffx"},
      {spaces + nines + "9" + spaces, nines + "9"},
      {nines + "99", nines + "…"},
      {nines + " 9", nines + "…"},
      {nines.substr(1) + "  9", nines.substr(1) + "…"},
      {nines + "9" + spaces + "9", nines + "…"},
      {std::string(100, '9') + spaces + "9", std::string(100, '9') + "…"},
      {"\xFF\xE2\x80", "\ufffd\ufffd"},
      {std::string(200'000, ' '), ""},
      {std::string(200'000, ' ') + "9", "9"},
      {"9" + std::string(200'000, ' '), "9"},
  };
  for (const auto& [line, text] : rows) {
    for (const std::string_view end : {"", "\n", "\r\n", "\u2028"}) {
      if (line.empty() && end.empty()) continue;
      LineFinder finder(
          models::in_pieces(std::string("first\n") + line + std::string(end), 70'000));
      const auto found = finder.find(2);
      ASSERT_TRUE(found) << line;
      EXPECT_EQ(found->utf8(), text) << line;
      EXPECT_FALSE(finder.find(3)) << line;
    }
  }
}

TEST(LineFinder, ReadsNoFurtherThanTheCutOfALine) {
  std::size_t bytes_read = 0;
  LineFinder finder([&](std::span<char> to) {
    if (bytes_read > 1'000'000) throw std::logic_error("read too far");
    std::fill(to.begin(), to.end(), 'x');
    bytes_read += to.size();
    return to.size();
  });
  EXPECT_EQ(finder.find(1)->utf8(), std::string(199, 'x') + "…");
  EXPECT_THROW(finder.find(2), std::logic_error);
}

}  // namespace
}  // namespace mcp_responses
