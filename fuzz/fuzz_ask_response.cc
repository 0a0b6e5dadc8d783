// The ask answer under a budget: the arithmetic comes to what encoding the whole answer at every
// step comes to.
#include "contract.h"
#include "models/slow_ask.h"

namespace mcp_responses {
namespace {

Value or_null(models::Choices& choices, const Value& value) {
  return choices.below(3) == 0 ? Value() : value;
}

Text long_text(models::Choices& choices) {
  std::u32string text;
  const std::u32string piece = models::any_text(choices, 40) + U' ';
  for (std::size_t n = choices.below(40); n > 0; --n) text += piece;
  return models::text_of(text);
}

/// Of few places, so that they repeat.
List any_citations(models::Choices& choices, std::size_t most) {
  List citations;
  for (std::size_t n = choices.below(most + 1); n > 0; --n) {
    Object citation;
    if (choices.below(4) != 0)
      citation.set(models::key("path"), Text(choices.one_of<std::string_view>({"a", "b", "é"})));
    const auto line = static_cast<std::int64_t>(choices.below(12));
    citation.set(models::key("line_start"),
                 choices.below(2) == 0 ? Value(line) : Value(static_cast<double>(line)));
    if (choices.below(2) == 0)
      citation.set(models::key("why"), models::text_of(models::any_text(choices, 9)));
    citations.append(citation);
  }
  return citations;
}

Object any_section(models::Choices& choices) {
  Object section;
  section.set(models::key("page_id"), models::text_of(models::any_text(choices, 9)));
  if (choices.below(2) == 0) section.set(models::key("similarity"), 0.5);
  if (choices.below(3) == 0) section.set(models::key("stale"), or_null(choices, 1));
  section.set(models::key("excerpt"), or_null(choices, long_text(choices)));
  section.set(models::key("citations"), or_null(choices, any_citations(choices, 5)));
  return section;
}

AskAnswer any_answer(models::Choices& choices) {
  List sections;
  for (std::size_t n = choices.below(9); n > 0; --n) sections.append(any_section(choices));
  const auto attached = [&]() -> Value {
    return or_null(choices, Object{{models::key("k"), long_text(choices)}});
  };
  AskAnswer answer{.mode = Text("m"), .query = models::text_of(models::any_text(choices, 20))};
  answer.answer = or_null(choices, long_text(choices));
  answer.sections = sections;
  answer.citations = or_null(choices, any_citations(choices, 40));
  answer.note = or_null(choices, Text());
  answer.decisions = or_null(choices, Object());
  answer.code = attached();
  answer.memories = attached();
  return answer;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const std::size_t part = choices.below(256);
  AskAnswer answer = any_answer(choices);
  const auto check = [&answer](const std::string& budget) {
    contract::require_equal(tool_result_text(build_wiki_ask_response(answer)).utf8(),
                            tool_result_text(models::slow_ask(answer)).utf8(), "budget " + budget);
  };
  check("none");
  const std::size_t whole =
      _encoded_size(models::slow_ask(answer)) + 200 * answer.sections.list()->size();
  const auto budget = static_cast<std::int64_t>(whole * part / 240 / 4);
  answer.token_budget = budget;
  check(std::to_string(budget));
  return 0;
}

}  // namespace mcp_responses
