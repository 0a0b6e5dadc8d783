// Block: 16 bytes of a text in a vector register. Text is searched and copied a block at a time,
// which takes a fraction of the time that one code point after the other takes.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace mcp_responses {

template <class Unit>
class Block {
 public:
  static constexpr std::size_t size = 16 / sizeof(Unit);

  /// A whole block. Reads 16 bytes, from any address.
  explicit Block(const Unit* units) noexcept : units_(load<Vector>(units)) {}

  /// The first `count` units of a block, at most a whole one, and zeros behind them. Nothing past
  /// them is read: two reads that overlap make up what is there.
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

  /// Writes a whole block, each unit as a `To`, to any address. Requires room for all of it, also
  /// where only the first units mean anything.
  template <class To>
  void copy_to(To* to) const noexcept {
    if constexpr (sizeof(To) == sizeof(Unit)) {
      std::memcpy(to, &units_, sizeof(units_));
    } else {
      with_zeros_from<0>().copy_to(to);
      with_zeros_from<size / 2>().copy_to(to + size / 2);
    }
  }

  /// Which units `find` holds for: the bit at `position * sizeof(Unit)`, counted from the lowest,
  /// is set for each. `find` compares a vector of units: `[](auto units) { return units == ' '; }`.
  template <class Find>
  std::uint32_t where(Find find) const noexcept {
    constexpr std::uint32_t one_a_unit = 0xFFFF / ((1U << sizeof(Unit)) - 1);
    return bits_of(find(units_)) & one_a_unit;
  }

  /// True when `find` holds for none of the `count` units at `units`, however many blocks they take.
  template <std::size_t count, class Find>
  static bool none_in(const Unit* units, Find find) noexcept {
    auto found = find(Block(units).units_);
    for (std::size_t i = size; i < count; i += size) found |= find(Block(units + i).units_);
    return bits_of(found) == 0;
  }

 private:
  static_assert(std::endian::native == std::endian::little);
  using Vector [[gnu::vector_size(16)]] = Unit;
  using Twice = std::conditional_t<sizeof(Unit) == 1, std::uint16_t, std::uint32_t>;
  template <class>
  friend class Block;
  explicit Block(const Vector& units) noexcept : units_(units) {}

  /// Half of the units, the first of them at `first`, each twice as wide. A conversion of vectors
  /// would be made one unit after the other.
  template <std::size_t first>
  Block<Twice> with_zeros_from() const noexcept {
    const auto interleaved = [this]<std::size_t... i>(std::index_sequence<i...>) {
      return __builtin_shufflevector(units_, Vector{}, (first + i / 2 + i % 2 * size)...);
    }
    (std::make_index_sequence<size>());
    return Block<Twice>(std::bit_cast<typename Block<Twice>::Vector>(interleaved));
  }

  using Halves [[gnu::vector_size(16)]] = std::uint64_t;

  /// A bit for each unit where `found` is set, as `where` has it, and perhaps more beside it.
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

}  // namespace mcp_responses
