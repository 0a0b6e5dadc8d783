// The shortest decimal number that reads back as a given double.
#pragma once

#include <cstdint>

namespace mcp_responses {

/// A decimal number: `digits` times 10 to the power of `exponent`. The digits may end with zeros.
struct Decimal {
  std::uint64_t digits;
  int exponent;
};

/// Of the decimal numbers with the fewest digits that read back as this double, the one closest to
/// it. Requires a finite number above zero.
Decimal shortest_decimal(double number) noexcept;

}  // namespace mcp_responses
