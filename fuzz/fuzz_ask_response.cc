// The ask answer under a budget: it fits or is the least that there is, and it is the answer that
// the sections, excerpts, code and memories which are left make without a budget.
#include "ask_response.h"
#include "contract.h"
#include "encode.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

using models::Choices;

Value any(Choices& choices) { return models::any_value(choices, 1, true); }

Value any_excerpt(Choices& choices) {
  const std::u32string piece = models::any_text(choices, 40) + U' ';
  std::u32string text;
  for (std::size_t n = choices.below(40); n > 0; --n) text += piece;
  return models::text_of(text);
}

/// Of few places, so that they repeat.
List any_citations(Choices& choices, std::size_t most) {
  List citations;
  for (std::size_t n = choices.below(most + 1); n > 0; --n) {
    const auto line = static_cast<int>(choices.below(30));
    citations.append(StaticObject{"line_start"_key = line, "why"_key = any(choices)});
  }
  return citations;
}

List any_sections(Choices& choices) {
  List sections;
  for (std::size_t n = choices.below(9); n > 0; --n) {
    sections.append(StaticObject{"title"_key = any(choices), "excerpt"_key = any_excerpt(choices),
                                 "citations"_key = any_citations(choices, 5)});
  }
  return sections;
}

/// The sections that the answer shows, as they were asked, with the excerpts that it shows.
List sections_left(const List& asked, const Object& answer) {
  const List rows = *answer.get("sections"_key).list();
  List left;
  for (const Value& row : rows) {
    Object section = *asked[left.size()].object();
    const std::string whole = section.get("excerpt"_key).text()->utf8();
    section.set("excerpt"_key, row.object()->get("excerpt"_key));
    const std::string cut = section.get("excerpt"_key).text()->utf8();
    const bool is_marked = cut.ends_with("…") && whole.starts_with(cut.substr(0, cut.rfind("…")));
    contract::require(cut.empty() || cut == whole || is_marked, "no cut: " + cut);
    left.append(section);
  }
  return left;
}

void check(const AskAnswer& asked, const Object& answer, std::int64_t limit) {
  AskAnswer left = asked;
  left.sections = sections_left(*asked.sections.list(), answer);
  left.code = answer.get("code"_key);
  left.memories = answer.get("memories"_key);
  left.token_budget = {};
  const std::string text = tool_result_text(answer).utf8();
  contract::require_equal(text, tool_result_text(build_wiki_ask_response(left)).utf8(), "the text");
  const bool no_sections = !left.sections.truthy();
  const bool neither = no_sections && left.memories.is_null();
  contract::require(no_sections || left.memories == asked.memories, "memories before sections");
  contract::require(neither || left.code == asked.code, "code before memories");
  contract::require((neither && left.code.is_null()) || std::ssize(text) <= limit, "over: " + text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Choices choices(contract::bytes_of(data, size));
  const auto part = static_cast<std::int64_t>(choices.below(256));
  AskAnswer asked{.query = any(choices), .sections = any_sections(choices)};
  asked.citations = any_citations(choices, 40);
  if (choices.below(3) > 0) asked.code = any_excerpt(choices);
  if (choices.below(3) > 0) asked.memories = any_excerpt(choices);
  const Object whole = build_wiki_ask_response(asked);

  const auto whole_size =
      static_cast<std::int64_t>(_encoded_size(whole) + 200 * *asked.sections.size());
  const std::int64_t budget = whole_size * part / 240 / 4;
  asked.token_budget = budget;
  const Object answer = build_wiki_ask_response(asked);
  check(asked, answer, budget * 4);
  contract::require(budget * 4 < whole_size || Value(answer) == whole, "cut although it fits");
  return 0;
}

}  // namespace mcp_responses
