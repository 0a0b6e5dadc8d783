// Cuts and summaries written the slow, obvious way: one rule after the other, on whole strings.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace models {

inline bool is_space(char32_t code_point) {
  static constexpr std::u32string_view spaces =
      U"\t\n\v\f\r\x1c\x1d\x1e\x1f \x85\xa0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007"
      U"\u2008\u2009\u200a\u2028\u2029\u202f\u205f\u3000";
  static_assert(spaces.size() == 29);
  return spaces.find(code_point) != spaces.npos;
}

inline std::u32string right_stripped(std::u32string text) {
  while (!text.empty() && is_space(text.back())) text.pop_back();
  return text;
}

inline std::u32string stripped(std::u32string text) {
  while (!text.empty() && is_space(text.front())) text.erase(0, 1);
  return right_stripped(std::move(text));
}

/// Requires `chars` of at least 1.
inline std::u32string cut(const std::u32string& text, std::int64_t chars) {
  const auto limit = static_cast<std::size_t>(chars);
  return text.size() <= limit ? text : right_stripped(text.substr(0, limit - 1)) + U'…';
}

inline std::u32string trimmed(const std::u32string& text, std::int64_t chars) {
  if (static_cast<std::int64_t>(text.size()) <= chars) return text;
  if (chars <= 1) return U"";
  const auto limit = static_cast<std::size_t>(chars);
  const std::size_t space = text.substr(0, limit - 1).rfind(U' ');
  const bool is_early = space == text.npos || space < limit / 2;
  return right_stripped(text.substr(0, is_early ? limit - 1 : space)) + U'…';
}

/// Empty where there is none.
inline std::u32string first_sentence(const std::u32string& docstring) {
  std::u32string paragraph = stripped(docstring);
  paragraph = paragraph.substr(0, paragraph.find(U"\n\n"));
  std::u32string words;
  for (const char32_t c : stripped(paragraph)) {
    if (!is_space(c)) {
      words += c;
    } else if (words.find_last_of(U".!?") == words.size() - 1) {
      break;
    } else if (words.back() != U' ') {
      words += U' ';
    }
  }
  return cut(words, 160);
}

}  // namespace models
