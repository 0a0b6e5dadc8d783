#include "cuts.h"

#include <algorithm>
#include <array>
#include <span>
#include <type_traits>
#include <vector>

namespace mcp_responses {
namespace {

constexpr std::uint16_t ellipsis = 0x2026;

constexpr bool in(std::uint32_t code_point, std::uint32_t first, std::uint32_t last) {
  return code_point >= first && code_point <= last;
}

constexpr bool is_ascii_space(std::uint32_t code_point) {
  return code_point == ' ' || in(code_point, 0x09, 0x0D) || in(code_point, 0x1C, 0x1F);
}

constexpr bool is_wide_space(std::uint32_t code_point) {
  return code_point == 0x85 || code_point == 0xA0 || code_point == 0x1680 ||
         in(code_point, 0x2000, 0x200A) || in(code_point, 0x2028, 0x2029) || code_point == 0x202F ||
         code_point == 0x205F || code_point == 0x3000;
}

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
  explicit Summary(std::span<const Unit> units) {
    std::size_t at = 0;
    while (at < units.size() && is_white_space(units[at])) ++at;
    bool after_space = false;
    for (; at < units.size() && size_ <= SUMMARY_CHARS; ++at) {
      if (!is_white_space(units[at])) {
        if (after_space && ends_sentence(characters_[size_ - 1])) return;
        if (after_space) add(' ');
        add(units[at]);
        after_space = false;
      } else {
        if (units[at] == '\n' && at + 1 < units.size() && units[at + 1] == '\n') return;
        after_space = true;
      }
    }
  }

  std::span<const Unit> characters() const { return std::span(characters_).first(size_); }

 private:
  void add(Unit unit) { characters_[size_++] = unit; }

  std::array<Unit, SUMMARY_CHARS + 2>
      characters_;  // a space and a character may pass the limit together
  std::size_t size_ = 0;
};

}  // namespace

bool is_white_space(std::uint32_t code_point) noexcept {
  return code_point < 0x80 ? is_ascii_space(code_point) : is_wide_space(code_point);
}

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

Text _cut(const Text& text, std::int64_t chars) {
  const TextView view = text.view();
  if (chars < 1) return {};
  if (view.size <= static_cast<std::size_t>(chars)) return text;
  return cut_before(view.slice(0, static_cast<std::size_t>(chars) - 1));
}

Text _trimmed(const Text& text, std::int64_t chars) {
  const TextView view = text.view();
  if (chars >= 0 && view.size <= static_cast<std::size_t>(chars)) return text;
  if (chars <= 1) return {};
  std::int64_t end = last_space(view, chars - 2);
  if (end < chars / 2) end = chars - 1;
  return cut_before(view.slice(0, static_cast<std::size_t>(end)));
}

std::optional<Text> first_sentence(const std::optional<Text>& docstring) {
  if (!docstring) return {};
  const Text sentence = visit_units(docstring->view(), [](auto units) {
    using Unit = std::remove_const_t<typename decltype(units)::element_type>;
    return Text::copy_of(Summary<Unit>(units).characters());
  });
  if (sentence.empty()) return {};
  return _cut(sentence, SUMMARY_CHARS);
}

}  // namespace mcp_responses
