// Which characters of a string are written as an escape (RFC 8259, section 7: those that must be),
// found a block of characters at a time. The loops over a block have a fixed length and no branch,
// so that the compiler turns each into a few vector instructions on whatever machine it builds for.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace mcp_responses {

inline constexpr std::size_t longest_escape = 6;

template <class Unit>
constexpr bool needs_escape(Unit unit) {
  return unit < 0x20 || unit == '"' || unit == '\\';
}

/// The escape of a character that needs one: `\"`, `\n`, `\u001b`.
class Escape {
 public:
  constexpr explicit Escape(std::uint32_t unit) : characters_{'\\', short_form(unit)} {
    if (characters_[1] != 'u') return;
    constexpr std::string_view hex = "0123456789abcdef";
    characters_ = {'\\', 'u', '0', '0', hex[unit >> 4], hex[unit & 15]};
    size_ = longest_escape;
  }
  constexpr std::string_view view() const { return {characters_.data(), size_}; }

 private:
  static constexpr char short_form(std::uint32_t unit) {
    constexpr std::string_view of_controls = "uuuuuuuubtnufruuuuuuuuuuuuuuuuuu";
    return unit < of_controls.size() ? of_controls[unit] : static_cast<char>(unit);
  }

  std::array<char, longest_escape> characters_;
  std::size_t size_ = 2;
};

/// Copies `block` units and tells whether none of them needs an escape.
template <std::size_t block, class From, class To>
inline bool copy_block(const From* __restrict from, To* __restrict to) {
  From found = 0;
  for (std::size_t i = 0; i < block; ++i) {
    const From unit = from[i];
    to[i] = static_cast<To>(unit);
    found |= static_cast<From>((unit < 0x20) | (unit == '"') | (unit == '\\'));
  }
  return found == 0;
}

/// Copies the units before the first that needs an escape, all of them when there is none, and
/// answers how many. May write past those, up to `units.size()`.
template <std::size_t block = 16, class From, class To>
inline std::size_t copy_plain(std::span<const From> units, To* to) {
  const std::size_t size = units.size();
  std::size_t done = 0;
  while (done + block <= size && copy_block<block>(units.data() + done, to + done)) done += block;
  if (done + block > size) {
    if (done == size) return size;
    if (size >= block) {  // the last block once more, overlapping what is done
      if (copy_block<block>(units.data() + size - block, to + size - block)) return size;
    } else if constexpr (block > 4) {
      return copy_plain<block / 2>(units, to);
    }
  }
  while (done < size && !needs_escape(units[done])) {
    to[done] = static_cast<To>(units[done]);
    ++done;
  }
  return done;
}

}  // namespace mcp_responses
