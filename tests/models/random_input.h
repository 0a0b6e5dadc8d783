// Random input: texts and values that are made from the bytes of a fuzzer or a random generator.
// Models work on std::u32string, because it is simple.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "text.h"
#include "value.h"

namespace models {

/// A sequence of choices, made from bytes. After the last byte every choice is 0.
class Choices {
 public:
  explicit Choices(std::string_view bytes) : bytes_(bytes) {}

  bool used_up() const { return bytes_.empty(); }
  std::string_view rest() const { return bytes_; }

  std::uint64_t bits(std::size_t bytes = 8) {
    std::uint64_t bits = 0;
    for (; bytes > 0; --bytes) bits = bits << 8 | byte();
    return bits;
  }

  /// A number from 0 to `bound` - 1. Requires a bound of at most 2 to the 16th.
  std::size_t below(std::size_t bound) { return bits(bound <= 256 ? 1 : 2) % bound; }

  template <class Content>
  Content one_of(std::initializer_list<Content> contents) {
    return contents.begin()[below(contents.size())];
  }

 private:
  unsigned byte() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return byte;
  }

  std::string_view bytes_;
};

inline mcp_responses::Text text_of(const std::u32string& code_points) {
  return mcp_responses::Text::copy_of(
      {code_points.data(), code_points.size(), mcp_responses::Repertoire::full});
}

inline std::u32string code_points_of(const mcp_responses::Text& text) {
  return mcp_responses::visit_units(
      text.view(), [](auto units) { return std::u32string(units.begin(), units.end()); });
}

/// Mostly letters, white space, ends of sentences and characters that are escaped, in one of the
/// four repertoires. Contains surrogates only if `with_surrogates`.
inline std::u32string any_text(Choices& choices, std::size_t longest,
                               bool with_surrogates = false) {
  static constexpr std::u32string_view frequent =
      U"ab .!?\n\n\t\r\"\\/\x01\x0b\x1b\x1f\x7f\x80\x85\xa0\xe9\xff"
      U"\u0100\u07ff\u0800\u1680\u200b\u2028\u2029\u3000\ufeff\uffff\U00010000\U0010ffff";
  const std::uint32_t above = choices.one_of({0x80U, 0x80U, 0x100U, 0x10000U, 0x110000U});
  std::u32string text;
  for (std::size_t size = choices.below(longest + 1); text.size() < size;) {
    char32_t next = frequent[choices.below(frequent.size())];
    if (choices.below(8) == 0) next = static_cast<char32_t>(choices.bits(3) % above);
    if (next >= above || (mcp_responses::is_surrogate(next) && !with_surrogates)) next = U'x';
    text.push_back(next);
  }
  return text;
}

/// A finite float.
inline double any_float(Choices& choices) {
  const auto real = std::bit_cast<double>(choices.bits());
  if (std::isfinite(real) && choices.below(2) == 0) return real;
  return choices.one_of({0.0, -0.0, 1.0, 0.1, 1e15, 1e16, 1e-4, 1e-5, 5e-324, 1.7e308});
}

/// A value without surrogates, and without floats unless `with_floats`.
inline mcp_responses::Value any_value(Choices& choices, int depth, bool with_floats) {
  switch (choices.below(depth > 0 ? 8 : 4)) {
    case 0:
      return choices.one_of<mcp_responses::Value>({{}, false, true});
    case 1:
      return std::bit_cast<std::int64_t>(choices.bits(choices.below(9)));
    case 2:
      if (with_floats) return any_float(choices);
      [[fallthrough]];
    case 3:
      return text_of(any_text(choices, 80));
    case 4:
    case 5: {
      mcp_responses::List list;
      for (auto n = choices.below(6); n > 0; --n)
        list.append(any_value(choices, depth - 1, with_floats));
      return list;
    }
    default: {
      mcp_responses::Object object;
      for (auto n = choices.below(6); n > 0; --n) {
        const mcp_responses::Text key = text_of(any_text(choices, 4));
        object.set(key, any_value(choices, depth - 1, with_floats));
      }
      return object;
    }
  }
}

}  // namespace models
