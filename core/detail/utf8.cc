#include "detail/utf8.h"

#include <array>
#include <cassert>

#include "text.h"

namespace mcp_responses::detail {
namespace {

/// The number of continuation bytes after a lead byte, and the range of the first one (the Unicode
/// Standard, table 3-7).
struct Lead {
  unsigned continuation_bytes;
  unsigned char low;
  unsigned char high;
};

constexpr Lead lead_of(unsigned char byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {0, 0, 0};
}

}  // namespace

std::uint32_t decode_next(std::string_view bytes, std::size_t& position) noexcept {
  assert(position < bytes.size());
  const auto first = static_cast<unsigned char>(bytes[position++]);
  if (first < 0x80) return first;
  Lead lead = lead_of(first);
  if (lead.continuation_bytes == 0) return replacement_character;
  std::uint32_t code_point = first & (0x3FU >> lead.continuation_bytes);
  for (unsigned i = 0; i < lead.continuation_bytes; ++i) {
    if (position == bytes.size()) return replacement_character;
    const auto byte = static_cast<unsigned char>(bytes[position]);
    if (byte < lead.low || byte > lead.high) return replacement_character;
    lead.low = 0x80;
    lead.high = 0xBF;
    code_point = code_point << 6 | (byte & 0x3FU);
    ++position;
  }
  return code_point;
}

char* encode_utf8(std::uint32_t code_point, char* out) noexcept {
  assert(code_point <= 0x10FFFF && !is_surrogate(code_point));
  constexpr std::array<std::uint32_t, 5> lead_bits{0, 0, 0xC0, 0xE0, 0xF0};  // by size
  const std::size_t size = utf8_size(code_point);
  for (std::size_t i = size - 1; i > 0; --i, code_point >>= 6)
    out[i] = static_cast<char>(0x80 | (code_point & 0x3F));
  out[0] = static_cast<char>(lead_bits[size] | code_point);
  return out + size;
}

}  // namespace mcp_responses::detail
