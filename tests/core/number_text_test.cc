#include "detail/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace mcp_responses {
namespace {

std::string text_of(double real) { return std::string(NumberText(real).view()); }

TEST(NumberText, Floats) {
  const double inf = std::numeric_limits<double>::infinity();
  for (const char* text : {"0.0",
                           "-0.0",
                           "50.0",
                           "0.1",
                           "1e-05",
                           "0.0001",
                           "0.00012345",
                           "9.999e-05",
                           "1e+16",
                           "1000000000000000.0",
                           "9999999999999998.0",
                           "0.3333333333333333",
                           "-2.5",
                           "2.5e-07",
                           "1.2345678901234568e+17",
                           "1.5e+300",
                           "5e-324",
                           "2.2250738585072014e-308",
                           "5e-320",
                           "-1.7976931348623157e+308",
                           "9007199254740992.0",
                           "7.120236347223045e-307"}) {
    EXPECT_EQ(text_of(std::strtod(text, nullptr)), text);
  }
  const std::pair<double, const char*> rows[] = {
      {inf, "Infinity"}, {-inf, "-Infinity"}, {std::nan(""), "NaN"}, {-std::nan(""), "NaN"}};
  for (const auto& [real, text] : rows) EXPECT_EQ(text_of(real), text);
}

TEST(NumberText, Integers) {
  for (const std::int64_t integer :
       {std::int64_t{0}, std::int64_t{-42}, std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_EQ(NumberText(integer).view(), std::to_string(integer));
  }
}

}  // namespace
}  // namespace mcp_responses
