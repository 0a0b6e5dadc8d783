// The ask answer under a budget fits, or cannot be reduced further. It equals the answer for the
// remaining sections, excerpts, code and memories without a budget.
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

/// The argument's sections that the answer contains, with the excerpts of the answer.
List sections_left(const List& sections, const Object& answer) {
  const List rows = *answer.get("sections"_key).list();
  List left;
  for (const Value& row : rows) {
    Object section = *sections[left.size()].object();
    const std::string whole = section.get("excerpt"_key).text()->utf8();
    section.set("excerpt"_key, row.object()->get("excerpt"_key));
    const std::string cut = section.get("excerpt"_key).text()->utf8();
    const bool is_marked = cut.ends_with("…") && whole.starts_with(cut.substr(0, cut.rfind("…")));
    contract::require(cut.empty() || cut == whole || is_marked, "no cut: " + cut);
    left.append(section);
  }
  return left;
}

void check(const AskAnswer& arguments, const Object& answer, std::int64_t limit) {
  AskAnswer left = arguments;
  left.sections = sections_left(*arguments.sections.list(), answer);
  left.code = answer.get("code"_key);
  left.memories = answer.get("memories"_key);
  left.token_budget = {};
  const std::string text = tool_result_text(answer).utf8();
  contract::require_equal(text, tool_result_text(build_wiki_ask_response(left)).utf8(), "the text");
  const bool no_sections = !left.sections.truthy();
  const bool neither = no_sections && left.memories.is_null();
  contract::require(no_sections || left.memories == arguments.memories, "memories before sections");
  contract::require(neither || left.code == arguments.code, "code before memories");
  contract::require((neither && left.code.is_null()) || std::ssize(text) <= limit, "over: " + text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Choices choices(contract::bytes_of(data, size));
  const auto part = static_cast<std::int64_t>(choices.below(256));
  AskAnswer arguments{.query = any(choices), .sections = any_sections(choices)};
  arguments.citations = any_citations(choices, 40);
  if (choices.below(3) > 0) arguments.code = any_excerpt(choices);
  if (choices.below(3) > 0) arguments.memories = any_excerpt(choices);
  const Object whole = build_wiki_ask_response(arguments);

  const auto whole_size =
      static_cast<std::int64_t>(encoded_size(whole) + 200 * *arguments.sections.size());
  const std::int64_t budget = whole_size * part / 240 / 4;
  arguments.token_budget = budget;
  const Object answer = build_wiki_ask_response(arguments);
  check(arguments, answer, budget * 4);
  contract::require(budget * 4 < whole_size || Value(answer) == whole, "cut although it fits");
  return 0;
}

}  // namespace mcp_responses
