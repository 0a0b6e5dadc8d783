// Texts for the models, which work on std::u32string because it is plain.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "choices.h"
#include "text.h"

namespace models {

inline mcp_responses::Text text_of(const std::u32string& code_points) {
  const std::basic_string<std::uint32_t> units(code_points.begin(), code_points.end());
  return mcp_responses::Text::copy_of(std::span<const std::uint32_t>(units));
}

inline std::u32string code_points_of(const mcp_responses::Text& text) {
  std::u32string code_points;
  const mcp_responses::TextView view = text.view();
  for (std::size_t i = 0; i < view.size; ++i) code_points.push_back(view[i]);
  return code_points;
}

/// Mostly letters, white space, ends of sentences and what must be escaped, in one of the four
/// ranges; surrogates only if they are wanted.
inline std::u32string any_text(Choices& choices, std::size_t longest,
                               bool with_surrogates = false) {
  static constexpr std::u32string_view frequent =
      U"ab .!?\n\n\t\r\"\\/\x01\x0b\x1b\x1f\x7f\x80\x85\xa0\xe9\xff"
      U"\u0100\u07ff\u0800\u1680\u200b\u2028\u2029\u3000\ufeff\uffff\U00010000\U0010ffff";
  const std::uint32_t above = choices.one_of({0x80U, 0x80U, 0x100U, 0x10000U, 0x110000U});
  std::u32string text;
  for (std::size_t size = choices.below(longest + 1); text.size() < size;) {
    char32_t next = frequent[choices.below(frequent.size())];
    if (choices.below(8) == 0) next = static_cast<char32_t>(choices.bits(3) % above);
    if (next >= above || (mcp_responses::is_surrogate(next) && !with_surrogates)) next = U'x';
    text.push_back(next);
  }
  return text;
}

}  // namespace models
