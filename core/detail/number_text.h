// Integers and floats as text: decimal digits, and the shortest form that reads back as the same
// double.
#pragma once

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcp_responses {

/// The room that a number is written into. What stands there past its text means nothing.
inline constexpr std::size_t number_room = 48;

/// Writes "0", "-42": decimal digits, "-" in front of a negative number. Returns the end of the text.
/// Requires `number_room` characters at `to`.
inline char* write_number(std::int64_t integer, char* to) noexcept {
  return std::to_chars(to, to + number_room, integer).ptr;
}

/// Writes "50.0", "0.0001", "1e-05", "1e+16", "-0.0", "NaN", "-Infinity": the interpreter's own float
/// text, but for the names of what is not a finite number. Positional from 1e-4 up to below 1e16, in
/// exponent form elsewhere. Otherwise as above.
char* write_number(double real, char* to) noexcept;

/// The text of one number, in place.
class NumberText {
 public:
  template <class Number>
  explicit NumberText(Number number) noexcept {
    size_ = static_cast<std::size_t>(write_number(number, characters_.data()) - characters_.data());
  }

  std::string_view view() const noexcept { return {characters_.data(), size_}; }

 private:
  std::array<char, number_room> characters_;
  std::size_t size_;
};

}  // namespace mcp_responses
