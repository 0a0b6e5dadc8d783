// Text: an immutable sequence of Unicode code points.
//
// Every length, position and cut of this library counts code points, so a text is stored as an array
// of them: one, two or four bytes each, the narrowest that fits. A cut is then an index, and a Python
// string, which CPython stores in the same way (PEP 393), is used in place. UTF-8 is produced at the
// interfaces: files, std::string, byte counts.
//
// A lone surrogate can be stored, but not encoded as UTF-8.
#pragma once

#include <cassert>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "detail/handle.h"

namespace mcp_responses {

/// The smallest of four sets that contains every code point of a text: up to U+007F, U+00FF, U+FFFF
/// or U+10FFFF. It determines the width of the stored units.
enum class Repertoire : std::uint8_t { ascii, latin1, bmp, full };

/// The size of a stored code point, in bytes: 1, 1, 2 or 4.
constexpr std::size_t unit_size(Repertoire repertoire) {
  return repertoire == Repertoire::full ? 4 : repertoire == Repertoire::bmp ? 2 : 1;
}

/// A view of code points that another object owns. `repertoire` may be larger than necessary, as in a
/// slice. A function that requires an exact one says so.
struct TextView {
  const void* data = nullptr;
  std::size_t size = 0;  // in code points
  Repertoire repertoire = Repertoire::ascii;

  /// Requires `position < size`.
  char32_t operator[](std::size_t position) const;
  /// `count` code points from `position`, with the repertoire of this view. Requires that the view
  /// contains them.
  TextView slice(std::size_t position, std::size_t count) const {
    assert(position <= size && count <= size - position);
    return {static_cast<const char*>(data) + position * unit_size(repertoire), count, repertoire};
  }
};

/// True if both have the same code points. Requires exact repertoires.
bool operator==(const TextView& a, const TextView& b) noexcept;

/// An order for look-ups, not an alphabetical one: by size, repertoire, then bytes. A map in this
/// order is fast for any keys; a hash table is slow for keys that were chosen to collide.
std::strong_ordering operator<=>(const TextView& a, const TextView& b) noexcept;

/// Calls `visitor` with a zero of the type of a repertoire's units.
template <class Visitor>
decltype(auto) visit_unit_type(Repertoire repertoire, Visitor&& visitor) {
  switch (unit_size(repertoire)) {
    case 1:
      return visitor(std::uint8_t{});
    case 2:
      return visitor(std::uint16_t{});
    default:
      return visitor(std::uint32_t{});
  }
}

/// Calls `visitor` with the view's units, as a span of std::uint8_t, std::uint16_t or std::uint32_t.
template <class Visitor>
decltype(auto) visit_units(const TextView& view, Visitor&& visitor) {
  return visit_unit_type(view.repertoire, [&]<class Unit>(Unit) -> decltype(auto) {
    return visitor(std::span(static_cast<const Unit*>(view.data), view.size));
  });
}

/// The exact repertoire of the concatenation of two texts.
Repertoire joined_repertoire(const TextView& first, const TextView& second) noexcept;

/// Writes the concatenation of two texts to `to`, in units of the size of `repertoire`. Requires a
/// repertoire that contains both texts.
void join(const TextView& first, const TextView& second, Repertoire repertoire, void* to) noexcept;

/// An ASCII text with static storage: a key or a fixed message.
struct StringLiteral {
  const char* data;
  std::size_t size;

  constexpr TextView view() const { return {data, size, Repertoire::ascii}; }
};

namespace detail {
/// The operations of literals.
extern const ValueOps literal_ops;
}  // namespace detail

class Text : public detail::Handle {
 public:
  /// The empty text.
  Text() noexcept;
  /// Refers to the literal. Requires static storage.
  explicit Text(const StringLiteral& literal) noexcept
      : Handle(detail::literal_ops, detail::Payload{.literal = &literal}) {}
  explicit Text(const StringLiteral&&) = delete;
  /// Decodes UTF-8. Each maximal subpart of an ill-formed sequence becomes U+FFFD (the Unicode
  /// Standard, section 3.9).
  explicit Text(std::string_view utf8);
  explicit Text(std::nullptr_t) = delete;
  /// Takes over one reference to a text in any representation. Requires `ops.kind == Kind::string`.
  Text(const detail::ValueOps& ops, detail::Payload payload) noexcept : Handle(ops, payload) {
    assert(ops.kind == Kind::string);
  }

  /// A copy in the narrowest units.
  static Text copy_of(const TextView& view);
  /// The concatenation of two texts, in one allocation of the exact size.
  static Text joined(const TextView& first, const TextView& second);

  /// Valid while this text, or a copy of it, lives.
  TextView view() const noexcept { return ops().text(payload()); }
  std::size_t size() const noexcept { return view().size; }
  bool empty() const noexcept { return size() == 0; }

  /// The UTF-8 encoding. Throws `SurrogateError`.
  std::string utf8() const;

  friend bool operator==(const Text& a, const Text& b) noexcept { return a.view() == b.view(); }
};

/// Thrown for a text that is to be encoded as UTF-8 and contains a surrogate.
class SurrogateError : public std::runtime_error {
 public:
  SurrogateError(Text text, std::size_t position);
  const Text& text() const noexcept { return text_; }
  /// The position of the surrogate, in code points.
  std::size_t position() const noexcept { return position_; }

 private:
  Text text_;
  std::size_t position_;
};

constexpr bool is_surrogate(std::uint32_t code_point) {
  return (code_point & 0xFFFFF800U) == 0xD800U;
}

}  // namespace mcp_responses
