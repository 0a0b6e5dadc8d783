#include "cuts.h"

#include <algorithm>
#include <array>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

namespace mcp_responses {
namespace {

constexpr std::uint16_t ellipsis = 0x2026;

/// The code points, white space at their end removed, and an ellipsis.
Text cut_before(TextView kept) {
  return visit_units(without_trailing_space(kept), [](auto units) {
    using Unit = typename decltype(units)::value_type;
    using Wide = std::conditional_t<sizeof(Unit) < sizeof(ellipsis), std::uint16_t, Unit>;
    std::vector<Wide> marked(units.begin(), units.end());
    marked.push_back(ellipsis);
    return Text::copy_of(std::span<const Wide>(marked));
  });
}

/// The last space at or before `position`, or -1.
std::int64_t last_space(const TextView& view, std::int64_t position) {
  return visit_units(view, [position](auto units) {
    std::int64_t at = position;
    while (at >= 0 && units[static_cast<std::size_t>(at)] != ' ') --at;
    return at;
  });
}

constexpr bool ends_sentence(std::uint32_t code_point) {
  return code_point == '.' || code_point == '!' || code_point == '?';
}

/// The start of the first sentence of `units`, white space collapsed: one character more than a
/// summary may have when there is more.
template <class Unit>
class Summary {
 public:
  explicit Summary(std::span<const Unit> units) : at_(units.data()), end_(at_ + units.size()) {
    skip_space();
    while (at_ != end_ && size_ <= SUMMARY_CHARS) {
      take_word();
      const bool at_sentence_end = ends_sentence(characters_[size_ - 1]);
      if (skip_space() || at_sentence_end || at_ == end_ || size_ > SUMMARY_CHARS) return;
      characters_[size_++] = ' ';
    }
  }

  std::span<const Unit> characters() const { return std::span(characters_).first(size_); }

 private:
  static constexpr std::ptrdiff_t room =
      SUMMARY_CHARS + 2;  // one too many, and the space before it

  /// Requires a character that is not white space.
  void take_word() {
    const Unit* const last = at_ + std::min(end_ - at_, room - static_cast<std::ptrdiff_t>(size_));
    while (at_ != last && !is_white_space(*at_)) characters_[size_++] = *at_++;
  }

  /// True when the white space holds two line feeds in a row: the paragraph ends there.
  bool skip_space() {
    bool ends_paragraph = false;
    for (; at_ != end_ && is_white_space(*at_); ++at_) {
      ends_paragraph |= *at_ == '\n' && at_ + 1 != end_ && at_[1] == '\n';
    }
    return ends_paragraph;
  }

  const Unit* at_;
  const Unit* end_;
  std::array<Unit, room> characters_;
  std::size_t size_ = 0;
};

}  // namespace

TextView without_trailing_space(TextView view) noexcept {
  visit_units(view, [&view](auto units) {
    while (view.size > 0 && is_white_space(units[view.size - 1])) --view.size;
  });
  return view;
}

TextView stripped(TextView view) noexcept {
  view = without_trailing_space(view);
  const std::size_t start = visit_units(view, [](auto units) {
    return static_cast<std::size_t>(std::ranges::find_if_not(units, is_white_space) -
                                    units.begin());
  });
  return view.slice(start, view.size - start);
}

Text _cut(Text text, std::int64_t chars) {
  const TextView view = text.view();
  if (chars < 1) return {};
  if (view.size <= static_cast<std::size_t>(chars)) return text;
  return cut_before(view.slice(0, static_cast<std::size_t>(chars) - 1));
}

Text _trimmed(Text text, std::int64_t chars) {
  const TextView view = text.view();
  if (chars >= 0 && view.size <= static_cast<std::size_t>(chars)) return text;
  if (chars <= 1) return {};
  std::int64_t end = last_space(view, chars - 2);
  if (end < chars / 2) end = chars - 1;
  return cut_before(view.slice(0, static_cast<std::size_t>(end)));
}

std::optional<Text> first_sentence(const std::optional<Text>& docstring) {
  if (!docstring) return {};
  Text sentence = visit_units(docstring->view(), [](auto units) {
    using Unit = std::remove_const_t<typename decltype(units)::element_type>;
    return Text::copy_of(Summary<Unit>(units).characters());
  });
  if (sentence.empty()) return {};
  return _cut(std::move(sentence), SUMMARY_CHARS);
}

}  // namespace mcp_responses
