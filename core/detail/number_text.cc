// A float is put together from its shortest digits d1 d2 ... dn and the exponent e for which it is
// d1.d2...dn times 10^e:
//
//   float       = ["-"] (positional | exponential) | "NaN" | ["-"] "Infinity"
//   positional  = digits "." digits               at least one on each side, when -4 <= e <= 15
//   exponential = d1 ["." d2 ... dn] "e" ("+" | "-") exponent      at least two digits, elsewhere
#include "detail/number_text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "detail/shortest_float.h"

namespace mcp_responses {
namespace {

// Pieces are copied in one size, as long as the longest may be: what stands too far is written over
// by the next one, or past the end.
constexpr std::size_t most_digits = 17;
constexpr std::size_t most_before_point = 16;
constexpr std::size_t piece = 24;
// "-", the digits before the point, the point, and a piece.
static_assert(number_room >= 1 + most_before_point + 1 + piece);

/// "00" to "99".
constexpr auto pairs = [] {
  std::array<std::array<char, 2>, 100> table{};
  for (std::size_t i = 0; i < table.size(); ++i)
    table[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
  return table;
}();

/// Exactly 8 digits.
void write_8(std::uint32_t number, char* to) noexcept {
  const std::uint32_t high = number / 10000;
  const std::uint32_t low = number % 10000;
  std::memcpy(to, pairs[high / 100].data(), 2);
  std::memcpy(to + 2, pairs[high % 100].data(), 2);
  std::memcpy(to + 4, pairs[low / 100].data(), 2);
  std::memcpy(to + 6, pairs[low % 100].data(), 2);
}

/// The shortest digits of a finite, non-negative number that read back as the same double; zeros
/// follow them.
struct Shortest {
  // A piece may begin one behind the last digit: 9999999999999990.0 has 15, which stand from the
  // third place on, and a zero before its point.
  std::array<char, most_digits + 1 + piece> digits;
  std::size_t first = 0;
  std::size_t count;
  int exponent;

  explicit Shortest(double magnitude) noexcept {
    const Decimal decimal = magnitude == 0 ? Decimal{} : shortest_decimal(magnitude);
    constexpr std::uint64_t half = 100'000'000;
    const auto last_8 = static_cast<std::uint32_t>(decimal.digits % half);
    digits[0] = static_cast<char>('0' + decimal.digits / (half * half));
    write_8(static_cast<std::uint32_t>(decimal.digits / half % half), &digits[1]);
    write_8(last_8, &digits[1 + 8]);
    std::fill(digits.begin() + most_digits, digits.end(), '0');
    while (first < most_digits - 1 && digits[first] == '0') ++first;
    count = most_digits - first;
    exponent = decimal.exponent + static_cast<int>(count) - 1;
    if (last_8 == 0 && count > 8) count -= 8;  // eight zeros at once: most floats have few digits
    while (count > 1 && digits[first + count - 1] == '0') --count;
  }

  const char* begin() const noexcept { return &digits[first]; }
};

char* write_word(std::string_view word, char* to) noexcept {
  return std::copy(word.begin(), word.end(), to);
}

char* write_exponential(std::string_view digits, int exponent, char* to) noexcept {
  *to++ = digits.front();
  if (digits.size() > 1) {
    *to++ = '.';
    to = write_word(digits.substr(1), to);
  }
  to = write_word(exponent < 0 ? "e-" : "e+", to);
  const std::int64_t magnitude = std::abs(exponent);
  if (magnitude < 10) *to++ = '0';
  return write_number(magnitude, to);
}

char* write_finite(double magnitude, char* to) noexcept {
  const Shortest shortest(magnitude);
  const char* const digits = shortest.begin();
  if (shortest.exponent < -4 || shortest.exponent > 15)
    return write_exponential({digits, shortest.count}, shortest.exponent, to);
  if (shortest.exponent < 0) {
    write_word("0.0000", to);
    to += 1 - shortest.exponent;
    std::memcpy(to, digits, piece);
    return to + shortest.count;
  }
  const std::size_t before_point = static_cast<std::size_t>(shortest.exponent) + 1;
  std::memcpy(to, digits, piece);
  to += before_point;
  *to++ = '.';
  std::memcpy(to, digits + before_point, piece);
  return to + (shortest.count > before_point ? shortest.count - before_point : 1);
}

}  // namespace

char* write_number(double real, char* to) noexcept {
  if (std::isnan(real)) return write_word("NaN", to);
  if (std::signbit(real)) *to++ = '-';
  return std::isinf(real) ? write_word("Infinity", to) : write_finite(std::fabs(real), to);
}

}  // namespace mcp_responses
