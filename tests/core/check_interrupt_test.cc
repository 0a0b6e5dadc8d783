// Long operations call the interruption check of their thread. Those of code_lines are in code_lines_test.
#include "check_interrupt.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <tuple>

#include "values.h"

namespace mcp_responses {
namespace {

TEST(CheckInterrupt, LongComparisonsAreInterrupted) {
  const auto numbers = [] { return List::repeated(1'000'000, 7); };
  const auto objects = [] { return List::repeated(100'000, Object{{"key"_t, 7}}); };
  const auto texts = [] { return List::repeated(100, Text(std::string(1'000'000, 'x'))); };
  struct Row {
    const char* name;
    Value a;
    Value b;
    std::size_t checks;
  };
  for (const Row& row :
       {Row{"numbers", numbers(), numbers(), 200}, Row{"objects", objects(), objects(), 20},
        Row{"texts", texts(), texts(), 100}}) {
    std::size_t checks = 0;
    const CheckInterrupt count = [&checks] { ++checks; };
    const InterruptScope counting(count);
    EXPECT_EQ(row.a, row.b) << row.name;
    EXPECT_GE(checks, row.checks) << row.name;
    const CheckInterrupt interrupt = [] { throw std::domain_error("interrupted"); };
    const InterruptScope interrupting(interrupt);
    EXPECT_THROW(std::ignore = row.a == row.b, std::domain_error) << row.name;
  }
}

}  // namespace
}  // namespace mcp_responses
