// UTF-8: decodes the bytes of files and callers, and encodes code points.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcp_responses::detail {

inline constexpr std::uint32_t replacement_character = 0xFFFD;

/// Decodes the code point that starts at `position` and moves past it. For an ill-formed sequence,
/// returns U+FFFD and moves past its maximal subpart, as the Unicode Standard recommends (section
/// 3.9, U+FFFD substitution). Requires `position < bytes.size()`.
std::uint32_t decode_next(std::string_view bytes, std::size_t& position) noexcept;

/// The size of a code point in UTF-8, in bytes: 1 to 4.
constexpr std::size_t utf8_size(std::uint32_t code_point) {
  return code_point < 0x80 ? 1 : code_point < 0x800 ? 2 : code_point < 0x10000 ? 3 : 4;
}

/// Writes a code point and returns the end. Requires a scalar value, and capacity for 4 bytes.
char* encode_utf8(std::uint32_t code_point, char* out) noexcept;

}  // namespace mcp_responses::detail
