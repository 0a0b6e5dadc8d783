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

TEST(LineFinder, LineBreaksAtEachPositionInABlock) {
  for (const std::string_view piece : models::breaks_and_similar) {
    for (std::size_t before = 55; before <= 140; ++before) {
      for (const std::size_t after : {0U, 1U, 2U, 63U, 64U, 65U, 130U}) {
        const std::string file =
            std::string(before, 'a').append(piece).append(after, 'b') + "\n1\n2\n3";
        for (std::size_t step = 1; step <= 5; ++step) {
          ASSERT_EQ(models::wrong_line(file, before % 3 == 0 ? 1 : 100, step), 0U)
              << testing::PrintToString(file);
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
    ASSERT_EQ(models::wrong_line(long_lines(choices), 1 + seed * 37 % 9000, 1 + seed % 2), 0U)
        << "seed " << seed;
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
