// The cuts: equal to their rules carried out one after the other on whole strings.
#include "contract.h"
#include "cuts.h"
#include "models/slow_cuts.h"

namespace mcp_responses {
namespace {

/// A long word and a run of white space, so that a cut is next to the limit of a summary or in any
/// position of a block, and any text.
std::u32string any_text(models::Choices& choices) {
  const auto word = choices.one_of({U'w', U'\xE9', U'\u0151', U'\U00010151'});
  const auto space = choices.one_of({U' ', U' ', U'\t'});
  const std::size_t shortest = choices.one_of({0U, 0U, 152U});
  std::u32string text(shortest + choices.below(10), word);
  text.append(choices.one_of({0U, 1U, 2U, 18U, 40U}), space);
  return text + models::any_text(choices, choices.one_of({20U, 400U}), true);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const auto chars = static_cast<std::int64_t>(choices.below(60)) - 2;
  const std::u32string plain = any_text(choices);
  const Text text = models::text_of(plain);

  contract::require_equal(trimmed(text, chars), models::trimmed(plain, chars), "trimmed");
  if (chars >= 1) contract::require_equal(cut(text, chars), models::cut(plain, chars), "cut");
  const auto sentence = first_sentence(text);
  contract::require(!sentence || !sentence->empty(), "an empty summary");
  contract::require_equal(sentence.value_or(Text()), models::first_sentence(plain),
                          "first_sentence");
  return 0;
}

}  // namespace mcp_responses
