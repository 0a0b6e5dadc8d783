// Which characters of a string are written as an escape (RFC 8259, section 7: those that must be),
// found a block of 16 bytes at a time.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mcp_responses {

/// The escape of a character that needs one: `\"`, `\n`, `\u001b`. What stands past its size is
/// undefined.
struct alignas(16) Escape {
  std::array<std::uint8_t, 8> characters;
  std::uint8_t size;
};

constexpr Escape make_escape(std::uint8_t unit) {
  constexpr std::string_view of_controls = "uuuuuuuubtnufruuuuuuuuuuuuuuuuuu";
  constexpr std::string_view hex = "0123456789abcdef";
  const auto ascii = [](char character) { return static_cast<std::uint8_t>(character); };
  const std::uint8_t letter = unit < of_controls.size() ? ascii(of_controls[unit]) : unit;
  if (letter != 'u') return {{'\\', letter}, 2};
  return {{'\\', 'u', '0', '0', ascii(hex[unit >> 4]), ascii(hex[unit & 15])}, 6};
}

inline constexpr std::size_t longest_escape = 6;
inline constexpr std::size_t last_escaped = '\\';

/// By code point, up to the last that needs one.
inline constexpr auto escapes = [] {
  std::array<Escape, last_escaped + 1> table{};
  for (std::size_t unit = 0; unit < table.size(); ++unit)
    table[unit] = make_escape(static_cast<std::uint8_t>(unit));
  return table;
}();

/// 16 bytes of units, in a vector register.
template <class Unit>
class Block {
 public:
  static constexpr std::size_t size = 16 / sizeof(Unit);

  /// A whole block.
  explicit Block(const Unit* units) noexcept : units_(load<Vector>(units)) {}

  /// At most a block, zeros behind it. Nothing else is read: two overlapping halves make up what is
  /// there.
  Block(const Unit* units, std::size_t count) noexcept {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(units);
    const std::size_t byte_count = count * sizeof(Unit);
    Halves halves{};
    if (byte_count > 8) {
      halves[0] = load<std::uint64_t>(bytes);
      halves[1] = load<std::uint64_t>(bytes + byte_count - 8) >> (8 * (16 - byte_count));
    } else if (byte_count == 8) {
      halves[0] = load<std::uint64_t>(bytes);
    } else if (byte_count >= 4) {
      const std::uint64_t last = load<std::uint32_t>(bytes + byte_count - 4);
      halves[0] = load<std::uint32_t>(bytes) | last << (8 * (byte_count - 4));
    } else if (byte_count > 0) {
      const std::size_t middle = byte_count / 2;
      const std::size_t last = byte_count - 1;
      halves[0] = bytes[0] | std::uint64_t{bytes[middle]} << (8 * middle) |
                  std::uint64_t{bytes[last]} << (8 * last);
    }
    units_ = std::bit_cast<Vector>(halves);
  }

  /// Writes a whole block, each unit as a `To`.
  template <class To>
  void copy_to(To* to) const noexcept {
    using Wide [[gnu::vector_size(size * sizeof(To))]] = To;
    const Wide wide = __builtin_convertvector(units_, Wide);
    std::memcpy(to, &wide, sizeof(wide));
  }

  /// A bit for each unit that needs an escape, `position * sizeof(Unit)` counted from the lowest. A
  /// zero needs one.
  std::uint32_t escapes() const noexcept {
    constexpr std::uint32_t one_a_unit = 0xFFFF / ((1U << sizeof(Unit)) - 1);
    return bits_of(found()) & one_a_unit;
  }

  /// True when none of 16 units, however many blocks they take, needs an escape.
  static bool none_in_16(const Unit* units) noexcept {
    auto found = Block(units).found();
    for (std::size_t i = size; i < 16; i += size) found |= Block(units + i).found();
    return bits_of(found) == 0;
  }

 private:
  static_assert(std::endian::native == std::endian::little);
  using Vector [[gnu::vector_size(16)]] = Unit;
  using Halves [[gnu::vector_size(16)]] = std::uint64_t;

  auto found() const noexcept { return (units_ < 0x20) | (units_ == '"') | (units_ == '\\'); }

  /// A bit for each unit where `found` is set, as `escapes` has it, and perhaps more beside it.
  template <class Found>
  static std::uint32_t bits_of(const Found& found) noexcept {
#if defined(__SSE2__)
    return static_cast<std::uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(found)));
#else
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < size; ++i) bits |= (found[i] == 0 ? 0U : 1U) << (i * sizeof(Unit));
    return bits;
#endif
  }

  template <class Loaded>
  static Loaded load(const void* bytes) noexcept {
    Loaded loaded;
    std::memcpy(&loaded, bytes, sizeof(loaded));
    return loaded;
  }

  Vector units_;
};

/// Units that `write_escaped` may write past what it has to write.
inline constexpr std::size_t most_past_end = 16;

template <class To>
To* write_escape(std::uint32_t unit, To* to) noexcept {
  const Escape& escape = escapes[unit];
  std::copy_n(escape.characters.data(), escape.characters.size(), to);
  return to + escape.size;
}

/// Writes the units, escaped where they must be, and returns the end. Requires room for
/// `longest_escape` units for each, and `most_past_end` more.
template <class From, class To>
To* write_escaped(std::span<const From> units, To* to) noexcept {
  constexpr std::size_t size = Block<From>::size;
  const From* from = units.data();
  const From* const end = from + units.size();
  // With two blocks left, a block can be read from anywhere within the first: what stands between
  // two escapes is copied without asking how long it is.
  while (end - from >= static_cast<std::ptrdiff_t>(2 * size)) {
    if constexpr (sizeof(From) > 1) {
      if (end - from >= 16 && Block<From>::none_in_16(from)) {
        for (std::size_t i = 0; i < 16; i += size) Block<From>(from + i).copy_to(to + i);
        from += 16;
        to += 16;
        continue;
      }
    }
    const Block<From> block(from);
    block.copy_to(to);
    std::size_t done = 0;
    for (std::uint32_t bits = block.escapes(); bits != 0; bits &= bits - 1) {
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
    const std::uint32_t bits = block.escapes() & ((1U << (rest * sizeof(From))) - 1);
    // Most texts end without an escape; then where the next one goes waits for no comparison.
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

}  // namespace mcp_responses
