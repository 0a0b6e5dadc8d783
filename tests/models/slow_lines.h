// Lines of a file, the slow and obvious way: decode the whole file, then split it.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace models {

/// The size of a character by its first byte; 0 if no character starts with it.
inline std::size_t expected_size(char first) {
  const auto ones = static_cast<std::size_t>(std::countl_one(static_cast<unsigned char>(first)));
  return ones == 0 ? 1 : ones == 1 || ones > 4 ? 0 : ones;
}

/// The smallest code point whose UTF-8 has `size` bytes and starts with these, if there is one.
inline std::optional<std::uint32_t> least_from(std::string_view bytes, std::size_t size) {
  static constexpr std::uint32_t lowest[] = {0, 0, 0x80, 0x800, 0x10000};
  static constexpr std::uint32_t highest[] = {0, 0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
  std::uint32_t low = static_cast<unsigned char>(bytes[0]) & (size == 1 ? 0x7FU : 0x7FU >> size);
  for (const char byte : bytes.substr(1)) {
    if ((byte & 0xC0) != 0x80) return {};
    low = low << 6 | static_cast<std::uint32_t>(byte & 0x3F);
  }
  const std::size_t open_bits = 6 * (size - bytes.size());
  const std::uint32_t high = std::min(((low + 1) << open_bits) - 1, highest[size]);
  low = std::max(low << open_bits, lowest[size]);
  const bool only_surrogates = low >= 0xD800 && high <= 0xDFFF;
  return low > high || only_surrogates ? std::nullopt : std::optional(low);
}

/// Each maximal subpart of an ill-formed sequence gives one U+FFFD.
inline std::u32string decoded(std::string_view bytes) {
  std::u32string text;
  while (!bytes.empty()) {
    const std::size_t expected = expected_size(bytes.front());
    std::size_t size = std::min(expected, bytes.size());
    while (size > 0 && !least_from(bytes.substr(0, size), expected)) --size;
    const bool is_complete = size > 0 && size == expected;
    text += static_cast<char32_t>(is_complete ? *least_from(bytes.substr(0, size), size) : 0xFFFD);
    bytes.remove_prefix(std::max<std::size_t>(1, size));
  }
  return text;
}

inline std::vector<std::u32string> split_lines(const std::u32string& text) {
  static constexpr std::u32string_view breaks = U"\n\v\f\r\x1c\x1d\x1e\x85\u2028\u2029";
  std::vector<std::u32string> lines;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find_first_of(breaks, start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + (text.compare(end, 2, U"\r\n") == 0 ? 2 : 1);
  }
  return lines;
}

}  // namespace models
