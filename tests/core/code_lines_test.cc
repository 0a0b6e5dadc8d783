#include "code_lines.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "models/collisions.h"
#include "models/link_tree.h"
#include "models/random_input.h"
#include "values.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

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
