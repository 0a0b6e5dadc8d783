#include "cuts.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <span>
#include <type_traits>
#include <utility>

#include "detail/block.h"

namespace mcp_responses {
namespace {

constexpr std::uint16_t ellipsis = 0x2026;

/// The first `count` characters, white space at their end removed, and an ellipsis.
Cut marked(const TextView& view, std::int64_t count) noexcept {
  return {.kept = without_trailing_space(view.slice(0, static_cast<std::size_t>(count))),
          .mark = {&ellipsis, 1, Repertoire::bmp}};
}

bool fits(const TextView& view, std::int64_t chars) noexcept {
  return chars >= 0 && view.size <= static_cast<std::size_t>(chars);
}

Text text_of(Text whole, const Cut& cut) {
  if (cut.kept.size == whole.size()) return whole;
  return Text::joined(cut.kept, cut.mark);
}

/// The last space at or before `position`, or -1.
std::int64_t last_space(const TextView& view, std::int64_t position) noexcept {
  return visit_units(view, [position](auto units) {
    std::int64_t at = position;
    while (at >= 0 && units[static_cast<std::size_t>(at)] != ' ') --at;
    return at;
  });
}

constexpr bool ends_sentence(std::uint32_t code_point) {
  return code_point == '.' || code_point == '!' || code_point == '?';
}

/// Moves on to what is no white space. True when two line feeds in a row stood there: a paragraph
/// ends.
template <class Unit>
bool skip_space(const Unit*& at, const Unit* end) noexcept {
  bool ends_paragraph = false;
  for (; at != end && is_white_space(*at); ++at) {
    ends_paragraph |= *at == '\n' && at + 1 != end && at[1] == '\n';
  }
  return ends_paragraph;
}

/// Copies what is the same in a summary, a block at a time: words with a single space between them,
/// up to where a sentence may end. Returns how much that is; it ends with a word. Writes up to a
/// block more. Requires that no white space stands at the front.
std::size_t copy_plain_words(std::span<const std::uint8_t> from, std::uint8_t* to) noexcept {
  using Bytes = Block<std::uint8_t>;
  const auto is_space = [](auto units) { return units == ' '; };
  const auto is_end = [](auto units) { return (units == '.') | (units == '!') | (units == '?'); };
  // Also what stands behind the text in its last block, which is zero.
  const auto is_other = [](auto units) {
    return (units < 0x20) | (units == 0x85) | (units == 0xA0);
  };
  std::size_t done = 0;
  std::uint32_t before = 0;  // a bit for each unit that follows a space or an end
  for (;;) {
    const Bytes block(from.data() + done, std::min(Bytes::size, from.size() - done));
    block.copy_to(to + done);
    const std::uint32_t spaces = block.where(is_space);
    before = (spaces | block.where(is_end)) << 1 | before >> Bytes::size;
    const std::uint32_t stops = (spaces & before) | block.where(is_other);
    if (stops != 0) {
      done += static_cast<std::size_t>(std::countr_zero(stops));
      break;
    }
    done += Bytes::size;
  }
  if (done > 0 && from[done - 1] == ' ') --done;
  return done;
}

}  // namespace

TextView without_trailing_space(TextView view) noexcept {
  visit_units(view, [&view](auto units) {
    while (view.size > 0 && is_white_space(units[view.size - 1])) --view.size;
  });
  return view;
}

Cut cut_of(const TextView& view, std::int64_t chars) noexcept {
  if (fits(view, chars)) return {.kept = view, .mark = {}};
  return chars < 1 ? Cut() : marked(view, chars - 1);
}

Cut trimmed_of(const TextView& view, std::int64_t chars) noexcept {
  if (fits(view, chars)) return {.kept = view, .mark = {}};
  if (chars <= 1) return {};
  const std::int64_t end = last_space(view, chars - 2);
  return marked(view, end < chars / 2 ? chars - 1 : end);
}

Text _cut(Text text, std::int64_t chars) {
  const Cut cut = cut_of(text.view(), chars);
  return text_of(std::move(text), cut);
}

Text _trimmed(Text text, std::int64_t chars) {
  const Cut cut = trimmed_of(text.view(), chars);
  return text_of(std::move(text), cut);
}

template <class Unit>
void FirstSentence::take(std::span<const Unit> docstring) noexcept {
  auto* const first = reinterpret_cast<Unit*>(characters_.data());
  Unit* to = first;
  const Unit* at = docstring.data();
  const Unit* const end = at + docstring.size();
  skip_space(at, end);
  if constexpr (sizeof(Unit) == 1) {
    const auto most = std::min(end - at, static_cast<std::ptrdiff_t>(SUMMARY_CHARS));
    const std::size_t plain = copy_plain_words({at, at + most}, to);
    at += plain;
    to += plain;
  }
  while (at != end && to - first <= SUMMARY_CHARS) {
    // The last place is for the space behind a word that turns out too long.
    const Unit* const last =
        at + std::min(end - at, static_cast<std::ptrdiff_t>(room - 1) - (to - first));
    while (at != last && !is_white_space(*at)) *to++ = *at++;
    const bool at_sentence_end = ends_sentence(to[-1]);
    if (skip_space(at, end) || at_sentence_end || at == end) break;
    *to++ = ' ';
  }
  size_ = static_cast<std::uint32_t>(to - first);
  if (size_ > SUMMARY_CHARS) mark_cut<Unit>();
}

/// Keeps what fits before an ellipsis, white space at its end removed.
template <class Unit>
void FirstSentence::mark_cut() noexcept {
  using Wide = std::conditional_t<sizeof(Unit) < sizeof(ellipsis), std::uint16_t, Unit>;
  const auto* const from = reinterpret_cast<const Unit*>(characters_.data());
  auto* const to = reinterpret_cast<Wide*>(characters_.data());
  size_ =
      static_cast<std::uint32_t>(without_trailing_space(view().slice(0, SUMMARY_CHARS - 1)).size);
  for (std::size_t i = size_; i-- > 0;) to[i] = from[i];
  to[size_++] = ellipsis;
  repertoire_ = std::max(repertoire_, Repertoire::bmp);
}

FirstSentence::FirstSentence(const TextView& docstring) noexcept
    : repertoire_(docstring.repertoire) {
  static_assert(offsetof(FirstSentence, characters_) + sizeof(characters_) ==
                sizeof(FirstSentence));
  visit_units(docstring, [this](auto units) { take(units); });
}

std::optional<Text> first_sentence(const std::optional<Text>& docstring) {
  if (!docstring) return {};
  const FirstSentence sentence(docstring->view());
  if (sentence.view().size == 0) return {};
  return Text::copy_of(sentence.view());
}

}  // namespace mcp_responses
