// Block: 16 bytes of a text in a vector register. Searching and copying a block at a time takes a
// fraction of the time that one code point at a time takes.
#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#elif defined(__ARM_NEON) && defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace mcp_responses::detail {

static_assert(std::endian::native == std::endian::little,
              "mcp_responses supports little-endian targets only");

/// A register of 16 bytes, as a comparison of units returns it: each byte is 0x00 or 0xFF.
using BlockBytes [[gnu::vector_size(16)]] = std::uint8_t;

/// `of` returns a bit for each byte that is 0xFF. The first byte has the lowest bit. This is the only
/// operation of a block that the vector types of GCC and clang do not have.
struct PortableMask {
  static std::uint32_t of(const BlockBytes& bytes) noexcept {
    using Halves [[gnu::vector_size(16)]] = std::uint64_t;
    const auto halves = std::bit_cast<Halves>(bytes);
    return of_half(halves[0]) | of_half(halves[1]) << 8;
  }

 private:
  /// Keeps a different bit of each byte. The multiplication adds all bytes into the highest one.
  static std::uint32_t of_half(std::uint64_t bytes) noexcept {
    return static_cast<std::uint32_t>((bytes & 0x8040201008040201) * 0x0101010101010101 >> 56);
  }
};

#if defined(__SSE2__)
struct NativeMask {
  static std::uint32_t of(const BlockBytes& bytes) noexcept {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(std::bit_cast<__m128i>(bytes)));
  }
};
#elif defined(__ARM_NEON) && defined(__aarch64__)
struct NativeMask {
  static std::uint32_t of(const BlockBytes& bytes) noexcept {
    constexpr BlockBytes bits = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const auto masked = std::bit_cast<uint8x16_t>(bytes & bits);
    return std::uint32_t{vaddv_u8(vget_low_u8(masked))} |
           std::uint32_t{vaddv_u8(vget_high_u8(masked))} << 8;
  }
};
#else
using NativeMask = PortableMask;
#endif

/// `Unit` is std::uint8_t, std::uint16_t or std::uint32_t. Tests choose the portable `Mask`.
template <class Unit, class Mask = NativeMask>
class Block {
 public:
  /// The number of units in a block.
  static constexpr std::size_t size = 16 / sizeof(Unit);

  /// Reads a whole block, 16 bytes, from any address.
  explicit Block(const Unit* units) noexcept : units_(load<Vector>(units)) {}

  /// Reads the first `count` units of a block and sets the others to zero. Does not read past them.
  /// Requires `count <= size`.
  Block(const Unit* units, std::size_t count) noexcept {
    assert(count <= size);
    const auto* const bytes = reinterpret_cast<const unsigned char*>(units);
    const std::size_t byte_count = count * sizeof(Unit);
    // Two overlapping reads of n bytes each cover any number of bytes from n to 2n.
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

  /// Writes a whole block to any address, each unit as a `To`. `To` is at least as wide as `Unit`.
  /// Requires memory for all units, even if only the first ones are used.
  template <class To>
  void copy_to(To* to) const noexcept {
    if constexpr (sizeof(To) == sizeof(Unit)) {
      std::memcpy(to, &units_, sizeof(units_));
    } else {
      widened_half<0>().copy_to(to);
      widened_half<size / 2>().copy_to(to + size / 2);
    }
  }

  /// Returns a mask in which bit `position * sizeof(Unit)` is set for each unit that matches.
  /// `predicate` compares a vector of units: `[](auto units) { return units == ' '; }`.
  template <class Predicate>
  std::uint32_t match_mask(Predicate predicate) const noexcept {
    constexpr std::uint32_t first_bits = 0xFFFF / ((1U << sizeof(Unit)) - 1);
    return mask_of(predicate(units_)) & first_bits;
  }

  /// Returns true if none of the `count` units at `units` matches. `count` is a multiple of `size`.
  template <std::size_t count, class Predicate>
  static bool none_in(const Unit* units, Predicate predicate) noexcept {
    static_assert(count % size == 0);
    auto found = predicate(Block(units).units_);
    for (std::size_t i = size; i < count; i += size) found |= predicate(Block(units + i).units_);
    return mask_of(found) == 0;
  }

 private:
  using Vector [[gnu::vector_size(16)]] = Unit;
  using Halves [[gnu::vector_size(16)]] = std::uint64_t;
  using Wider = std::conditional_t<sizeof(Unit) == 1, std::uint16_t, std::uint32_t>;
  template <class, class>
  friend class Block;
  explicit Block(const Vector& units) noexcept : units_(units) {}

  /// The units from `first` to `first + size / 2 - 1`, each twice as wide: on a little-endian target, a
  /// unit and a zero after it. Index i of the shuffle is that of a unit for even i, and that of the zero
  /// with the same position in the second vector for odd i: GCC compiles only this order to one
  /// instruction.
  template <std::size_t first>
  Block<Wider, Mask> widened_half() const noexcept {
    const auto interleaved = [this]<std::size_t... i>(std::index_sequence<i...>) {
      return __builtin_shufflevector(units_, Vector{}, (first + i / 2 + i % 2 * size)...);
    }
    (std::make_index_sequence<size>());
    return Block<Wider, Mask>(std::bit_cast<typename Block<Wider, Mask>::Vector>(interleaved));
  }

  template <class Found>
  static std::uint32_t mask_of(const Found& found) noexcept {
    return Mask::of(std::bit_cast<BlockBytes>(found));
  }

  template <class Loaded>
  static Loaded load(const void* bytes) noexcept {
    Loaded loaded;
    std::memcpy(&loaded, bytes, sizeof(loaded));
    return loaded;
  }

  Vector units_;
};

}  // namespace mcp_responses::detail
