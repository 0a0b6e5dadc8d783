#include "cuts.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <span>
#include <utility>

#include "detail/block.h"

namespace mcp_responses {
namespace {

constexpr std::uint16_t ellipsis = 0x2026;

/// The number of units up to the last one that matches, inclusive. 0 if none matches.
template <class Unit, class Predicate>
std::size_t size_to_last(std::span<const Unit> units, Predicate matches) noexcept {
  using Block = detail::Block<Unit>;
  std::size_t size = units.size();
  for (; size >= Block::size; size -= Block::size) {
    const std::uint32_t found = Block(&units[size - Block::size]).match_mask(matches);
    if (found != 0)
      return size - Block::size +
             static_cast<std::size_t>(std::bit_width(found) - 1) / sizeof(Unit) + 1;
  }
  while (size > 0 && !matches(units[size - 1])) --size;
  return size;
}

TextView without_trailing_space(TextView view) noexcept {
  visit_units(view, [&view](auto units) {
    // A block at a time, because there may be a gigabyte of spaces.
    if (!units.empty() && units.back() == ' ')
      view.size = size_to_last(units, [](auto unit) { return unit != ' '; });
    while (view.size > 0 && is_white_space(units[view.size - 1])) --view.size;
  });
  return view;
}

/// The first `count` characters, without white space at their end, and an ellipsis.
Cut marked(const TextView& view, std::size_t count) noexcept {
  return {.kept = without_trailing_space(view.slice(0, count)),
          .mark = {&ellipsis, 1, Repertoire::bmp}};
}

bool fits(const TextView& view, std::int64_t chars) noexcept {
  return chars >= 0 && view.size <= static_cast<std::size_t>(chars);
}

Text text_of(Text whole, const Cut& cut) {
  if (cut.kept.size == whole.size()) return whole;
  return Text::joined(cut.kept, cut.mark);
}

/// The position of the last space from position `first` on. The size of the view if there is none.
std::size_t last_space(const TextView& view, std::size_t first) noexcept {
  return visit_units(view, [first](auto units) {
    const std::size_t size =
        size_to_last(units.subspan(first), [](auto unit) { return unit == ' '; });
    return size == 0 ? units.size() : first + size - 1;
  });
}

constexpr bool ends_sentence(std::uint32_t code_point) {
  return code_point == '.' || code_point == '!' || code_point == '?';
}

/// Moves to the next character that is not white space. Returns true if the skipped characters
/// contain two adjacent line feeds, which end a paragraph.
template <class Unit>
bool skip_space(const Unit*& at, const Unit* end) noexcept {
  bool ends_paragraph = false;
  for (; at != end && is_white_space(*at); ++at) {
    ends_paragraph |= *at == '\n' && at + 1 != end && at[1] == '\n';
  }
  return ends_paragraph;
}

/// Writes the first sentence, of at most two characters more than a summary has (see SummaryBuffer), and
/// returns its length.
template <class Unit>
std::size_t extract_sentence(std::span<const Unit> docstring, Unit* const first) noexcept {
  Unit* to = first;
  const Unit* at = docstring.data();
  const Unit* const end = at + docstring.size();
  skip_space(at, end);
  while (at != end && to - first <= SUMMARY_CHARS) {
    // The last unit is reserved for the space after a word that makes the sentence too long.
    const Unit* const last = at + std::min(end - at, SUMMARY_CHARS + 1 - (to - first));
    while (at != last && !is_white_space(*at)) *to++ = *at++;
    // The word has at least one unit, because white space was skipped.
    const bool is_sentence_end = ends_sentence(to[-1]);
    if (skip_space(at, end) || is_sentence_end || at == end) break;
    *to++ = ' ';
  }
  return static_cast<std::size_t>(to - first);
}

}  // namespace

Cut cut(const TextView& view, std::int64_t chars) noexcept {
  if (fits(view, chars)) return {.kept = view, .mark = {}};
  return chars < 1 ? Cut() : marked(view, static_cast<std::size_t>(chars - 1));
}

Cut trimmed(const TextView& view, std::int64_t chars) noexcept {
  if (fits(view, chars)) return {.kept = view, .mark = {}};
  if (chars <= 1) return {};
  const TextView longest = view.slice(0, static_cast<std::size_t>(chars - 1));
  return marked(longest, last_space(longest, static_cast<std::size_t>(chars / 2)));
}

Text cut(Text text, std::int64_t chars) {
  const Cut shortened = cut(text.view(), chars);
  return text_of(std::move(text), shortened);
}

Text trimmed(Text text, std::int64_t chars) {
  const Cut shortened = trimmed(text.view(), chars);
  return text_of(std::move(text), shortened);
}

Cut first_sentence(const TextView& docstring, SummaryBuffer& buffer) noexcept {
  return visit_units(docstring, [&]<class Unit>(std::span<const Unit> units) {
    const std::size_t size = extract_sentence(units, reinterpret_cast<Unit*>(buffer.bytes.data()));
    return cut({buffer.bytes.data(), size, docstring.repertoire}, SUMMARY_CHARS);
  });
}

std::optional<Text> first_sentence(const std::optional<Text>& docstring) {
  if (!docstring) return {};
  SummaryBuffer buffer;
  const Cut sentence = first_sentence(docstring->view(), buffer);
  if (sentence.kept.size == 0) return {};
  return Text::joined(sentence.kept, sentence.mark);
}

}  // namespace mcp_responses
