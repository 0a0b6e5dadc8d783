#include "detail/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <string>

namespace mcp_responses {
namespace {

TEST(NumberText, Floats) {
  std::istringstream texts(
      "0.0 -0.0 50.0 0.1 1e-05 0.0001 0.00012345 9.999e-05 1e+16 1000000000000000.0 "
      "9999999999999998.0 0.3333333333333333 -2.5 2.5e-07 1.2345678901234568e+17 1.5e+300 5e-324 "
      "2.2250738585072014e-308 5e-320 -1.7976931348623157e+308 9007199254740992.0 "
      "7.120236347223045e-307 NaN Infinity -Infinity");
  for (std::string text; texts >> text;)
    EXPECT_EQ(NumberText(std::strtod(text.c_str(), nullptr)).view(), text);
  EXPECT_EQ(NumberText(-std::nan("")).view(), "NaN");
}

TEST(NumberText, Integers) {
  using Limits = std::numeric_limits<std::int64_t>;
  for (const std::int64_t integer :
       {std::int64_t{0}, std::int64_t{-42}, Limits::min(), Limits::max()})
    EXPECT_EQ(NumberText(integer).view(), std::to_string(integer));
}

}  // namespace
}  // namespace mcp_responses
