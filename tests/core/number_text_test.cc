#include "detail/number_text.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <string_view>

namespace mcp_responses {
namespace {

TEST(NumberText, Floats) {
  std::istringstream texts(
      "0.0 -0.0 50.0 0.1 1e-05 0.0001 0.00012345 9.999e-05 1e+16 1000000000000000.0 "
      "9999999999999998.0 0.3333333333333333 -2.5 2.5e-07 1.2345678901234568e+17 1.5e+300 5e-324 "
      "2.2250738585072014e-308 5e-320 -1.7976931348623157e+308 9007199254740992.0 "
      "7.120236347223045e-307 9007199254741000.0 9999999999999990.0 NaN Infinity -Infinity");
  for (std::string text; texts >> text;)
    EXPECT_EQ(NumberText(std::strtod(text.c_str(), nullptr)).view(), text);
  EXPECT_EQ(NumberText(-std::nan("")).view(), "NaN");
}

/// The significant digits of a number's text, without zeros at either end.
std::string digits_of(std::string_view text) {
  std::string digits(text.substr(0, text.find('e')));
  std::erase_if(digits, [](char character) { return character < '0' || character > '9'; });
  digits.erase(0, digits.find_first_not_of('0'));
  return digits.erase(digits.find_last_not_of('0') + 1);
}

void expect_shortest(double number) {
  if (!std::isfinite(number) || number == 0) return;
  char buffer[32];
  const char* const end =
      std::to_chars(std::begin(buffer), std::end(buffer), number, std::chars_format::scientific)
          .ptr;
  const std::string text(NumberText(number).view());
  EXPECT_EQ(std::strtod(text.c_str(), nullptr), number) << text;
  EXPECT_EQ(digits_of(text), digits_of({buffer, end})) << text;
}

TEST(NumberText, FloatsAreTheShortestAsTheStandardLibrarysAre) {
  const auto with_neighbours = [](double number) {
    for (std::int64_t apart = -4; apart <= 4; ++apart)
      expect_shortest(std::bit_cast<double>(std::bit_cast<std::int64_t>(number) + apart));
  };
  for (int e = -1070; e <= 1023; ++e) with_neighbours(std::ldexp(1, e));
  for (int e = -323; e <= 308; ++e)
    with_neighbours(std::strtod(("1e" + std::to_string(e)).c_str(), nullptr));
  for (std::int64_t bits = 1; bits < 1000; ++bits) expect_shortest(std::bit_cast<double>(bits));
  std::mt19937_64 random(16);
  for (int i = 0; i < 100'000; ++i) {
    expect_shortest(std::bit_cast<double>(random()));
    expect_shortest(static_cast<double>(random() >> 9) / 4);            // near halves
    expect_shortest(static_cast<double>(random() % 1'000'000) / 1000);  // few digits
  }
}

TEST(NumberText, Integers) {
  using Limits = std::numeric_limits<std::int64_t>;
  for (const std::int64_t integer :
       {std::int64_t{0}, std::int64_t{-42}, Limits::min(), Limits::max()})
    EXPECT_EQ(NumberText(integer).view(), std::to_string(integer));
}

}  // namespace
}  // namespace mcp_responses
