// Lines of a file written the slow, obvious way: decode everything, split everything, then look.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "slow_cuts.h"

namespace models {

/// All line breaks, and what begins like one.
inline constexpr std::string_view breaks_and_the_like[] = {"\n",           "\v",
                                                           "\f",           "\r",
                                                           "\r\n",         "\n\r",
                                                           "\r\r\n",       "\x1c",
                                                           "\x1d",         "\x1e",
                                                           "\x1f",         "\xC2\x85",
                                                           "\x85",         "\xC2",
                                                           "\xC2\x84",     "\xE2\x80\xA8",
                                                           "\xE2\x80\xA9", "\xE2\x80\xAA",
                                                           "\xE2\x81\xA8", "\xE2\x80",
                                                           "\xE2",         "\xF0\xE2\x80\xA8"};

/// Whether some code point's UTF-8 starts with these bytes. `code_point` gets the least such.
inline bool starts_some_character(std::string_view bytes, std::size_t& length,
                                  std::uint32_t& code_point) {
  const auto lead = static_cast<unsigned char>(bytes.front());
  length = lead < 0x80   ? 1
           : lead < 0xC0 ? 0
           : lead < 0xE0 ? 2
           : lead < 0xF0 ? 3
           : lead < 0xF8 ? 4
                         : 0;
  if (length == 0) return false;
  code_point = length == 1 ? lead : lead & (0xFFU >> (length + 1));
  for (const char byte : bytes.substr(1)) {
    if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80) return false;
    code_point = code_point << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  const std::size_t open_bits = 6 * (length - bytes.size());
  const std::uint32_t highest = ((code_point + 1) << open_bits) - 1;
  code_point <<= open_bits;
  constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
  constexpr std::uint32_t most[] = {0, 0x7F, 0x7FF, 0xFFFF, 0x10FFFF};
  const bool only_surrogates = code_point >= 0xD800 && highest <= 0xDFFF;
  return highest >= least[length] && code_point <= most[length] && !only_surrogates;
}

/// Each sequence that is the longest start of a character, and no character itself, gives one
/// U+FFFD.
inline std::u32string decoded(std::string_view bytes) {
  std::u32string text;
  while (!bytes.empty()) {
    std::size_t size = 0;
    std::size_t length = 0;
    std::uint32_t code_point = 0;
    while (size < bytes.size() &&
           starts_some_character(bytes.substr(0, size + 1), length, code_point)) {
      if (++size == length) break;
    }
    const bool whole = size > 0 && size == length;
    if (whole) starts_some_character(bytes.substr(0, size), length, code_point);
    text.push_back(whole ? static_cast<char32_t>(code_point) : U'\uFFFD');
    bytes.remove_prefix(std::max<std::size_t>(1, size));
  }
  return text;
}

inline std::vector<std::u32string> split_lines(const std::u32string& text) {
  static constexpr std::u32string_view breaks = U"\n\v\f\r\x1c\x1d\x1e\x85\u2028\u2029";
  std::vector<std::u32string> lines;
  std::u32string line;
  bool open = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    open = breaks.find(text[i]) == breaks.npos;
    if (open) {
      line.push_back(text[i]);
      continue;
    }
    if (text[i] == U'\r' && i + 1 < text.size() && text[i + 1] == U'\n') ++i;
    lines.push_back(std::exchange(line, {}));
  }
  if (open) lines.push_back(line);
  return lines;
}

inline std::u32string shown_line(const std::u32string& line) { return cut(stripped(line), 200); }

}  // namespace models
