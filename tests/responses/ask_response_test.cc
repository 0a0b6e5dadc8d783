#include "ask_response.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "keys.h"
#include "values.h"

namespace mcp_responses {
namespace {

AskAnswer question(List sections = {}) {
  return {.mode = "m"_t, .query = "q"_t, .answer = "a"_t, .sections = std::move(sections)};
}

std::string ask(AskAnswer answer, const Value& token_budget) {
  answer.token_budget = token_budget;
  return written(build_wiki_ask_response(std::move(answer)));
}

/// The words "w000" up to below "w<count>".
std::string words(int count) {
  std::string text;
  for (int i = 0; i < count; ++i)
    text += (i == 0 ? "w" : " w") + std::to_string(1000 + i).substr(1);
  return text;
}

Value cite(const char* path, int line) {
  return Shaped{"path"_key = Text(path), "line_start"_key = line, "line_end"_key = line};
}

Value section(const char* number, const std::string& excerpt, const List& citations) {
  return Shaped{"page_id"_key = Text(std::string("p") + number),
                "title"_key = Text(std::string("T") + number),
                "heading"_key = Text(std::string("H") + number), "excerpt"_key = Text(excerpt),
                "citations"_key = citations};
}

List two_sections(const std::string& second_excerpt) {
  return {section("1", words(100), {cite("f1.py", 1), cite("f1.py", 2)}),
          section("2", second_excerpt, {cite("f2.py", 3)})};
}

/// The whole answer to `question` with these excerpts, written by hand.
std::string answer_with(const std::vector<std::string>& excerpts) {
  std::string rows;
  for (std::size_t i = 0; i < excerpts.size(); ++i) {
    const std::string n = std::to_string(i + 1);
    rows += (i == 0 ? "" : ",") + std::string(R"({"page_id":"p)") + n + R"(","title":"T)" + n +
            R"(","heading":"H)" + n + R"(","similarity":null,"stale":false,"excerpt":")" +
            excerpts[i] + "\"}";
  }
  std::string citations;
  if (!excerpts.empty()) {
    citations =
        R"({"path":"f1.py","line_start":1,"line_end":1},{"path":"f1.py","line_start":2,"line_end":2})";
  }
  if (excerpts.size() > 1) citations += R"(,{"path":"f2.py","line_start":3,"line_end":3})";
  return R"({"mode":"m","query":"q","answer":"a","sections":[)" + rows + R"(],"citations":[)" +
         citations + "]}";
}

TEST(AskResponse, GivesWayStepByStep) {
  struct Row {
    Value budget;
    std::string second_excerpt;
    std::size_t size;
    std::vector<std::string> excerpts;
  };
  const std::string all = words(100);
  const Row rows[] = {
      {Value(), all, 1377, {all, all}},
      {400, all, 1377, {all, all}},
      {344, all, 1365, {all, words(97) + "…"}},
      {300, all, 1190, {all, words(62) + "…"}},
      {250, all, 993, {words(82) + "…", words(40) + "…"}},
      {150, all, 591, {words(69) + "…"}},
      {111, all, 436, {words(38) + "…"}},
      {110, all, 66, {}},
      {0, all, 66, {}},
      {-1, all, 66, {}},
      {Value(), "x", 879, {all, "x"}},
      {320, "x", 879, {all, "x"}},
      {220, "x", 672, {words(58) + "…", "x"}},
  };
  for (const auto& [budget, second_excerpt, size, excerpts] : rows) {
    const std::string answer = ask(question(two_sections(second_excerpt)), budget);
    EXPECT_EQ(answer, answer_with(excerpts)) << written(budget);
    EXPECT_EQ(answer.size(), size) << written(budget);
  }
}

TEST(AskResponse, MemoriesGoBeforeCode) {
  AskAnswer answer = question();
  answer.code = Shaped{"k"_key = Text(std::string(300, 'z'))};
  answer.memories = Shaped{"k"_key = Text(std::string(300, 'y'))};
  const std::pair<int, std::size_t> rows[] = {
      {176, 702}, {175, 382}, {96, 382}, {95, 66}, {-5, 66}};
  for (const auto& [budget, size] : rows) {
    const std::string text = ask(answer, budget);
    EXPECT_EQ(text.size(), size) << budget;
    EXPECT_EQ(text.find("zzz") != text.npos, size > 66) << budget;
    EXPECT_EQ(text.find("yyy") != text.npos, size > 382) << budget;
  }
}

TEST(AskResponse, ABudgetAtTheEndsOfItsRangeDoesNotWrap) {
  const List sections = two_sections(words(100));
  const auto least = std::numeric_limits<std::int64_t>::min();
  const auto most = std::numeric_limits<std::int64_t>::max();
  for (const std::int64_t budget :
       {most, most - 1, most / 4, most / 4 + 1, most / 2, std::int64_t{1} << 62}) {
    EXPECT_EQ(ask(question(sections), budget), ask(question(sections), Value())) << budget;
  }
  for (const std::int64_t budget :
       {least, least + 1, least / 4, least / 4 - 1, -(std::int64_t{1} << 62)}) {
    EXPECT_EQ(ask(question(sections), budget), answer_with({})) << budget;
  }
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
  List sections;
  List extra;
  for (int i = 0; i < 200; ++i) {
    const List cited{held(cite("same.py", i % 7)), held(cite("own.py", i))};
    sections.append(held(section("1", words(100), cited)));
    extra.append(held(cite("extra.py", i)));
  }
  AskAnswer answer = question(sections);
  answer.citations = extra;
  answer.code = held(Shaped{"k"_key = List{Text(std::string(5000, 'z'))}});
  answer.memories = held(Shaped{"k"_key = List{Text(std::string(5000, 'y'))}});
  for (const int budget : {100'000, 30'000, 3'000, 2'000, 300, 0}) {
    for (auto& part : parts) part->opened = part->measured = 0;
    ask(answer, budget);
    for (auto& part : parts) {
      EXPECT_LE(part->measured, 1) << budget;
      EXPECT_LE(part->opened, 2) << budget << ": by the builder, and by the encoder for the text";
    }
  }
}

}  // namespace
}  // namespace mcp_responses
