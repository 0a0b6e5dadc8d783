// Sinks: what the encoder writes into. TextSink collects a text, CountSink only counts its bytes.
// Both take the same calls, so that the size of an answer cannot disagree with its text. Each takes
// the size of what was put so far, in units of the text or in bytes, and returns what it is then:
// the encoder keeps it in a register, where a member would be written and read back at each call.
//
//   put(size, character), put(size, ascii)    punctuation and words: ASCII, written as it is
//   put_number(size, number)                  the text of an integer or a float
//   put_string(size, text)                    a string in quotation marks, escaped where it must be
//   put_key(size, text, is_first)             the key of a member: a string and a colon, and a comma
//                                             before any but the first member of its object
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "detail/block.h"
#include "detail/escapes.h"
#include "detail/number_text.h"
#include "text.h"

namespace mcp_responses {

/// Memory that texts are written into, one after the other.
struct TextBuffer {
  struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
  };
  std::unique_ptr<void, Free> bytes;
  std::size_t capacity = 0;  // in bytes
};

/// Collects a text. Its units are as wide as what came so far needs: the first wider character
/// widens all that stands already. Surrogates are carried through. Throws std::bad_alloc.
class TextSink {
 public:
  TextSink() noexcept = default;
  /// Writes into this memory, and into more where it is not enough.
  explicit TextSink(TextBuffer buffer) noexcept : buffer_(std::move(buffer)) {}

  std::size_t put(std::size_t size, char character) {
    if (unit_size(repertoire_) > 1 || size >= buffer_.capacity) [[unlikely]]
      return put(size, std::string_view(&character, 1));
    static_cast<char*>(buffer_.bytes.get())[size] = character;
    return size + 1;
  }
  std::size_t put(std::size_t size, std::string_view ascii);
  template <class Number>
  std::size_t put_number(std::size_t size, Number number) {
    if (unit_size(repertoire_) > 1) return put(size, NumberText(number).view());
    char* const to = reinterpret_cast<char*>(reserve<std::uint8_t>(size, number_room));
    return size + static_cast<std::size_t>(write_number(number, to) - to);
  }
  std::size_t put_string(std::size_t size, const TextView& text) {
    return put_between(size, 0, text, 0);
  }
  std::size_t put_key(std::size_t size, const TextView& text, bool is_first) {
    return put_between(size, is_first ? 0 : 1, text, 1);
  }

  /// What was put. Valid until the next call.
  TextView view(std::size_t size) const noexcept {
    return {buffer_.bytes.get(), size, repertoire_};
  }
  /// Begins a new text.
  void clear() noexcept { repertoire_ = Repertoire::ascii; }
  /// The memory, for the next text.
  TextBuffer buffer() && noexcept { return std::move(buffer_); }

 private:
  /// Makes room for `more` units of the width in use, and answers where the next one goes.
  template <class Unit>
  Unit* reserve(std::size_t size, std::size_t more) {
    if (size + more > buffer_.capacity / sizeof(Unit)) [[unlikely]]
      grow((size + more) * sizeof(Unit));
    return static_cast<Unit*>(buffer_.bytes.get()) + size;
  }
  /// A string with `commas` commas before it and `colons` colons behind it, none or one of each.
  std::size_t put_between(std::size_t size, unsigned commas, const TextView& text,
                          unsigned colons) {
    // Inlined for the narrow sink alone: code for the wide ones here costs more than it gains.
    if (unit_size(repertoire_) == 1) {
      const std::size_t after = put_short<std::uint8_t>(size, commas, text, colons);
      if (after > 0) return after;
    }
    return put_any(size, commas, text, colons);
  }
  std::size_t put_any(std::size_t size, unsigned commas, const TextView& text, unsigned colons);
  /// Writes the string if it is short, of one byte a unit, and holds nothing to escape, as most
  /// are; returns 0 when it is not. It is copied by blocks that may overlap, so that hardly a branch
  /// depends on the length.
  template <class Unit>
  std::size_t put_short(std::size_t size, unsigned commas, const TextView& text,
                        unsigned colons) noexcept {
    using Bytes = Block<std::uint8_t>;
    constexpr std::size_t block = Bytes::size;
    if (text.size > 4 * block || text.repertoire > Repertoire::latin1 ||
        text.repertoire > repertoire_ || buffer_.capacity / sizeof(Unit) - size < 5 * block) {
      return 0;
    }
    const auto* const from = static_cast<const std::uint8_t*>(text.data);
    Unit* to = static_cast<Unit*>(buffer_.bytes.get()) + size;
    *to = ',';
    to += commas;
    std::uint32_t found = 0;
    const auto take = [&](const Bytes& bytes, std::size_t position) {
      found |= bytes.where(needs_escape);
      bytes.copy_to(to + 1 + position);
    };
    if (text.size < block) {
      take(Bytes(from, text.size), 0);
      found &= (1U << text.size) - 1;
    } else {
      const std::size_t last = text.size - block;
      take(Bytes(from), 0);
      if (text.size > 2 * block) {
        take(Bytes(from + block), block);
        take(Bytes(from + last - block), last - block);
      }
      take(Bytes(from + last), last);
    }
    if (found != 0) return 0;
    to[0] = '"';
    to[text.size + 1] = '"';
    to[text.size + 2] = ':';
    return size + commas + text.size + 2 + colons;
  }
  template <class Unit>
  std::size_t put_ascii(std::size_t size, std::string_view ascii);
  template <class Unit>
  std::size_t put_quoted(std::size_t size, const TextView& text);
  template <class Unit, class From>
  std::size_t put_escaped(std::size_t size, std::span<const From> units);
  void grow(std::size_t needed);
  void widen(std::size_t size, Repertoire repertoire);
  template <class From, class To>
  void widen_units(std::size_t size);

  TextBuffer buffer_;
  Repertoire repertoire_ = Repertoire::ascii;
};

/// Counts the bytes of the text in UTF-8. Throws `SurrogateError` for a lone surrogate, which has
/// none.
struct CountSink {
  static std::size_t put(std::size_t size, char) noexcept { return size + 1; }
  static std::size_t put(std::size_t size, std::string_view ascii) noexcept {
    return size + ascii.size();
  }
  template <class Number>
  static std::size_t put_number(std::size_t size, Number number) noexcept {
    return put(size, NumberText(number).view());
  }
  static std::size_t put_string(std::size_t size, const TextView& text);
  static std::size_t put_key(std::size_t size, const TextView& text, bool is_first) {
    return put_string(size + (is_first ? 1 : 2), text);
  }
  static void clear() noexcept {}
};

}  // namespace mcp_responses
