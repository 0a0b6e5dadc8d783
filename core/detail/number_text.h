// Integers and floats as text: decimal digits, and the shortest form that reads back as the same
// double.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcp_responses {

/// The text of one number, in place.
class NumberText {
 public:
  /// "0", "-42": decimal digits, "-" in front of a negative number.
  explicit NumberText(std::int64_t integer) noexcept;

  /// "50.0", "0.0001", "1e-05", "1e+16", "-0.0", "NaN", "-Infinity": the interpreter's own float
  /// text, but for the names of what is not a finite number. Positional from 1e-4 up to below 1e16,
  /// in exponent form elsewhere.
  explicit NumberText(double real) noexcept;

  std::string_view view() const noexcept { return {characters_.data(), size_}; }

  /// So many characters stand at `view().data()`, of which those past the text mean nothing.
  static constexpr std::size_t room = 32;

 private:
  char* end() noexcept { return characters_.data() + size_; }
  void put(std::string_view text) noexcept;
  void put_finite(double magnitude) noexcept;
  void put_with_exponent(std::string_view digits, int exponent) noexcept;

  std::array<char, 48> characters_;  // some may be written past the end of the text
  std::size_t size_ = 0;
};

}  // namespace mcp_responses
