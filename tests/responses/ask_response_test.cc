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

/// The lengths of the excerpts, the optional members, and the size of the answer.
std::string outline(const Object& answer) {
  const List rows = *answer.get("sections"_key).list();
  std::string text;
  for (const Value& row : rows)
    text += std::to_string(row.object()->get("excerpt"_key).text()->size()) + " ";
  if (answer.contains("code"_key)) text += "code ";
  if (answer.contains("memories"_key)) text += "memories ";
  return text + std::to_string(_encoded_size(answer));
}

// Budgets that just fit an answer, and those that are smaller by one.
TEST(AskResponse, FitsABudgetWithTheLeastLoss) {
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

// A foreign container is materialized once to be measured, for any number of steps.
TEST(AskResponse, EachPartIsMeasuredOnce) {
  // Destroyed from the first to the last: a later one, at the front, may contain earlier ones.
  std::forward_list<Foreign> parts;
  const auto foreign = [&](const Value& content) { return parts.emplace_front(content).handle(); };
  List sections;
  List extra;
  for (int i = 0; i < 200; ++i) {
    const List cited{foreign(cite("same.py", i % 7)), foreign(cite("own.py", i))};
    sections.append(foreign(StaticObject{"excerpt"_key = filled(500), "citations"_key = cited}));
    extra.append(foreign(cite("extra.py", i)));
  }
  AskAnswer answer{.mode = "m"_t, .query = "q"_t, .answer = "a"_t, .sections = sections};
  answer.citations = extra;
  answer.code = foreign(StaticObject{"k"_key = List{filled(5000)}});
  answer.memories = foreign(StaticObject{"k"_key = List{filled(5000)}});
  for (const int budget : {100'000, 30'000, 3'000, 2'000, 300, 0}) {
    for (Foreign& part : parts) part.materialized = 0;
    answer.token_budget = budget;
    tool_result_text(build_wiki_ask_response(answer));
    for (const Foreign& part : parts)
      EXPECT_LE(part.materialized, 2) << budget << ": once to be measured, once to be written";
  }
}

}  // namespace
}  // namespace mcp_responses
