// The lines that are found are compared with a model by fuzz_line_finder.
#include "detail/line_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace mcp_responses {
namespace {

TEST(LineFinder, ReadsNoFurtherThanTheCutOfALine) {
  std::size_t bytes_read = 0;
  detail::LineFinder finder([&](std::span<char> to) {
    if (bytes_read > 1'000'000) throw std::logic_error("read too far");
    std::fill(to.begin(), to.end(), 'x');
    bytes_read += to.size();
    return to.size();
  });
  EXPECT_EQ(finder.find(1)->utf8(), std::string(199, 'x') + "…");
  EXPECT_THROW(finder.find(2), std::logic_error);
}

}  // namespace
}  // namespace mcp_responses
