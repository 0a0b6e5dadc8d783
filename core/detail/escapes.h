// Escapes: only the characters that RFC 8259, section 7, requires to be escaped are written as `\"`,
// `\\`, `\b`, `\f`, `\n`, `\r`, `\t`, or `\u00` and two hexadecimal digits.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "detail/block.h"

namespace mcp_responses::detail {

/// The escape of a character: the first `size` of `characters`.
struct alignas(16) Escape {
  std::array<std::uint8_t, 8> characters;
  std::uint8_t size;
};

/// The escape of a character up to `last_escaped`, even if it needs none.
constexpr Escape make_escape(std::uint8_t unit) {
  constexpr std::string_view control_letters = "uuuuuuuubtnufruuuuuuuuuuuuuuuuuu";
  constexpr std::string_view hex = "0123456789abcdef";
  const auto ascii = [](char character) { return static_cast<std::uint8_t>(character); };
  const std::uint8_t letter = unit < control_letters.size() ? ascii(control_letters[unit]) : unit;
  if (letter != 'u') return {{'\\', letter}, 2};
  return {{'\\', 'u', '0', '0', ascii(hex[unit >> 4]), ascii(hex[unit & 15])}, 6};
}

inline constexpr std::size_t max_escape_size = 6;
inline constexpr std::size_t last_escaped = '\\';

/// The escapes by code point, up to the last one that needs an escape.
inline constexpr auto escapes = [] {
  std::array<Escape, last_escaped + 1> table{};
  for (std::size_t unit = 0; unit < table.size(); ++unit)
    table[unit] = make_escape(static_cast<std::uint8_t>(unit));
  return table;
}();

/// For `Block::match_mask`: the units that need an escape. A zero needs one.
inline constexpr auto needs_escape = [](auto units) {
  return (units < 0x20) | (units == '"') | (units == '\\');
};

/// The number of units that `write_escaped` may write after the end that it returns.
inline constexpr std::size_t max_overrun = 16;

/// Writes the escape of a unit that needs one, and returns its end. Requires capacity for 8 units.
template <class To>
To* write_escape(std::uint32_t unit, To* to) noexcept {
  assert(unit <= last_escaped);
  const Escape& escape = escapes[unit];
  std::copy_n(escape.characters.data(), escape.characters.size(), to);
  return to + escape.size;
}

/// Writes the units, escaped where necessary, and returns the end. Requires capacity for
/// `max_escape_size` units for each, and `max_overrun` more.
template <class From, class To>
To* write_escaped(std::span<const From> units, To* to) noexcept {
  constexpr std::size_t size = Block<From>::size;
  constexpr std::ptrdiff_t at_once = sizeof(From) == 1 ? 32 : 16;
  const From* from = units.data();
  const From* const end = from + units.size();
  // While two blocks remain, a block can be read from any position in the first. So the units between
  // two escapes are copied as a block, regardless of their number.
  while (end - from >= static_cast<std::ptrdiff_t>(2 * size)) {
    if (end - from >= at_once && Block<From>::template none_in<at_once>(from, needs_escape)) {
      for (std::size_t i = 0; i < at_once; i += size) Block<From>(from + i).copy_to(to + i);
      from += at_once;
      to += at_once;
      continue;
    }
    const Block<From> block(from);
    block.copy_to(to);
    std::size_t done = 0;
    for (std::uint32_t bits = block.match_mask(needs_escape); bits != 0; bits &= bits - 1) {
      const std::size_t position = static_cast<std::size_t>(std::countr_zero(bits)) / sizeof(From);
      to = write_escape(from[position], to + (position - done));
      done = position + 1;
      Block<From>(from + done).copy_to(to);
    }
    to += size - done;
    from += size;
  }
  while (from != end) {
    const std::size_t rest = std::min(size, static_cast<std::size_t>(end - from));
    const Block<From> block(from, rest);
    block.copy_to(to);
    const std::uint32_t bits = block.match_mask(needs_escape) & ((1U << (rest * sizeof(From))) - 1);
    // Most strings end without an escape. The predicted branch keeps the comparison off the dependency
    // chain of `to`.
    if (bits == 0) [[likely]] {
      from += rest;
      to += rest;
      continue;
    }
    const std::size_t plain = static_cast<std::size_t>(std::countr_zero(bits)) / sizeof(From);
    to = write_escape(from[plain], to + plain);
    from += plain + 1;
  }
  return to;
}

}  // namespace mcp_responses::detail
