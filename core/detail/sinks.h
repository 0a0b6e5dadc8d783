// Sinks: TextSink collects the text that the encoder writes; CountSink counts its bytes in UTF-8. Both
// have the same functions, so the size of an answer cannot disagree with its text. Each function writes
// at an offset, in units of the text or in bytes, and returns the offset after it.
//
//   put(offset, ascii)                      punctuation and literal names: ASCII, not escaped
//   put_number(offset, number)              an integer or a float, and a comma
//   put_string(offset, text, delimiter)     a string in quotation marks, escaped, and the delimiter
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

#include "detail/block.h"
#include "detail/escapes.h"
#include "detail/number_text.h"
#include "text.h"

namespace mcp_responses::detail {

/// Memory for the text that is being written.
struct TextBuffer {
  struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
  };
  std::unique_ptr<void, Free> bytes;
  std::size_t capacity = 0;  // in bytes
};

/// Collects a text. Its units are as wide as the widest character so far: a wider one widens the
/// existing text. Surrogates are passed through. Throws std::bad_alloc.
///
/// The public functions contain the common case: a text of one byte per unit that neither grows nor
/// widens. In every other case they call `put_any` or `put_any_string`.
class TextSink {
 public:
  TextSink() noexcept = default;
  /// Writes to this memory, which is enlarged if necessary.
  explicit TextSink(TextBuffer buffer) noexcept : buffer_(std::move(buffer)) {}

  std::size_t put(std::size_t offset, std::string_view ascii) {
    if (offset + ascii.size() > narrow_capacity_) [[unlikely]]
      return put_any(offset, ascii);
    std::memcpy(static_cast<char*>(buffer_.bytes.get()) + offset, ascii.data(), ascii.size());
    return offset + ascii.size();
  }
  template <class Number>
  std::size_t put_number(std::size_t offset, Number number) {
    if (offset + number_capacity > narrow_capacity_) [[unlikely]]
      return put_any(put_any(offset, NumberText(number).view()), ",");
    char* const start = static_cast<char*>(buffer_.bytes.get()) + offset;
    char* const end = write_number(number, start);
    *end = ',';
    return offset + static_cast<std::size_t>(end + 1 - start);
  }
  std::size_t put_string(std::size_t offset, const TextView& text, char delimiter) {
    // Only the narrow case is inlined: inlining the wide ones costs more than it gains.
    if (!is_wide()) {
      const std::size_t end = put_if_short<std::uint8_t>(offset, text, delimiter);
      if (end > 0) return end;
    }
    return put_any_string(offset, text, delimiter);
  }

  /// The first `size` units of the text. Valid until the next call.
  TextView view(std::size_t size) const noexcept {
    return {buffer_.bytes.get(), size, repertoire_};
  }
  /// The memory, for the next text.
  TextBuffer buffer() && noexcept { return std::move(buffer_); }

 private:
  bool is_wide() const noexcept { return repertoire_ > Repertoire::latin1; }
  /// Writes to a text of any width. Grows if necessary.
  std::size_t put_any(std::size_t offset, std::string_view ascii);
  /// Writes any string to a text of any width. Grows and widens if necessary.
  std::size_t put_any_string(std::size_t offset, const TextView& text, char delimiter);
  /// Writes the string, like `put_string`, if it is short, has one byte per unit and needs no escape,
  /// like most strings, and the text need not grow. Otherwise returns 0.
  template <class Unit>
  std::size_t put_if_short(std::size_t offset, const TextView& text, char delimiter) noexcept {
    using Bytes = Block<std::uint8_t>;
    constexpr std::size_t block =
        Bytes::size;  // 4 for the text, 1 for quotation marks and delimiter
    if (text.size > 4 * block || text.repertoire > Repertoire::latin1 ||
        text.repertoire > repertoire_ || buffer_.capacity / sizeof(Unit) - offset < 5 * block) {
      return 0;
    }
    const auto* const from = static_cast<const std::uint8_t*>(text.data);
    Unit* const to = static_cast<Unit*>(buffer_.bytes.get()) + offset;
    std::uint32_t found = 0;
    const auto copy_block = [&](const Bytes& bytes, std::size_t position) {
      found |= bytes.match_mask(needs_escape);
      bytes.copy_to(to + 1 + position);
    };
    // Up to four blocks, which overlap unless the length is a multiple of 16: so few branches depend on
    // the length.
    if (text.size < block) {
      copy_block(Bytes(from, text.size), 0);
      found &= (1U << text.size) - 1;
    } else {
      const std::size_t last = text.size - block;
      copy_block(Bytes(from), 0);
      if (text.size > 2 * block) {
        copy_block(Bytes(from + block), block);
        copy_block(Bytes(from + last - block), last - block);
      }
      copy_block(Bytes(from + last), last);
    }
    if (found != 0) return 0;
    to[0] = '"';
    to[text.size + 1] = '"';
    to[text.size + 2] = static_cast<unsigned char>(delimiter);
    return offset + text.size + 3;
  }
  /// Writes the content of a string, the closing quotation mark and the delimiter. Grows if necessary.
  template <class Unit, class From>
  std::size_t put_escaped(std::size_t offset, std::span<const From> units, char delimiter);
  /// Returns a pointer to the unit at `offset`. Grows to a capacity for `count` units from there.
  template <class Unit>
  Unit* reserve(std::size_t offset, std::size_t count) {
    if (offset + count > buffer_.capacity / sizeof(Unit)) [[unlikely]]
      grow((offset + count) * sizeof(Unit));
    return static_cast<Unit*>(buffer_.bytes.get()) + offset;
  }
  void grow(std::size_t needed);
  /// Widens the first `size` units to those of a larger repertoire.
  void widen(std::size_t size, Repertoire repertoire);

  TextBuffer buffer_;
  // The capacity if units have one byte, else 0: one comparison tests both.
  std::size_t narrow_capacity_ = buffer_.capacity;
  Repertoire repertoire_ = Repertoire::ascii;
};

/// Counts the bytes of the text in UTF-8. Throws `SurrogateError` for a lone surrogate.
struct CountSink {
  static std::size_t put(std::size_t offset, std::string_view ascii) noexcept {
    return offset + ascii.size();
  }
  template <class Number>
  static std::size_t put_number(std::size_t offset, Number number) noexcept {
    return put(offset, NumberText(number).view()) + 1;
  }
  static std::size_t put_string(std::size_t offset, const TextView& text, char delimiter);
};

}  // namespace mcp_responses::detail
