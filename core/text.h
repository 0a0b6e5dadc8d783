// Text: an immutable run of Unicode code points.
//
// Every length, position and cut of this library counts code points, so a text keeps them that way:
// one, two or four bytes each, always the narrowest that fits. Cutting is indexing, and a string of
// the host interpreter, which keeps its strings alike, is used where it lies. UTF-8 is made at the
// edges only.
//
// Not for: layout, normalisation or grapheme clusters. A lone surrogate can be carried, but has no
// UTF-8.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "handle.h"

namespace mcp_responses {

/// The smallest of the four sets that holds every code point of a text: up to U+007F, U+00FF,
/// U+FFFF or U+10FFFF. It decides how the text is stored.
enum class Repertoire : std::uint8_t { ascii, latin1, bmp, full };

/// Bytes that a code point takes in storage: 1, 1, 2 or 4.
constexpr std::size_t unit_size(Repertoire repertoire) {
  return repertoire == Repertoire::full ? 4 : repertoire == Repertoire::bmp ? 2 : 1;
}

/// A view of code points that somebody else owns. `repertoire` is exact, but for a slice's.
struct TextView {
  const void* data = nullptr;
  std::size_t size = 0;  // in code points
  Repertoire repertoire = Repertoire::ascii;

  char32_t operator[](std::size_t position) const;
  /// `count` code points from `position`. The repertoire stays this view's, so it may be larger
  /// than they need.
  TextView slice(std::size_t position, std::size_t count) const;
};

bool operator==(const TextView& a, const TextView& b) noexcept;

/// An order for look-ups, cheap and no alphabetical one: by size, then repertoire, then bytes.
/// Maps of texts that an outsider chooses use it: unlike a hash, no choice of texts makes it slow.
std::strong_ordering operator<=>(const TextView& a, const TextView& b) noexcept;

/// Calls `visitor` with the view's units as a span of std::uint8_t, std::uint16_t or std::uint32_t.
template <class Visitor>
decltype(auto) visit_units(const TextView& view, Visitor&& visitor) {
  switch (unit_size(view.repertoire)) {
    case 1:
      return visitor(std::span(static_cast<const std::uint8_t*>(view.data), view.size));
    case 2:
      return visitor(std::span(static_cast<const std::uint16_t*>(view.data), view.size));
    default:
      return visitor(std::span(static_cast<const std::uint32_t*>(view.data), view.size));
  }
}

/// An ASCII text that lives as long as the program: the name of a key, a fixed message.
struct StringLiteral {
  const char* data;
  std::size_t size;

  constexpr TextView view() const { return {data, size, Repertoire::ascii}; }
};

/// How texts are held that this library allocates, and those that are part of the program.
extern const ValueOps text_ops;
extern const ValueOps literal_ops;

class Text : public Handle {
 public:
  /// The empty text.
  Text() noexcept;
  /// A text of the program's own; nothing is copied.
  explicit Text(const StringLiteral& word) noexcept
      : Handle(literal_ops, Payload{.pointer = &word}) {}
  /// Decodes UTF-8; each maximal ill-formed subsequence becomes one U+FFFD (the Unicode Standard,
  /// section 3.9).
  explicit Text(std::string_view utf8);
  /// Takes over one reference to a text held elsewhere. Requires `ops.kind` to be
  /// `Kind::string`.
  Text(const ValueOps& ops, Payload payload) noexcept : Handle(ops, payload) {}

  /// Copies code points into the narrowest storage.
  static Text copy_of(std::span<const std::uint8_t> units);
  static Text copy_of(std::span<const std::uint16_t> units);
  static Text copy_of(std::span<const std::uint32_t> units);
  static Text copy_of(const TextView& view);
  /// The one text and then the other, in one allocation of the size that they take.
  static Text joined(const TextView& first, const TextView& second);

  /// Valid while this text, or a copy of it, lives.
  TextView view() const noexcept { return ops().text(payload()); }
  std::size_t size() const noexcept { return view().size; }
  bool empty() const noexcept { return size() == 0; }

  /// The UTF-8 encoding. Throws `SurrogateError` when the text holds a lone surrogate.
  std::string utf8() const;

  friend bool operator==(const Text& a, const Text& b) noexcept { return a.view() == b.view(); }
  friend auto operator<=>(const Text& a, const Text& b) noexcept { return a.view() <=> b.view(); }
};

/// A text that must be encoded as UTF-8 holds a surrogate, which has no UTF-8.
class SurrogateError : public std::runtime_error {
 public:
  SurrogateError(Text text, std::size_t position);
  const Text& text() const noexcept { return text_; }
  /// Of the surrogate, in code points.
  std::size_t position() const noexcept { return position_; }

 private:
  Text text_;
  std::size_t position_;
};

constexpr bool is_surrogate(std::uint32_t code_point) {
  return (code_point & 0xFFFFF800U) == 0xD800U;
}

}  // namespace mcp_responses
