// File names, and the work between two interruption checks. The lines are compared with plain Python in
// tests/mcp_responses/test_code_lines.py.
#include "code_lines.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "check_interrupt.h"
#include "models/link_tree.h"
#include "models/random_input.h"
#include "values.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

TEST(CodeLines, APathIsEncodedAsAFileName) {
  EXPECT_EQ(file_name(models::text_of({U'a', U'é', 0xDC80, 0xDCFF, U'😀'})), "aé\x80\xFF😀");
  EXPECT_THROW(file_name(models::text_of({U'a', 0})), std::invalid_argument);
  for (const char32_t surrogate : {0xD800U, 0xDC7FU, 0xDD00U, 0xDFFFU}) {
    EXPECT_THROW(file_name(models::text_of({surrogate})), SurrogateError);
  }
}

/// Calls of the interruption check in each phase of a call.
struct Checks {
  std::size_t grouping = 0;
  std::size_t reading = 0;
  std::size_t collecting = 0;
};

Checks checks_of(const std::string& root, const std::vector<Place>& places) {
  Checks checks;
  std::size_t* phase = &checks.grouping;
  const CheckInterrupt check = [&phase] { ++*phase; };
  const InterruptScope scope(check);
  const WorkTree tree(root);
  std::vector<FileLines> files = grouped_by_file(places);
  for (FileLines& file : files) file.name = file_name(file.path);
  phase = &checks.reading;
  read_lines(tree, files);
  std::size_t all = 0;
  phase = &all;
  code_lines(tree, places);
  checks.collecting = all - checks.grouping - checks.reading;
  return checks;
}

std::size_t checks_while_grouping(const std::vector<Text>& paths, std::size_t count) {
  std::vector<Place> places;
  for (std::size_t i = 0; i < count; ++i) places.push_back({paths[i % paths.size()], 1});
  return checks_of("/", places).grouping;
}

TEST(CodeLines, InterruptionsAreCheckedWhilePathsAreCompared) {
  const std::string megabyte(1 << 20, 'x');
  const Text path(megabyte);
  EXPECT_LE(checks_while_grouping({path}, 10'000), 3U) << "one text is not compared with itself";
  EXPECT_GE(checks_while_grouping({path, Text(megabyte)}, 1000), 499U) << "equal texts";
  EXPECT_GE(checks_while_grouping({path, Text("y")}, 200'000), 6U) << "texts of different sizes";
  EXPECT_GE(checks_while_grouping({Text("x")}, 200'000), 3U) << "many places";
}

// Paths come from untrusted sources: no choice of them may make grouping quadratic.
TEST(CodeLines, GroupingPathsTakesNLogNWork) {
  const auto checks = [](std::size_t count) {
    std::vector<Text> paths;
    for (std::size_t i = 0; i < count; ++i)
      paths.push_back(Text(std::string(995, 'x') + std::to_string(10'000 + i)));
    return checks_while_grouping(paths, count);
  };
  const std::size_t checks_of_4000 = checks(4000);
  EXPECT_GT(checks_of_4000, 20U);
  EXPECT_LT(checks(16'000), 6 * checks_of_4000);
}

TEST(CodeLines, InterruptionsAreCheckedInEachPhaseAfterwards) {
  const models::LinkTree tree;
  std::ofstream(tree.root() + "/lines") << std::string(1'000'000, '\n');
  std::ofstream(tree.root() + "/line") << std::string(10'000'000, 'x');
  std::vector<Place> places;
  for (std::int64_t i = 1; i <= 1'000'000; ++i) places.push_back({"gone"_t, i * 7919 % 1'000'003});
  EXPECT_GE(checks_of(tree.root(), places).reading, 10U) << "sorting";
  EXPECT_GE(checks_of(tree.root(), {{"line"_t, 2}}).reading, 10'000'000U >> 18) << "reading";
  std::string path;
  for (int i = 0; i < 1000; ++i) path += "gone/";
  EXPECT_GE(checks_of(tree.root(), {{Text(path), 1}}).reading, 15U) << "resolving";
  for (Place& place : places) place.path = "lines"_t;
  EXPECT_GE(checks_of(tree.root(), places).collecting, 30U) << "collecting";
}

}  // namespace
}  // namespace mcp_responses
