// A float's text is built from its shortest digits d1 d2 ... dn and the exponent e for which it
// equals d1.d2...dn * 10^e:
//
//   float       = ["-"] (positional | exponential) | "NaN" | ["-"] "Infinity"
//   positional  = digits "." digits               if -4 <= e <= 15; at least one digit on each side
//   exponential = d1 ["." d2 ... dn] "e" ("+" | "-") exponent         otherwise; at least two digits
#include "detail/number_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace mcp_responses::detail {
namespace {

// NOLINTNEXTLINE(modernize-use-using): __extension__ does not apply to a using-declaration.
__extension__ typedef unsigned __int128 Wide;

// --- The shortest digits.

constexpr std::size_t index_of_10_to_0 = 293;

/// The 128 most significant bits, rounded up, of the powers 10^-293 to 10^323.
constexpr auto powers_of_10 = [] {
  std::array<Wide, index_of_10_to_0 + 324> powers{};
  // The next 128 bits are computed as well, so that these are correct. Both start with 10^-293.
  Wide high = Wide{0xCC5FC196FEFD7D0C} << 64 | 0x1E53ED49A96272C8;
  Wide low = Wide{0xB2E28CEDD086D010} << 64 | 0x01C8B894ED056D30;
  for (std::size_t i = 0; i < powers.size(); ++i) {
    if (i == index_of_10_to_0) {
      // 293 multiplications must give 1, or slightly less: otherwise the first value is wrong, and this
      // does not compile.
      if (~high != 0 || -low > 256) std::abort();
      high = Wide{1} << 127, low = 0;
    }
    powers[i] = high + 1;
    // Multiply by 10 / 8, and then divide by 2 if that overflows.
    const Wide quarter = high << 126 | low >> 2;
    low += quarter;
    const Wide sum = high + (high >> 2) + (low < quarter ? 1 : 0);
    const bool overflows = sum < high;
    high = overflows ? Wide{1} << 127 | sum >> 1 : sum;
    if (overflows) low = sum << 127 | low >> 1;
  }
  return powers;
}();

// Logarithms, rounded down, for every exponent of a double: log10(2) is 1262611.3 / 2^22, log10(3/4)
// is -524031.04 / 2^22, and log2(10) is 1741647.04 / 2^19.
constexpr int log10_of_power_of_2(int e) { return (e * 1262611) >> 22; }
constexpr int log10_of_3_quarters_of_power_of_2(int e) { return (e * 1262611 - 524031) >> 22; }
constexpr int log2_of_power_of_10(int e) { return (e * 1741647) >> 19; }

/// (10 * digits + last_digit) * 10^exponent. The last digit is below 10.
struct Decimal {
  std::uint64_t digits;
  std::uint64_t last_digit;
  int exponent;
};

/// The shortest decimal number that reads back as `number`; of several, the closest one. Requires a
/// finite number above zero.
///
/// This is Schubfach (Raffaello Giulietti, "The Schubfach way to render doubles", 2020) with a
/// single product, as in Victor Zverovich's zmij. The double is c * 2^q, and k = floor(log10(2^q)).
/// Numbers within half an ulp, 2^(q-1), read back as the double. Those exactly half an ulp away do
/// if c is even. In units of 10^(k+1), half an ulp is less than one half, so at most one integer is
/// in this interval. If there is one, it is the result. Otherwise the result is the closest tenth:
/// the interval is at least one tenth long.
///
/// The fraction and half an ulp are truncated to 64 bits. Truncation could matter only within 2^-62
/// of a border or a tie. Continued fractions find 41 such doubles, and the tests contain them all.
Decimal shortest_decimal(double number) noexcept {
  constexpr std::uint64_t hidden_bit = std::uint64_t{1} << 52;
  constexpr std::uint64_t half = std::uint64_t{1} << 63;
  const auto bits = std::bit_cast<std::uint64_t>(number);
  const int biased = static_cast<int>(bits >> 52);
  const std::uint64_t c = (bits & (hidden_bit - 1)) | (biased > 0 ? hidden_bit : 0);
  const int q = std::max(biased, 1) - 1075;
  // The double below a power of two is only half an ulp away.
  const bool is_closer_below = c == hidden_bit && biased > 1;
  const int k = is_closer_below ? log10_of_3_quarters_of_power_of_2(q) : log10_of_power_of_2(q);

  // Scale c * 2^q to units of 10^(k+1). With s = floor(log2(10^-(k+1))), 10^-(k+1) is
  // power * 2^(s - 127), and shift is q + s:
  //
  //   c * 2^q * 10^-(k+1) = c * power * 2^(shift - 127) = factor * power / 2^138 = product / 2^74
  //   half an ulp         = 2^(q-1) * 10^-(k+1)         = power * 2^(shift - 128)
  //
  // shift is -4 to 0, because 2^q * 10^-(k+1) is at least 1/10 and less than 4/3. So the factor has at
  // most 64 bits.
  const Wide power = powers_of_10[index_of_10_to_0 - static_cast<std::size_t>(k + 1)];
  const auto power_high = static_cast<std::uint64_t>(power >> 64);
  const int shift = q + log2_of_power_of_10(-(k + 1));
  const std::uint64_t factor = c << (shift + 11);
  const Wide product =
      Wide{power_high} * factor + (Wide{static_cast<std::uint64_t>(power)} * factor >> 64);
  const auto integer = static_cast<std::uint64_t>(product >> 74);
  const auto fraction = static_cast<std::uint64_t>(product >> 10);  // of 2^64, like half_ulp
  // An even c includes the border: with one more, "less" includes "equal".
  const std::uint64_t half_ulp = (power_high >> -shift) + (c % 2 == 0 ? 1 : 0);

  std::uint64_t half_ulp_below = half_ulp;
  // A tie, which is a quarter or three quarters of a unit, is rounded to even: 2.5 to 2, 7.5 to 8.
  // 6 is about half the error of ten truncated fractions.
  std::uint64_t rounding = fraction == half / 2 ? half - 1 : half + 6;
  if (is_closer_below) [[unlikely]] {
    half_ulp_below /= 2;
    // The closest tenth may be too far below. Then the result is the first one that is not.
    if (half_ulp_below < half / 10) rounding = -(10 * half_ulp_below);
  }
  const auto tenths = static_cast<std::uint64_t>((Wide{fraction} * 10 + rounding) >> 64);
  const bool is_above = fraction + half_ulp < fraction;
  const bool is_tenth = !is_above & (fraction >= half_ulp_below);
  // A branch instead of the mask would be mispredicted often.
  return {integer + (is_above ? 1 : 0), tenths & -std::uint64_t{is_tenth}, k};
}

// --- Digits as text.

constexpr std::uint64_t ten_to_8 = 100'000'000;
constexpr std::uint64_t zeros = 0x3030'3030'3030'3030;

template <class Characters>
void store(Characters characters, char* to) noexcept {
  std::memcpy(to, &characters, sizeof characters);
}

/// The characters of each number below 100, the first one in the low byte.
constexpr auto digit_pairs = [] {
  std::array<std::array<char, 2>, 100> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i)
    pairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
  return pairs;
}();

/// Writes a fixed-point number with 32 fractional bits as `count` pairs of digits. Its integer part
/// is the first pair.
template <int count>
char* write_pairs(std::uint64_t fixed, char* to) noexcept {
  for (int i = 0; i < count; ++i, to += 2, fixed = (fixed & 0xFFFF'FFFF) * 100)
    store(digit_pairs[fixed >> 32], to);
  return to;
}

/// The same without a leading zero.
template <int count>
char* write_trimmed_pairs(std::uint64_t fixed, char* to) noexcept {
  if (fixed >> 32 >= 10) return write_pairs<count>(fixed, to);
  *to = static_cast<char>('0' + (fixed >> 32));
  return write_pairs<count - 1>((fixed & 0xFFFF'FFFF) * 100, to + 1);
}

char* write_natural(std::uint64_t number, char* to) noexcept;

/// Out of line, so that short numbers need no stack frame.
[[gnu::noinline]] char* write_long(std::uint64_t number, char* to) noexcept {
  to = write_natural(number / ten_to_8, to);
  return write_pairs<4>((number % ten_to_8 * 281474977 >> 16) + 1, to);
}

// The factors are 2^32 / 10^2, 2^32 / 10^4, 2^48 / 10^6 and 2^57 / 10^8, rounded up.
char* write_natural(std::uint64_t number, char* to) noexcept {
  if (number < 100) return write_trimmed_pairs<1>(number << 32, to);
  if (number < 10'000) return write_trimmed_pairs<2>(number * 42949673, to);
  if (number < 1'000'000) return write_trimmed_pairs<3>(number * 429497, to);
  if (number < ten_to_8) return write_trimmed_pairs<4>((number * 281474977 >> 16) + 1, to);
  if (number < 10 * ten_to_8) return write_trimmed_pairs<5>((number * 1441151881 >> 25) + 1, to);
  return write_long(number, to);
}

/// The number of bytes up to the last one that is not zero.
constexpr int bytes_in(std::uint64_t number) {
  return static_cast<int>(std::bit_width(number) + 7) / 8;
}

char* write_4_decimals(std::uint64_t ten_thousandths, char* to) noexcept {
  to = write_natural(ten_thousandths / 10'000, to);
  const std::uint64_t decimals = ten_thousandths % 10'000;
  const auto digits = std::bit_cast<std::uint32_t>(
      std::array{digit_pairs[decimals / 100], digit_pairs[decimals % 100]});
  *to = '.';
  store(digits, to + 1);
  return to + 1 + bytes_in((digits ^ (zeros >> 32)) | 1);
}

// Vectors of 16 bytes. Operators apply to each lane, on any processor.
using Lanes16 [[gnu::vector_size(16)]] = std::uint16_t;
using Lanes32 [[gnu::vector_size(16)]] = std::uint32_t;
using Lanes64 [[gnu::vector_size(16)]] = std::uint64_t;

/// The 16 digits of a number below 10^16, one in each byte, the first one in the lowest byte. Splits
/// numbers of 8, 4 and 2 digits into halves; the upper half becomes the lower lane.
Lanes64 digits_16(std::uint64_t number) noexcept {
  const auto high = static_cast<std::uint32_t>(number / ten_to_8);
  const auto low = static_cast<std::uint32_t>(number % ten_to_8);
  const Lanes32 fours{high / 10'000, high % 10'000, low / 10'000, low % 10'000};
  const auto hundreds = std::bit_cast<Lanes32>(std::bit_cast<Lanes16>(fours) / 100);
  const auto twos = std::bit_cast<Lanes16>(hundreds | (fours - hundreds * 100) << 16);
  const Lanes16 tens = twos / 10;
  return std::bit_cast<Lanes64>(tens | (twos - tens * 10) << 8);
}

/// Out of line, because short numbers need no stack frame.
[[gnu::noinline]] char* write_shortest(double magnitude, char* to) noexcept {
  Decimal decimal = shortest_decimal(magnitude);
  // Normalize to 16 digits and the last one.
  for (; decimal.digits < ten_to_8 * ten_to_8 / 10; --decimal.exponent)
    decimal.digits = 10 * decimal.digits + std::exchange(decimal.last_digit, 0);
  const int exponent = decimal.exponent + 16;
  const Lanes64 digits = digits_16(decimal.digits);
  int count = 17;
  if (decimal.last_digit == 0)
    count = digits[1] != 0 ? 8 + bytes_in(digits[1]) : bytes_in(digits[0]);
  const std::uint64_t first_8 = digits[0] | zeros;
  const std::uint64_t next_8 = digits[1] | zeros;
  const auto last = static_cast<char>('0' + decimal.last_digit);
  if (exponent < 0 && exponent >= -4) {
    store(zeros, to);
    to[1] = '.';
    to += 1 - exponent;
    store(first_8, to);
    store(next_8, to + 8);
    to[16] = last;
    return to + count;
  }
  const bool is_positional = exponent >= 0 && exponent <= 15;
  const int before_point = is_positional ? exponent + 1 : 1;
  // Each store overwrites the spare bytes of the one before it.
  store(first_8, to);
  if (before_point <= 8) {
    // Two shifts, because a shift by 64 bits is undefined.
    store(first_8 >> 8 >> 8 * (before_point - 1), to + before_point + 1);
    store(next_8, to + 9);
  } else {
    store(next_8, to + 8);
    store(next_8 >> 8 >> 8 * (before_point - 9), to + before_point + 1);
  }
  to[before_point] = '.';
  to[17] = last;
  if (is_positional) return to + std::max(count + 1, before_point + 2);
  to += count > 1 ? count + 1 : 1;
  store(std::array{'e', exponent < 0 ? '-' : '+'}, to);
  to += 2;
  if (std::abs(exponent) < 10) *to++ = '0';
  return write_natural(static_cast<std::uint64_t>(std::abs(exponent)), to);
}

}  // namespace

char* write_number(std::int64_t integer, char* to) noexcept {
  const auto bits = static_cast<std::uint64_t>(integer);
  *to = '-';
  return integer < 0 ? write_natural(-bits, to + 1) : write_natural(bits, to);
}

char* write_number(double real, char* to) noexcept {
  const bool is_negative = std::signbit(real);
  const double magnitude = std::fabs(real);
  char* const digits = to + (is_negative ? 1 : 0);
  *to = '-';
  // Most floats have at most 4 decimals. Division and reading both round correctly, and no two
  // decimal numbers of at most 15 digits read back as the same double, so these are the shortest.
  if (magnitude < 1e11) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): The quotient is compared.
    const auto ten_thousandths = static_cast<std::int64_t>(magnitude * 1e4 + 0.5);
    if (static_cast<double>(ten_thousandths) / 1e4 == magnitude)
      return write_4_decimals(static_cast<std::uint64_t>(ten_thousandths), digits);
  }
  if (std::isfinite(real)) return write_shortest(magnitude, digits);
  const std::string_view word = std::isnan(real) ? "NaN" : is_negative ? "-Infinity" : "Infinity";
  return std::copy(word.begin(), word.end(), to);
}

}  // namespace mcp_responses::detail
