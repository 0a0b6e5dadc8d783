#include "ask_response.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "shaped.h"
#include "values.h"

namespace mcp_responses {
namespace {

Value cite(const char* path, int line) {
  return Shaped{"path"_key = Text(path), "line_start"_key = line};
}

/// Parts of one another: a later one may hold earlier ones, so the last goes first.
struct Parts : std::vector<std::unique_ptr<Foreign>> {
  Parts() = default;
  Parts(const Parts&) = delete;
  Parts& operator=(const Parts&) = delete;
  ~Parts() {
    while (!empty()) pop_back();
  }
};

// What a host holds is opened once and measured once at most, however many steps the fitting takes.
TEST(AskResponse, EachPartIsMeasuredOnceWhateverTheNumberOfSteps) {
  Parts parts;
  const auto held = [&parts](const Value& content) {
    return parts.emplace_back(std::make_unique<Foreign>(content))->handle();
  };
  std::string words;
  for (int i = 0; i < 100; ++i) words += "word ";
  const Text excerpt(words);
  List sections;
  List extra;
  for (int i = 0; i < 200; ++i) {
    const List cited{held(cite("same.py", i % 7)), held(cite("own.py", i))};
    sections.append(held(Shaped{"excerpt"_key = excerpt, "citations"_key = cited}));
    extra.append(held(cite("extra.py", i)));
  }
  AskAnswer answer{.mode = "m"_t, .query = "q"_t, .answer = "a"_t, .sections = sections};
  answer.citations = extra;
  answer.code = held(Shaped{"k"_key = List{Text(std::string(5000, 'z'))}});
  answer.memories = held(Shaped{"k"_key = List{Text(std::string(5000, 'y'))}});
  for (const int budget : {100'000, 30'000, 3'000, 2'000, 300, 0}) {
    for (auto& part : parts) part->opened = 0;
    answer.token_budget = budget;
    tool_result_text(build_wiki_ask_response(answer));
    for (auto& part : parts) {
      EXPECT_LE(part->opened, 2) << budget << ": to be measured and written";
    }
  }
}

}  // namespace
}  // namespace mcp_responses
