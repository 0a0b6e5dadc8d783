// A float is put together from its shortest digits d1 d2 ... dn and the exponent e for which it is
// d1.d2...dn times 10^e:
//
//   float       = ["-"] (positional | exponential) | "NaN" | ["-"] "Infinity"
//   positional  = digits "." digits               at least one on each side, when -4 <= e <= 15
//   exponential = d1 ["." d2 ... dn] "e" ("+" | "-") exponent      at least two digits, elsewhere
#include "detail/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "detail/shortest_float.h"

namespace mcp_responses {
namespace {

// Pieces are copied in one size, as long as the longest may be: what stands too far is written over
// by the next one, or past the end.
constexpr std::size_t most_digits = 17;
constexpr std::size_t piece = 24;

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
  std::array<char, most_digits + piece> digits;
  std::size_t first = 0;
  std::size_t count;
  int exponent;

  explicit Shortest(double magnitude) noexcept {
    const Decimal decimal = magnitude == 0 ? Decimal{} : shortest_decimal(magnitude);
    constexpr std::uint64_t half = 100'000'000;
    digits[0] = static_cast<char>('0' + decimal.digits / (half * half));
    write_8(static_cast<std::uint32_t>(decimal.digits / half % half), &digits[1]);
    write_8(static_cast<std::uint32_t>(decimal.digits % half), &digits[1 + 8]);
    std::memset(&digits[most_digits], '0', piece);
    while (first < most_digits - 1 && digits[first] == '0') ++first;
    count = most_digits - first;
    exponent = decimal.exponent + static_cast<int>(count) - 1;
    while (count > 1 && digits[first + count - 1] == '0') --count;
  }

  const char* begin() const noexcept { return &digits[first]; }
};

}  // namespace

NumberText::NumberText(std::int64_t integer) noexcept {
  char* const end =
      std::to_chars(characters_.data(), characters_.data() + characters_.size(), integer).ptr;
  size_ = static_cast<std::size_t>(end - characters_.data());
}

NumberText::NumberText(double real) noexcept {
  if (std::signbit(real) && !std::isnan(real)) characters_[size_++] = '-';
  if (std::isfinite(real)) {
    put_finite(std::fabs(real));
  } else {
    put(std::isnan(real) ? "NaN" : "Infinity");
  }
}

void NumberText::put_finite(double magnitude) noexcept {
  const Shortest shortest(magnitude);
  if (shortest.exponent < -4 || shortest.exponent > 15) {
    put_with_exponent({shortest.begin(), shortest.count}, shortest.exponent);
  } else if (shortest.exponent < 0) {
    std::memcpy(end(), "0.0000", 6);
    size_ += static_cast<std::size_t>(1 - shortest.exponent);
    std::memcpy(end(), shortest.begin(), piece);
    size_ += shortest.count;
  } else {
    const std::size_t before_point = static_cast<std::size_t>(shortest.exponent) + 1;
    std::memcpy(end(), shortest.begin(), piece);
    size_ += before_point;
    *end() = '.';
    std::memcpy(end() + 1, shortest.begin() + before_point, piece);
    size_ += 1 + (shortest.count > before_point ? shortest.count - before_point : 1);
  }
}

void NumberText::put(std::string_view text) noexcept {
  std::memcpy(end(), text.data(), text.size());
  size_ += text.size();
}

void NumberText::put_with_exponent(std::string_view digits, int exponent) noexcept {
  put(digits.substr(0, 1));
  if (digits.size() > 1) {
    put(".");
    put(digits.substr(1));
  }
  put(exponent < 0 ? "e-" : "e+");
  const NumberText magnitude(static_cast<std::int64_t>(std::abs(exponent)));
  if (magnitude.size_ < 2) put("0");
  put(magnitude.view());
}

}  // namespace mcp_responses
