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

namespace mcp_responses {
namespace {

/// The shortest digits of a finite, non-negative number that read back as the same double.
struct Shortest {
  std::array<char, 17> digits;
  std::size_t count = 0;
  int exponent = 0;

  explicit Shortest(double magnitude) noexcept {
    std::array<char, 32> buffer;  // as "d.ddde-05"
    const char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude,
                                          std::chars_format::scientific)
                                .ptr;
    const char* at = buffer.data();
    for (; *at != 'e'; ++at) {
      if (*at != '.') digits[count++] = *at;
    }
    const char* const exponent_digits = at + (at[1] == '+' ? 2 : 1);
    std::from_chars(exponent_digits, end, exponent);
  }
};

}  // namespace

NumberText::NumberText(std::int64_t integer) noexcept {
  char* const end =
      std::to_chars(characters_.data(), characters_.data() + characters_.size(), integer).ptr;
  size_ = static_cast<std::size_t>(end - characters_.data());
}

NumberText::NumberText(double real) noexcept {
  if (std::signbit(real) && !std::isnan(real)) put("-");
  if (std::isfinite(real)) {
    put_finite(std::fabs(real));
  } else {
    put(std::isnan(real) ? "NaN" : "Infinity");
  }
}

void NumberText::put_finite(double magnitude) noexcept {
  const Shortest shortest(magnitude);
  const std::string_view digits(shortest.digits.data(), shortest.count);
  if (shortest.exponent >= -4 && shortest.exponent <= 15) {
    put_positional(digits, shortest.exponent);
  } else {
    put_with_exponent(digits, shortest.exponent);
  }
}

void NumberText::put(std::string_view text) noexcept {
  std::memcpy(characters_.data() + size_, text.data(), text.size());
  size_ += text.size();
}

void NumberText::put(std::size_t count, char character) noexcept {
  std::memset(characters_.data() + size_, character, count);
  size_ += count;
}

void NumberText::put_positional(std::string_view digits, int exponent) noexcept {
  if (exponent < 0) {
    put("0.");
    put(static_cast<std::size_t>(-exponent - 1), '0');
    return put(digits);
  }
  const auto before_point = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= before_point) {
    put(digits);
    put(before_point - digits.size(), '0');
    return put(".0");
  }
  put(digits.substr(0, before_point));
  put(".");
  put(digits.substr(before_point));
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
