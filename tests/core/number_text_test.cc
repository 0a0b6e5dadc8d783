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
#include <vector>

namespace mcp_responses::detail {
namespace {

TEST(NumberText, Floats) {
  std::istringstream texts(
      "0.0 -0.0 50.0 0.1 1e-05 0.0001 0.00012345 9.999e-05 1e+16 1000000000000000.0 "
      "9999999999999998.0 0.3333333333333333 -2.5 2.5e-07 1.2345678901234568e+17 1.5e+300 5e-324 "
      "2.2250738585072014e-308 5e-320 -1.7976931348623157e+308 9007199254740992.0 "
      "7.120236347223045e-307 9007199254741000.0 9999999999999990.0 99999999999.9999 0.9999 "
      "100000000000.0001 1125899906842624.2 1125899906842624.8 NaN Infinity -Infinity");
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

void expect_shortest_near(double number) {
  for (std::int64_t distance = -4; distance <= 4; ++distance)
    expect_shortest(std::bit_cast<double>(std::bit_cast<std::int64_t>(number) + distance));
}

TEST(NumberText, PowersAndTheirNeighboursHaveTheStandardLibrarysDigits) {
  for (int e = -1070; e <= 1023; ++e) expect_shortest_near(std::ldexp(1, e));
  for (int e = -323; e <= 308; ++e)
    expect_shortest_near(std::strtod(("1e" + std::to_string(e)).c_str(), nullptr));
  for (std::int64_t bits = 1; bits < 1000; ++bits) expect_shortest(std::bit_cast<double>(bits));
}

TEST(NumberText, RandomFloatsHaveTheStandardLibrarysDigits) {
  std::mt19937_64 random(16);
  for (int i = 0; i < 100'000; ++i) {
    expect_shortest(std::bit_cast<double>(random()));
    expect_shortest(static_cast<double>(random() >> 9) / 4);                   // ties
    expect_shortest(static_cast<double>(random() % 1'000'000'000'000) / 1e5);  // few digits
    // A border of the interval is a short decimal number.
    expect_shortest(std::ldexp(std::pow(5, random() % 23) * static_cast<double>(random() % 9), 30));
  }
}

// All doubles whose distance from a border or from a tie is not zero, but less than 2^-62.
TEST(NumberText, FloatsThatAreHardToRoundHaveTheStandardLibrarysDigits) {
  std::istringstream floats(
      "0x1.a3d8d5e503e59p-975 0x1.19710dc581911p-968 0x1.6ee73b7b47f43p-931 0x1.7c0747bd76fa1p-814 "
      "0x1.22cea327fa99dp-771 0x1.1d467e94b856ep-752 0x1.e18d6d1c6d916p-620 0x1.8823a57adbef9p-497 "
      "0x1.8823a57adbef8p-497 0x1.685f7683c20cdp-364 0x1.59a2783ce70abp-329 0x1.6e22db4568793p-247 "
      "0x1.88f6a1b543ad8p-182 0x1.eb344a229498ep-179 0x1.b848a3ee9807ep-123 0x1.3de005bd620dfp+216 "
      "0x1.ed11480eb4de0p+265 0x1.342acd09310acp+269 0x1.8135804b7d4d7p+272 0x1.5f6de9d5d6b5bp+445 "
      "0x1.e735b3003e352p+455 0x1.491daad0ba280p+530 0x1.491daad0ba280p+531 0x1.edac8039173c0p+532 "
      "0x1.9b651584e8b20p+533 0x1.9b651584e8b20p+534 0x1.348bd023ae858p+536 0x1.011f2d73116f4p+537 "
      "0x1.67f872d44b9bcp+537 0x1.ced1b83585c84p+537 0x1.011f2d73116f4p+538 0x1.81aec42c9a26ep+539 "
      "0x1.4166f8cfd5cb1p+540 0x1.c1f68f895e82bp+540 0x1.4166f8cfd5cb1p+541 0x1.a999ddec72acap+599 "
      "0x1.c8586f0912f1dp+734 0x1.79e0d5979f4f3p+754 0x1.83010aba78a54p+966 0x1.2240c80bda7bfp+969 "
      "0x1.e3c14d6916ce9p+969");
  for (std::string text; floats >> text;) expect_shortest_near(std::strtod(text.c_str(), nullptr));
}

TEST(NumberText, Integers) {
  using Limits = std::numeric_limits<std::int64_t>;
  std::vector<std::int64_t> integers{Limits::min(), Limits::max(), 0, 12'345'678'901'234'567};
  for (std::int64_t power = 1; power <= Limits::max() / 10; power *= 10)
    for (const std::int64_t integer : {power - 1, power, power + 1, 10 * power - 1, power * 3 / 2})
      integers.insert(integers.end(), {integer, -integer});
  for (const std::int64_t integer : integers)
    EXPECT_EQ(NumberText(integer).view(), std::to_string(integer));
}

}  // namespace
}  // namespace mcp_responses::detail
