// Sinks: what the encoder writes into. TextSink collects a text, CountSink only counts its bytes.
// Both take the same calls, so that the size of an answer cannot disagree with its text:
//
//   put(character), put(ascii)    punctuation and words: ASCII, written as it is
//   put_number(number)            the text of an integer or a float
//   put_string(text)              a string in quotation marks, escaped where it must be
//   put_key(text, is_first)       the key of a member: a string and a colon, and a comma before any
//                                 but the first member of its object
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
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

  void put(char character) {
    if (unit_size(repertoire_) == 1 && size_ < buffer_.capacity) [[likely]] {
      static_cast<char*>(buffer_.bytes.get())[size_++] = character;
    } else {
      put(std::string_view(&character, 1));
    }
  }
  void put(std::string_view ascii);
  template <class Number>
  void put_number(Number number) {
    if (unit_size(repertoire_) > 1) return put(NumberText(number).view());
    char* const to = reinterpret_cast<char*>(room_for<std::uint8_t>(number_room));
    size_ += static_cast<std::size_t>(write_number(number, to) - to);
  }
  void put_string(const TextView& text) { put_between(0, text, 0); }
  void put_key(const TextView& text, bool is_first) { put_between(is_first ? 0 : 1, text, 1); }

  /// What was put so far. Valid until the next call.
  TextView view() const noexcept { return {buffer_.bytes.get(), size_, repertoire_}; }
  /// Begins a new text.
  void clear() noexcept {
    size_ = 0;
    repertoire_ = Repertoire::ascii;
  }
  /// The memory, for the next text.
  TextBuffer buffer() && noexcept { return std::move(buffer_); }

 private:
  /// Makes room for `more` units of the width in use, and answers where the next one goes.
  template <class Unit>
  Unit* room_for(std::size_t more) {
    if (size_ + more > buffer_.capacity / sizeof(Unit)) [[unlikely]]
      grow((size_ + more) * sizeof(Unit));
    return static_cast<Unit*>(buffer_.bytes.get()) + size_;
  }
  /// A string with `commas` commas before it and `colons` colons behind it, none or one of each.
  void put_between(unsigned commas, const TextView& text, unsigned colons) {
    // Inlined for the narrow sink alone: code for the wide ones here costs more than it gains.
    if (unit_size(repertoire_) > 1 || !put_short<std::uint8_t>(commas, text, colons))
      put_any(commas, text, colons);
  }
  void put_any(unsigned commas, const TextView& text, unsigned colons);
  /// Writes the string if it is short, of one byte a unit, and holds nothing to escape, as most
  /// are; false when it is not. It is copied by blocks that may overlap, so that hardly a branch
  /// depends on the length.
  template <class Unit>
  bool put_short(unsigned commas, const TextView& text, unsigned colons) noexcept {
    using Bytes = Block<std::uint8_t>;
    constexpr std::size_t size = Bytes::size;
    if (text.size > 4 * size || text.repertoire > Repertoire::latin1 ||
        text.repertoire > repertoire_ || buffer_.capacity / sizeof(Unit) - size_ < 5 * size) {
      return false;
    }
    const auto* const from = static_cast<const std::uint8_t*>(text.data);
    Unit* to = static_cast<Unit*>(buffer_.bytes.get()) + size_;
    *to = ',';
    to += commas;
    std::uint32_t found = 0;
    const auto take = [&](const Bytes& block, std::size_t position) {
      found |= block.where(needs_escape);
      block.copy_to(to + 1 + position);
    };
    if (text.size < size) {
      take(Bytes(from, text.size), 0);
      found &= (1U << text.size) - 1;
    } else {
      const std::size_t last = text.size - size;
      take(Bytes(from), 0);
      if (text.size > 2 * size) {
        take(Bytes(from + size), size);
        take(Bytes(from + last - size), last - size);
      }
      take(Bytes(from + last), last);
    }
    if (found != 0) return false;
    to[0] = '"';
    to[text.size + 1] = '"';
    to[text.size + 2] = ':';
    size_ += commas + text.size + 2 + colons;
    return true;
  }
  template <class Unit>
  void put_ascii(std::string_view ascii);
  template <class Unit>
  void put_quoted(const TextView& text);
  template <class Unit, class From>
  void put_escaped(std::span<const From> units);
  void grow(std::size_t needed);
  void widen(Repertoire repertoire);
  template <class From, class To>
  void widen_units();

  TextBuffer buffer_;
  std::size_t size_ = 0;  // in units of the repertoire's size
  Repertoire repertoire_ = Repertoire::ascii;
};

/// Counts the bytes of the text in UTF-8. Throws `SurrogateError` for a lone surrogate, which has
/// none.
class CountSink {
 public:
  void put(char) noexcept { ++bytes_; }
  void put(std::string_view ascii) noexcept { bytes_ += ascii.size(); }
  template <class Number>
  void put_number(Number number) noexcept {
    put(NumberText(number).view());
  }
  void put_string(const TextView& text);
  void put_key(const TextView& text, bool is_first) {
    bytes_ += is_first ? 1 : 2;
    put_string(text);
  }

  std::size_t bytes() const noexcept { return bytes_; }
  /// Begins a new text.
  void clear() noexcept { bytes_ = 0; }

 private:
  std::size_t bytes_ = 0;
};

}  // namespace mcp_responses
