// Cuts and summaries: text of bounded length, cut so that a reader sees where. Lengths are in code
// points.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "text.h"

namespace mcp_responses {

/// The length to which `first_sentence` cuts a summary.
inline constexpr std::int64_t SUMMARY_CHARS = 160;

/// True for the 29 code points that count as white space wherever this library strips, collapses or
/// splits: the Unicode Standard's White_Space property and the four separators U+001C to U+001F, as
/// in the host's own strings.
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

/// The view without white space at its end.
TextView without_trailing_space(TextView view) noexcept;

/// What is left of a text that was cut: the part that is kept, where it lies, and the mark that
/// follows it: an ellipsis, or nothing when nothing was cut off or not even the mark fits. Both
/// make a text of one's own in one pass.
struct Cut {
  TextView kept;  // a slice, so its repertoire may be larger than it needs
  TextView mark;
};

/// `view` cut to at most `chars` characters, hard: "abc   def" to 6 is "abc…". White space before
/// the ellipsis goes. A text that fits is kept as it is. Nothing fits into less than one character:
/// then the result is empty.
Cut cut_of(const TextView& view, std::int64_t chars) noexcept;

/// The same at a word boundary where one lies in the second half of the allowed length: "alpha beta
/// gamma" to 12 is "alpha beta…". Only U+0020 counts as a boundary. With `chars` below 2 a longer
/// text becomes the empty text.
Cut trimmed_of(const TextView& view, std::int64_t chars) noexcept;

/// The same as texts, which take one allocation of the size of the result, and none when `text`
/// fits: then it comes back itself.
Text _cut(Text text, std::int64_t chars);
Text _trimmed(Text text, std::int64_t chars);

/// The first sentence of a docstring's first paragraph, white space collapsed, cut to
/// `SUMMARY_CHARS`. Nothing when there is no docstring or no text in it. A sentence ends at ".",
/// "!" or "?" before white space.
std::optional<Text> first_sentence(const std::optional<Text>& docstring);

/// The same for callers that make a text of their own kind of it: the characters stay in place.
class FirstSentence {
 public:
  explicit FirstSentence(const TextView& docstring) noexcept;

  /// Empty when there is no text. Its repertoire may be larger than what is left of the docstring
  /// needs. Valid while this object lives.
  TextView view() const noexcept { return {characters_.data(), size_, repertoire_}; }

 private:
  // Two more than a summary may have: one that shows that it is too long, and a space before or
  // behind it.
  static constexpr std::size_t room = SUMMARY_CHARS + 2;

  template <class Unit>
  void take(std::span<const Unit> docstring) noexcept;
  template <class Unit>
  void mark_cut() noexcept;

  std::uint32_t size_ = 0;
  Repertoire repertoire_;
  // The end of the object, without padding: a write past it is one that a test can see.
  alignas(std::uint32_t) std::array<unsigned char, room * sizeof(std::uint32_t)> characters_;
};

}  // namespace mcp_responses
