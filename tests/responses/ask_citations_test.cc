#include "ask_citations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "errors.h"
#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value at(const Value& path, const Value& line = {}) {
  return StaticObject{"path"_key = path, "line_start"_key = line};
}

/// Citations of lines `first` to `last` of one file.
List lines(const Value& path, int first, int last) {
  List citations;
  for (int line = first; line <= last; ++line) citations.append(at(path, line));
  return citations;
}

Value section(const Value& citations) { return StaticObject{"citations"_key = citations}; }

/// Each citation as its path and line.
std::string places(const List& citations) {
  std::string text;
  for (const Value& citation : citations) {
    text += citation.object()->get("path"_key).text().value_or("-"_t).utf8() +
            written(citation.object()->get("line_start"_key)) + " ";
  }
  return text;
}

/// Eight sections of five citations. The first three of each fill the list.
List eight_sections() {
  List sections;
  for (int i = 1; i <= 8; ++i) sections.append(section(lines("a"_t, 10 * i, 10 * i + 4)));
  return sections;
}

TEST(AskCitations, SelectionAndOrder) {
  const Value a = "a"_t;
  const Value b = "b"_t;
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  List nine = eight_sections();
  nine.append(section(lines(b, 1, 3)));
  std::string twenty_four;
  for (int i = 1; i <= 8; ++i) twenty_four += places(lines(a, 10 * i, 10 * i + 2));
  struct Row {
    const char* name;
    List sections;
    List extra;
    std::string places;
  };
  const Row rows[] = {
      {"none", {Object(), section({}), section(List()), section(false)}, List{at(b, 1)}, "b1 "},
      {"repeated",
       {section(lines(a, 1, 3)), section(lines(a, 1, 4))},
       lines(a, 3, 4),
       "a1 a2 a3 a4 "},
      {"extra repeats",
       List{section(lines(a, 1, 1))},
       {at(a, 1), at(b, 1), at(a, 1), at(b, 1), at(b, 3)},
       "a1 b1 b3 "},
      {"numbers by value",
       List{section(List{at(a, 10), at(a, 10.0), at(a, 10.5)})},
       {at(a, true), at(a, 1), at(a, 1.0)},
       "a10 a10.5 atrue "},
      {"numbers exactly",
       {},
       {at(a, (std::int64_t{1} << 53) + 1), at(a, 9007199254740992.0), at(a, std::int64_t{1} << 53),
        at(a, most), at(a, 9223372036854775808.0), at(a, -9223372036854775808.0), at(a, -most - 1)},
       "a9007199254740993 a9007199254740992.0 a9223372036854775807 a9.223372036854776e+18 "
       "a-9.223372036854776e+18 "},
      {"infinities, and zero with a sign",
       {},
       {at(a, infinity), at(a, -infinity), at(a, infinity), at(a, -0.0), at(a, 0)},
       "aInfinity a-Infinity a-0.0 "},
      {"NaN equals nothing, and other places stay distinct",
       List{section(List{at(a, 1), at(a, nan), at(a, nan)})},
       {at(a, nan), at(a, 2), at(a, 0.5), at(nan, 1), at(a, 2), at(a, 1), at(nan, 1)},
       "a1 aNaN aNaN aNaN a2 a0.5 -1 -1 "},
      {"a missing key equals null, not zero",
       {},
       {at(a), StaticObject{"path"_key = a}, Object{}, at(Value()), at(a, 0)},
       "anull -null a0 "},
      {"eight fill it", eight_sections(), lines(b, 1, 3), twenty_four},
      {"a ninth section adds none", nine, {}, twenty_four},
      {"extra fills it", List{section(lines(a, 1, 3))}, lines(b, 1, 30),
       "a1 a2 a3 " + places(lines(b, 1, 21))},
  };
  for (const auto& [name, sections, extra, expected] : rows) {
    EXPECT_EQ(places(_ask_citations(sections, extra)), expected) << name;
  }
}

TEST(AskCitations, TheFirstOfEqualPlacesIsKeptUnchanged) {
  const Value first = StaticObject{"why"_key = "first"_t, "line_end"_key = 2, "path"_key = "a"_t};
  const Value second =
      StaticObject{"path"_key = "a"_t, "line_end"_key = 2.0, "why"_key = "second"_t};
  const Value other = StaticObject{"path"_key = "a"_t, "line_end"_key = 3, "why"_key = "third"_t};
  EXPECT_EQ(written(_ask_citations(List{section(List{first})}, {second, other})),
            written(List{first, other}));
}

TEST(AskCitations, ListsForFewerSections) {
  const List sections{section(lines("a"_t, 1, 2)), section(lines("b"_t, 1, 2))};
  CitationLists lists(sections, {at("b"_t, 2), at("b"_t, 3), at("a"_t, 2)}, "extra");
  for (const auto& [kept, expected] :
       {std::pair{2U, "a1 a2 b1 b2 b3 "}, {0U, "b2 b3 a2 "}, {1U, "a1 a2 b2 b3 "}}) {
    EXPECT_EQ(places(lists.for_first(kept)), expected) << kept;
    EXPECT_EQ(lists.size_for_first(kept) + 2, std::ssize(written(lists.for_first(kept)))) << kept;
  }
}

// Citations that cannot be selected are not inspected: the fourth of a section, and all after the
// list is full.
TEST(AskCitations, OnlyInspectedCitationsMustBeValid) {
  List full_and_wrong = eight_sections();
  full_and_wrong.append(section(List{1}));
  List four = lines("a"_t, 1, 3);
  four.append("wrong"_t);
  EXPECT_EQ(_ask_citations(full_and_wrong, List{"wrong"_t}).size(), 24U);
  EXPECT_EQ(_ask_citations(List{section(four)}, {}).size(), 3U);

  List full_and_no_list = eight_sections();
  full_and_no_list.append(section(1));
  EXPECT_THROW(_ask_citations(full_and_no_list, {}), KindError);
  EXPECT_THROW(_ask_citations(List{"wrong"_t}, {}), KindError);
  for (const Value& place : {Value(List()), Value(Object()), Value(List{1})})
    EXPECT_THROW(_ask_citations({}, List{at("a"_t, place)}), KindError) << written(place);
}

}  // namespace
}  // namespace mcp_responses
