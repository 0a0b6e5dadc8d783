// Citations at places that Python's random input does not reach, and errors of C++ callers. The
// selection is tested in tests/mcp_responses/test_answers.py.
#include "ask_citations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "errors.h"
#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value at(const Value& line, const Value& path = "a"_t) {
  return StaticObject{"path"_key = path, "line_start"_key = line};
}

Value section(const Value& citations) { return StaticObject{"citations"_key = citations}; }

/// The line of each citation.
std::string lines(const List& citations) {
  std::string text;
  for (const Value& citation : citations) text += written(citation.get("line_start"_key)) + " ";
  return text;
}

TEST(AskCitations, LinesAreComparedExactly) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<List, const char*> rows[] = {
      {{at(10), at(10.0), at(10.5), at(true), at(1), at(1.0)}, "10 10.5 true "},
      {{at((std::int64_t{1} << 53) + 1), at(std::int64_t{1} << 53), at(9007199254740992.0)},
       "9007199254740993 9007199254740992 "},
      {{at(most), at(9223372036854775808.0), at(-9223372036854775808.0), at(-most - 1)},
       "9223372036854775807 9.223372036854776e+18 -9.223372036854776e+18 "},
      {{at(infinity), at(-infinity), at(infinity), at(-0.0), at(0)}, "Infinity -Infinity -0.0 "},
      {{at(nan), at(2), at(nan), at(1, nan), at(2), at(1, nan)}, "NaN 2 NaN 1 1 "},
      {{at({}), StaticObject{"path"_key = "a"_t}, at(0), at({}, {}), Object()}, "null 0 null "},
  };
  for (const auto& [citations, expected] : rows)
    EXPECT_EQ(lines(ask_citations({}, citations)), expected);
}

// Citations that cannot be selected are not inspected: the fourth of a section, and all after the
// list is full.
TEST(AskCitations, OnlyInspectedCitationsMustBeValid) {
  const auto sections_then = [](const Value& citations) {
    List sections;
    for (int i = 0; i < 8; ++i)
      sections.append(section(List{at(3 * i), at(3 * i + 1), at(3 * i + 2), "wrong"_t}));
    sections.append(section(citations));
    return sections;
  };
  EXPECT_EQ(ask_citations(sections_then(List{"wrong"_t}), List{"wrong"_t}).size(), 24U);
  EXPECT_THROW(ask_citations(sections_then(1), {}), KindError);
  EXPECT_THROW(ask_citations(List{"wrong"_t}, {}), KindError);
  for (const Value& place : {Value(List()), Value(Object()), Value(List{1})})
    EXPECT_THROW(ask_citations({}, List{at(place)}), KindError) << written(place);
}

}  // namespace
}  // namespace mcp_responses
