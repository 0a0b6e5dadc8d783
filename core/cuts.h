// Cuts and summaries: texts of limited length, with an ellipsis where they were cut. Lengths are in
// code points.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "text.h"

namespace mcp_responses {

/// The maximum length of a summary.
inline constexpr std::int64_t SUMMARY_CHARS = 160;

/// True for the 29 white-space characters: the Unicode Standard's White_Space property, and the four
/// separators U+001C to U+001F, like `str.isspace`.
constexpr bool is_white_space(std::uint32_t code_point) noexcept {
  const auto in = [code_point](std::uint32_t first, std::uint32_t last) {
    return code_point - first <= last - first;
  };
  if (code_point <= ' ') return code_point == ' ' || in(0x09, 0x0D) || in(0x1C, 0x1F);
  if (code_point < 0x85) [[likely]]
    return false;
  return code_point == 0x85 || code_point == 0xA0 || code_point == 0x1680 || in(0x2000, 0x200A) ||
         in(0x2028, 0x2029) || code_point == 0x202F || code_point == 0x205F || code_point == 0x3000;
}

/// A text that was cut, without a copy: a prefix, and the mark after it. The mark is an ellipsis, or
/// empty if the text fits, or if not even an ellipsis fits.
struct Cut {
  TextView kept;  // a slice, so its repertoire may be larger than necessary
  TextView mark;
};

/// `view` cut to at most `chars` characters, ellipsis included: "abc   def" to 6 is "abc…". White
/// space before the ellipsis is removed. A text that fits is kept unchanged. Below 1 character, a
/// longer text is cut to nothing.
Cut cut(const TextView& view, std::int64_t chars) noexcept;
/// `text` itself if it fits, otherwise a new text.
Text cut(Text text, std::int64_t chars);

/// The same at a word boundary, if one is in the second half of the allowed length: "alpha beta
/// gamma" to 12 is "alpha beta…". Only U+0020 is a boundary. Below 2 characters, a longer text is cut
/// to nothing.
Cut trimmed(const TextView& view, std::int64_t chars) noexcept;
Text trimmed(Text text, std::int64_t chars);

/// The first sentence of a docstring's first paragraph, with each run of white space replaced by a
/// space, cut to `SUMMARY_CHARS`. Null if the docstring is null or blank. A sentence ends at
/// ".", "!" or "?" before white space; a paragraph at two line feeds.
std::optional<Text> first_sentence(const std::optional<Text>& docstring);

/// Memory for the characters of a sentence, of any width. Two are spare: one to detect that the
/// sentence is too long, one for a space after it.
struct SummaryBuffer {
  alignas(std::uint32_t) std::array<unsigned char, (SUMMARY_CHARS + 2) * 4> bytes;
};

/// The same without a copy: the result refers to `buffer`. Empty if the docstring is blank.
Cut first_sentence(const TextView& docstring, SummaryBuffer& buffer) noexcept;

}  // namespace mcp_responses
