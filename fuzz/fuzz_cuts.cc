// The cuts: equal to their rules carried out one after the other on whole strings.
#include "contract.h"
#include "cuts.h"
#include "models/slow_cuts.h"

namespace mcp_responses {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const auto chars = static_cast<std::int64_t>(choices.below(60)) - 2;
  const std::u32string plain = models::any_text(choices, 400, true);
  const Text text = models::text_of(plain);

  contract::require_equal(_trimmed(text, chars), models::trimmed(plain, chars), "_trimmed");
  if (chars >= 1) contract::require_equal(_cut(text, chars), models::cut(plain, chars), "_cut");
  const auto sentence = first_sentence(text);
  contract::require(!sentence || !sentence->empty(), "an empty summary");
  contract::require_equal(sentence.value_or(Text()), models::first_sentence(plain),
                          "first_sentence");
  return 0;
}

}  // namespace mcp_responses
