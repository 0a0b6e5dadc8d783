#include "ask_citations.h"

#include <gtest/gtest.h>

#include <cmath>

#include "errors.h"
#include "shaped.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value at(const Value& path, const Value& line = {}) {
  return Shaped{"path"_key = path, "line_start"_key = line};
}

/// Citations of lines `first` to `last` of one file.
List lines(const Value& path, int first, int last) {
  List citations;
  for (int line = first; line <= last; ++line) citations.append(at(path, line));
  return citations;
}

Value section(const Value& citations) {
  return Shaped{"title"_key = "T"_t, "citations"_key = citations};
}

/// Each citation as its path and line.
std::string places(const List& citations) {
  std::string text;
  for (const Value& citation : citations) {
    text += citation.object()->get("path"_key).text().value_or("-"_t).utf8() +
            written(citation.object()->get("line_start"_key)) + " ";
  }
  return text;
}

TEST(AskCitations, WhichOnesAndInWhichOrder) {
  const Value a = "a"_t;
  const Value b = "b"_t;
  List eight;
  std::string twenty_four;
  for (int i = 1; i <= 8; ++i) {
    eight.append(section(lines(a, 10 * i, 10 * i + 4)));
    twenty_four += places(lines(a, 10 * i, 10 * i + 2));
  }
  List nine = eight;
  nine.append(section(lines(b, 1, 3)));
  struct Row {
    const char* name;
    List sections;
    List extra;
    std::string places;
  };
  const Row rows[] = {
      {"nothing", {}, {}, ""},
      {"sections without any",
       {Object(), section(Value()), section(List()), section(false)},
       lines(b, 1, 2),
       "b1 b2 "},
      {"the first three of a section", {section(lines(a, 1, 5))}, lines(b, 1, 1), "a1 a2 a3 b1 "},
      {"a section that repeats another, its fourth never seen",
       {section(lines(a, 1, 3)), section(lines(a, 1, 4))},
       lines(a, 3, 4),
       "a1 a2 a3 a4 "},
      {"extra repeats itself", {}, {at(b, 1), at(b, 2), at(b, 1), at(b, 1), at(b, 3)}, "b1 b2 b3 "},
      {"extra repeats a section and itself",
       {section(lines(a, 1, 1))},
       {at(a, 1), at(b, 1), at(a, 1), at(b, 1)},
       "a1 b1 "},
      {"numbers by value",
       {section(List{at(a, 10), at(a, 10.0), at(a, 10.5)})},
       {at(a, true), at(a, 1), at(a, 1.0)},
       "a10 a10.5 atrue "},
      {"numbers exactly",
       {},
       {at(a, (std::int64_t{1} << 53) + 1), at(a, 9007199254740992.0)},
       "a9007199254740993 a9007199254740992.0 "},
      {"absent is null, and no zero",
       {},
       {at(a), Shaped{"path"_key = a}, Object{}, at(Value()), at(a, 0)},
       "anull -null a0 "},
      {"eight sections fill it", eight, lines(b, 1, 3), twenty_four},
      {"the ninth finds no room", nine, {}, twenty_four},
      {"extra fills it",
       {section(lines(a, 1, 3))},
       lines(b, 1, 30),
       "a1 a2 a3 " + places(lines(b, 1, 21))},
  };
  for (const auto& [name, sections, extra, expected] : rows) {
    EXPECT_EQ(places(_ask_citations(sections, extra)), expected) << name;
  }
  EXPECT_EQ(_ask_citations({}, {at(a, std::nan("")), at(a, std::nan(""))}).size(), 2U);
}

TEST(AskCitations, TheFirstOfAPlaceStaysWhole) {
  const Value first = Shaped{"why"_key = "first"_t, "line_end"_key = 2, "path"_key = "a"_t};
  const Value second = Shaped{"path"_key = "a"_t, "line_end"_key = 2.0, "why"_key = "second"_t};
  const Value other = Shaped{"path"_key = "a"_t, "line_end"_key = 3, "why"_key = "third"_t};
  EXPECT_EQ(written(_ask_citations({section(List{first})}, {second, other})),
            written(List{first, other}));
}

TEST(AskCitations, ListsForFewerSectionsLetOthersIn) {
  const List sections{*section(lines("a"_t, 1, 2)).object(), *section(lines("b"_t, 1, 2)).object()};
  List extra = lines("b"_t, 2, 3);
  extra.extend(lines("a"_t, 2, 2));
  CitationLists lists(sections, extra, "extra");
  for (const auto& [kept, expected] :
       {std::pair{2U, "a1 a2 b1 b2 b3 "}, {0U, "b2 b3 a2 "}, {1U, "a1 a2 b2 b3 "}}) {
    EXPECT_EQ(places(lists.for_first(kept)), expected) << kept;
    EXPECT_EQ(lists.size_for_first(kept) + 2,
              static_cast<std::int64_t>(written(lists.for_first(kept)).size()))
        << kept;
  }
}

// What is not looked at may be anything: the fourth of a section, and all that comes once the list
// is full.
TEST(AskCitations, OnlyWhatIsLookedAtMustBeRight) {
  List full;
  for (int i = 0; i < 8; ++i) full.append(section(lines("a"_t, 3 * i, 3 * i + 2)));
  List full_and_wrong = full;
  full_and_wrong.append(section(List{1}));
  List four = lines("a"_t, 1, 3);
  four.append("wrong"_t);
  EXPECT_EQ(_ask_citations(full_and_wrong, {"wrong"_t}).size(), 24U);
  EXPECT_EQ(_ask_citations({section(four)}, {}).size(), 3U);

  List full_and_no_list = full;
  full_and_no_list.append(section(1));
  const std::pair<List, List> failing[] = {
      {full_and_no_list, {}},         {{"wrong"_t}, {}},          {{section("wrong"_t)}, {}},
      {{section(List{Value()})}, {}}, {{}, {at("a"_t), Value()}}, {{}, {at(List())}},
      {{}, {at("a"_t, Object())}}};
  for (const auto& [sections, extra] : failing) {
    EXPECT_THROW(_ask_citations(sections, extra), KindError) << written(sections) << written(extra);
  }
}

}  // namespace
}  // namespace mcp_responses
