#include "code_lines.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "models/collisions.h"
#include "models/link_tree.h"
#include "models/random_input.h"
#include "models/slow_lines.h"
#include "values.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

TEST(CodeLines, ABreakAtEveryPlaceAroundABlock) {
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

TEST(CodeLines, OfALongLineWhatItsTextNeeds) {
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

TEST(CodeLines, ALineIsStrippedBeforeItIsCut) {
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

TEST(CodeLines, APathBecomesTheBytesOfAFileName) {
  EXPECT_EQ(file_name(models::text_of({U'a', U'é', 0xDC80, 0xDCFF, U'😀'})), "aé\x80\xFF😀");
  EXPECT_THROW(file_name(models::text_of({U'a', 0})), NulInPath);
  for (const char32_t surrogate : {0xD800U, 0xDC7FU, 0xDD00U, 0xDFFFU}) {
    EXPECT_THROW(file_name(models::text_of({surrogate})), SurrogateError);
  }
}

/// Each line as "path:number text", each file that is not read as "path!reason".
std::string found(const std::string& root, const std::vector<Place>& places, int& readings) {
  std::string report;
  CodeLinesHooks hooks;
  hooks.while_reading = [&readings](const auto& read) { ++readings, read(); };
  hooks.not_read = [&report](const Text& path, const std::string& reason) {
    report += path.utf8() + "!" + reason + "\n";
  };
  for (const auto& [place, text] : code_lines(WorkTree(root), places, hooks)) {
    report += place.path.utf8() + ":" + std::to_string(place.line) + " " + text.utf8() + "\n";
  }
  return report;
}

TEST(CodeLines, ComeFileByFileAndLineByLine) {
  const models::LinkTree tree;
  std::ofstream(tree.root() + "/long") << "one\n  two  \n\nfour\n";
  std::vector<Place> places{
      {"gone"_t, 1}, {"a.py"_t, 1}, {"out"_t, 1}, {"./a.py"_t, 1}, {"sub"_t, 1}};
  for (const std::int64_t line : {4, 2, 4, 0, -1, 5, 3}) places.push_back({"long"_t, line});
  places.push_back({"a.py"_t, std::numeric_limits<std::int64_t>::max()});
  int readings = 0;
  EXPECT_EQ(found(tree.root(), places, readings),
            "gone![Errno 2] No such file or directory: '" + tree.root() + "/gone'\n" +
                "sub![Errno 21] Is a directory: '" + tree.root() + "/sub'\n" +
                "a.py:1 root/a.py\n./a.py:1 root/a.py\nlong:2 two\nlong:3 \nlong:4 four\n");
  EXPECT_EQ(readings, 1) << "the lock is given up once a call";
}

// Paths come from outsiders: whatever they are, finding those that are the same takes its time.
TEST(CodeLines, PathsThatCollideTakeNoLonger) {
  CodeLinesHooks hooks;
  hooks.while_reading = [](const auto&) {};
  const auto look_up = [&hooks](const std::vector<Text>& paths) {
    std::vector<Place> places;
    for (const Text& path : paths) places.push_back({path, 1});
    code_lines(WorkTree("/"), places, hooks);
  };
  EXPECT_LT(models::slowdown_by_collisions(16'384, look_up), 20);
}

}  // namespace
}  // namespace mcp_responses
