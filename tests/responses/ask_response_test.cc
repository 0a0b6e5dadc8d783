#include "ask_response.h"

#include <gtest/gtest.h>

#include <forward_list>
#include <limits>
#include <string>
#include <utility>

#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value cite(const char* path, int line) {
  return StaticObject{"path"_key = Text(path), "line_start"_key = line};
}

Value filled(std::size_t size, char filling = 'z') { return Text(std::string(size, filling)); }

TEST(AskResponse, HasTheseMembersInThisOrder) {
  const Value section =
      StaticObject{"excerpt"_key = List{7}, "stale"_key = 0,     "similarity"_key = 0.5,
                   "heading"_key = "H"_t,   "title"_key = "T"_t, "page_id"_key = "P"_t};
  const AskAnswer answer{.mode = 1,
                         .query = 2,
                         .answer = 3,
                         .sections = List{section},
                         .model = 5,
                         .tokens = 6,
                         .note = ""_t,
                         .decisions = false,
                         .code = 7,
                         .memories = 8};
  EXPECT_EQ(written(build_wiki_ask_response(answer)),
            R"({"mode":1,"query":2,"answer":3,"sections":[{"page_id":"P","title":"T",)"
            R"("heading":"H","similarity":0.5,"stale":false,"excerpt":"[7]"}],"citations":[],)"
            R"("model":5,"tokens":6,"note":"","decisions":false,"code":7,"memories":8})");
}

/// The lengths of the excerpts shown, what is attached, and the bytes of the whole.
std::string outline(const Object& answer) {
  const List rows = *answer.get("sections"_key).list();
  std::string text;
  for (const Value& row : rows)
    text += std::to_string(row.object()->get("excerpt"_key).text()->size()) + " ";
  if (answer.contains("code"_key)) text += "code ";
  if (answer.contains("memories"_key)) text += "memories ";
  return text + std::to_string(_encoded_size(answer));
}

// The budgets at which something just fits, and those one below.
TEST(AskResponse, GivesWayInOrderAndNoFurtherThanItMust) {
  AskAnswer answer{.mode = "m"_t, .query = "question"_t};
  answer.sections =
      List{StaticObject{"title"_key = "abcde"_t, "excerpt"_key = filled(1300)},
           StaticObject{"excerpt"_key = filled(201, '"')}, StaticObject{"excerpt"_key = filled(4)}};
  answer.code = filled(200);
  answer.memories = filled(198);
  const std::pair<Value, const char*> rows[] = {
      {{}, "1200 201 4 code memories 2376"},
      {std::numeric_limits<std::int64_t>::max(), "1200 201 4 code memories 2376"},
      {643, "1200 201 4 code memories 2376"},
      {642, "1200 189 4 code memories 2353"},
      {593, "1200 0 4 code memories 1974"},
      {592, "1190 0 4 code memories 1964"},
      {342, "190 0 4 code memories 964"},
      {341, "476 0 code memories 1156"},
      {124, "code memories 496"},
      {123, "code 284"},
      {71, "code 284"},
      {70, "74"},
      {true, "74"},
      {std::numeric_limits<std::int64_t>::min(), "74"},
  };
  for (const auto& [budget, expected] : rows) {
    answer.token_budget = budget;
    EXPECT_EQ(outline(build_wiki_ask_response(answer)), expected) << written(budget);
  }
}

// What a host holds is opened once to be measured, however many steps the fitting takes.
TEST(AskResponse, EachPartIsMeasuredOnceWhateverTheNumberOfSteps) {
  // The latest stands first and is destroyed first: it may hold earlier ones.
  std::forward_list<Foreign> parts;
  const auto held = [&](const Value& content) { return parts.emplace_front(content).handle(); };
  List sections;
  List extra;
  for (int i = 0; i < 200; ++i) {
    const List cited{held(cite("same.py", i % 7)), held(cite("own.py", i))};
    sections.append(held(StaticObject{"excerpt"_key = filled(500), "citations"_key = cited}));
    extra.append(held(cite("extra.py", i)));
  }
  AskAnswer answer{.mode = "m"_t, .query = "q"_t, .answer = "a"_t, .sections = sections};
  answer.citations = extra;
  answer.code = held(StaticObject{"k"_key = List{filled(5000)}});
  answer.memories = held(StaticObject{"k"_key = List{filled(5000)}});
  for (const int budget : {100'000, 30'000, 3'000, 2'000, 300, 0}) {
    for (Foreign& part : parts) part.materialized = 0;
    answer.token_budget = budget;
    tool_result_text(build_wiki_ask_response(answer));
    for (const Foreign& part : parts)
      EXPECT_LE(part.materialized, 2) << budget << ": to be measured and written";
  }
}

}  // namespace
}  // namespace mcp_responses
