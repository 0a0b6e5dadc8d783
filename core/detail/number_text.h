// The text of integers and floats: decimal digits, and the shortest form that reads back as the
// same double.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcp_responses::detail {

/// The characters that `write_number` may write to. Those after the number's text are unspecified.
inline constexpr std::size_t number_capacity = 32;

/// Writes decimal digits, after "-" for a negative number: "0", "-42". Returns the end of the text.
/// Requires `number_capacity` characters at `to`.
char* write_number(std::int64_t integer, char* to) noexcept;

/// Writes the shortest text that reads back as the same double, as `repr` does in Python: "50.0",
/// "0.0001", "1e-05", "1e+16", "-0.0". It is positional from 1e-4 to below 1e16, and exponential
/// elsewhere. Numbers that are not finite are "NaN", "Infinity" and "-Infinity". Returns the end of
/// the text. Requires `number_capacity` characters at `to`.
char* write_number(double real, char* to) noexcept;

/// The text of one number, stored in place.
class NumberText {
 public:
  template <class Number>
  explicit NumberText(Number number) noexcept
      : size_(static_cast<std::size_t>(write_number(number, characters_) - characters_)) {}

  /// The view is valid while this object exists.
  std::string_view view() const noexcept { return {characters_, size_}; }

 private:
  char characters_[number_capacity];
  std::size_t size_;
};

}  // namespace mcp_responses::detail
