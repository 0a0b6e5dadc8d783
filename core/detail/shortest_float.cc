// Schubfach, after Raffaello Giulietti, "The Schubfach way to render doubles" (2020).
//
// A double is c * 2^q, and every number between the middles to its neighbours reads back as it. For
// the one k with 10^k <= 2^q < 10^(k+1), each such interval holds a multiple of 10^k, and at most
// one of 10^(k+1): like pigeonholes, which gave the method its name. So only four candidates have
// to be looked at. They are compared with the borders of the interval in quarters of 10^k, which a
// product with a power of ten of 126 bits tells exactly enough: the last bit of a quarter stands
// for all that lies beyond it.
#include "detail/shortest_float.h"

#include <array>
#include <bit>
#include <cstddef>

namespace mcp_responses {
namespace {

// NOLINTNEXTLINE(modernize-use-using): __extension__, which the type needs, takes no using.
__extension__ typedef unsigned __int128 Wide;

/// A natural number of up to 18 * 64 bits, for the table of powers.
class Natural {
 public:
  explicit constexpr Natural(std::size_t power_of_2) {
    limbs_[power_of_2 / 64] = std::uint64_t{1} << power_of_2 % 64;
  }

  constexpr void multiply_by_10() {
    Wide carry = 0;
    for (std::uint64_t& limb : limbs_) {
      carry += Wide{limb} * 10;
      limb = static_cast<std::uint64_t>(carry);
      carry >>= 64;
    }
  }

  constexpr void divide_by_10() {
    Wide rest = 0;
    for (std::size_t i = limbs_.size(); i-- > 0;) {
      rest = rest << 64 | limbs_[i];
      limbs_[i] = static_cast<std::uint64_t>(rest / 10);
      rest %= 10;
    }
  }

  /// The highest 128 bits, from the highest one that is set; zeros where there are no more.
  constexpr Wide highest_bits() const {
    std::size_t top = limbs_.size() - 1;
    while (limbs_[top] == 0) --top;
    const auto limb = [&](std::size_t down) { return top < down ? 0 : limbs_[top - down]; };
    const int zeros = std::countl_zero(limb(0));
    const Wide bits = Wide{limb(0)} << 64 | limb(1);
    return zeros == 0 ? bits : bits << zeros | limb(2) >> (64 - zeros);
  }

 private:
  std::array<std::uint64_t, 18> limbs_{};
};

/// The highest 128 bits of a power of ten, rounded up: the highest one is set.
struct Power {
  std::uint64_t high;
  std::uint64_t low;
};

constexpr Power rounded_up(const Natural& number) {
  const Wide bits = number.highest_bits() + 1;
  return {static_cast<std::uint64_t>(bits >> 64), static_cast<std::uint64_t>(bits)};
}

constexpr int lowest_power = -292;
constexpr int highest_power = 324;

constexpr auto powers_of_10 = [] {
  std::array<Power, highest_power - lowest_power + 1> powers{};
  Natural power(0);
  for (int k = 0; k <= highest_power; ++k, power.multiply_by_10())
    powers[static_cast<std::size_t>(k - lowest_power)] = rounded_up(power);
  // So large that 128 bits are left of it at the end; what is cut off at each step changes none.
  Natural fraction(1120);
  for (int k = -1; k >= lowest_power; --k) {
    fraction.divide_by_10();
    powers[static_cast<std::size_t>(k - lowest_power)] = rounded_up(fraction);
  }
  return powers;
}();

// Logarithms, rounded down, for every exponent that a double can have.
constexpr int log10_of_power_of_2(int e) { return (e * 1262611) >> 22; }
constexpr int log10_of_three_quarters_of_power_of_2(int e) { return (e * 1262611 - 524031) >> 22; }
constexpr int log2_of_power_of_10(int e) { return (e * 1741647) >> 19; }

/// The highest 64 bits of the product, the last one set when anything but zeros follows. The power
/// is rounded up, so a one there may be its own.
std::uint64_t product_to_odd(const Power& power, std::uint64_t factor) noexcept {
  const auto low = static_cast<std::uint64_t>(Wide{power.low} * factor >> 64);
  const Wide product = Wide{power.high} * factor + low;
  const auto rest = static_cast<std::uint64_t>(product);
  return static_cast<std::uint64_t>(product >> 64) | (rest > 1 ? 1 : 0);
}

}  // namespace

Decimal shortest_decimal(double number) noexcept {
  constexpr int fraction_bits = 52;
  constexpr std::uint64_t hidden_bit = std::uint64_t{1} << fraction_bits;
  const auto bits = std::bit_cast<std::uint64_t>(number);
  const std::uint64_t fraction = bits & (hidden_bit - 1);
  const int biased = static_cast<int>(bits >> fraction_bits);
  const bool is_normal = biased > 0;
  const std::uint64_t c = is_normal ? fraction | hidden_bit : fraction;
  const int q = (is_normal ? biased : 1) - 1075;

  // An integer of less than 54 bits is its own shortest form, zeros at its end aside.
  if (q <= 0 && q >= -fraction_bits && (c & ((std::uint64_t{1} << -q) - 1)) == 0)
    return {c >> -q, 0};

  // Below a power of two the next double is half as far away.
  const bool is_closer_below = fraction == 0 && biased > 1;
  const int k = is_closer_below ? log10_of_three_quarters_of_power_of_2(q) : log10_of_power_of_2(q);
  const int shift = q + log2_of_power_of_10(-k) + 1;
  const Power& power = powers_of_10[static_cast<std::size_t>(-k - lowest_power)];

  // In quarters of 10^k. The borders themselves read back as the double when it is even.
  const std::uint64_t odd = c & 1;
  const std::uint64_t value = product_to_odd(power, (4 * c) << shift);
  const std::uint64_t lower =
      product_to_odd(power, (4 * c - (is_closer_below ? 1 : 2)) << shift) + odd;
  const std::uint64_t upper = product_to_odd(power, (4 * c + 2) << shift) - odd;

  const std::uint64_t below = value / 4;  // as a multiple of 10^k
  const std::uint64_t below_10 = below / 10;
  const bool is_below_10_inside = lower <= 40 * below_10;
  const bool is_above_10_inside = 40 * below_10 + 40 <= upper;
  if (below >= 10 && is_below_10_inside != is_above_10_inside)
    return {below_10 + (is_above_10_inside ? 1 : 0), k + 1};

  const bool is_below_inside = lower <= 4 * below;
  const bool is_above_inside = 4 * below + 4 <= upper;
  if (is_below_inside != is_above_inside) return {below + (is_above_inside ? 1 : 0), k};
  const std::uint64_t middle = 4 * below + 2;
  const bool is_above_closer = value > middle || (value == middle && below % 2 != 0);
  return {below + (is_above_closer ? 1 : 0), k};
}

}  // namespace mcp_responses
