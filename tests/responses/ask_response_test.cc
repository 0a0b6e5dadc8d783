// The rules of a budget are tested by fuzz_ask_response and in tests/mcp_responses/test_answers.py.
#include "ask_response.h"

#include <gtest/gtest.h>

#include <forward_list>
#include <string>

#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value cite(const char* path, int line) {
  return StaticObject{"path"_key = Text(path), "line_start"_key = line};
}

Value filled(std::size_t size) { return Text(std::string(size, 'z')); }

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
