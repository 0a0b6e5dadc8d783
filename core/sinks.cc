#include "sinks.h"

#include <algorithm>
#include <new>
#include <span>
#include <type_traits>

#include "escapes.h"

namespace mcp_responses {
namespace {

/// Bytes that `unit` adds to the one that every unit takes: the rest of its UTF-8, or of its
/// escape. Without a branch, in the unit's own width.
template <class Unit>
constexpr Unit bytes_beyond_one(Unit unit) {
  const auto is_control = static_cast<Unit>(unit < 0x20);
  const auto has_short_escape =
      static_cast<Unit>((static_cast<Unit>(unit - 8) <= 5) & (unit != 11));  // \b \t \n \f \r
  auto beyond =
      static_cast<Unit>(5 * is_control - 4 * has_short_escape + (unit == '"') + (unit == '\\'));
  beyond = static_cast<Unit>(beyond + (unit >= 0x80));
  if constexpr (sizeof(Unit) > 1) beyond = static_cast<Unit>(beyond + (unit >= 0x800));
  if constexpr (sizeof(Unit) > 2) beyond = static_cast<Unit>(beyond + (unit >= 0x10000));
  return beyond;
}

/// Few enough units that the sum of what they add fits a byte.
constexpr std::size_t count_block = 32;

template <class Unit>
std::size_t bytes_beyond(std::span<const Unit> units, bool& has_surrogate) {
  std::size_t total = 0;
  while (!units.empty()) {
    const std::span<const Unit> block = units.first(std::min(count_block, units.size()));
    Unit beyond = 0;
    Unit surrogates = 0;
    for (const Unit unit : block) {
      beyond = static_cast<Unit>(beyond + bytes_beyond_one(unit));
      if constexpr (sizeof(Unit) > 1) {
        surrogates |= static_cast<Unit>(static_cast<Unit>(unit - 0xD800) < 0x800);
      }
    }
    total += beyond;
    has_surrogate |= surrogates != 0;
    units = units.subspan(block.size());
  }
  return total;
}

[[noreturn]] void refuse_surrogate(const TextView& text) {
  visit_units(text, [](auto units) {
    const auto at = std::ranges::find_if(units, [](auto unit) { return is_surrogate(unit); });
    throw SurrogateError(Text::copy_of(units), static_cast<std::size_t>(at - units.begin()));
  });
  std::abort();  // not reached
}

}  // namespace

void TextSink::put(std::string_view ascii) {
  switch (unit_size(range_)) {
    case 1:
      return put_ascii<std::uint8_t>(ascii);
    case 2:
      return put_ascii<std::uint16_t>(ascii);
    default:
      return put_ascii<std::uint32_t>(ascii);
  }
}

void TextSink::put_string(const TextView& text) {
  if (text.range > range_) widen(text.range);
  switch (unit_size(range_)) {
    case 1:
      return put_quoted<std::uint8_t>(text);
    case 2:
      return put_quoted<std::uint16_t>(text);
    default:
      return put_quoted<std::uint32_t>(text);
  }
}

template <class Unit>
void TextSink::put_ascii(std::string_view ascii) {
  std::ranges::copy(ascii, room_for<Unit>(ascii.size()));
  size_ += ascii.size();
}

template <class Unit>
void TextSink::put_quoted(const TextView& text) {
  *room_for<Unit>(text.size + 2) = '"';
  ++size_;
  visit_units(text, [this](auto units) {
    using From = typename decltype(units)::value_type;
    if constexpr (sizeof(From) <= sizeof(Unit)) put_escaped<Unit>(units);
  });
  *room_for<Unit>(1) = '"';
  ++size_;
}

template <class Unit, class From>
void TextSink::put_escaped(std::span<const From> units) {
  for (;;) {
    const std::size_t plain = copy_plain(units, room_for<Unit>(units.size() + longest_escape));
    size_ += plain;
    if (plain == units.size()) return;
    put_ascii<Unit>(Escape(units[plain]).view());
    units = units.subspan(plain + 1);
  }
}

void TextSink::grow(std::size_t needed) {
  constexpr std::size_t least = 4096;
  const std::size_t capacity = std::max({needed, capacity_ * 2, least});
  void* wider = std::realloc(buffer_.get(), capacity);
  if (wider == nullptr) throw std::bad_alloc();
  buffer_.release();
  buffer_.reset(wider);
  capacity_ = capacity;
}

/// Makes the units wide enough for `range`, from the last to the first so that they can stay in one
/// buffer.
void TextSink::widen(Range range) {
  const std::size_t from = unit_size(range_);
  const std::size_t to = unit_size(range);
  if (to > from && size_ > 0) {
    if (size_ * to > capacity_) grow(size_ * to);
    if (from == 2) {
      widen_units<std::uint16_t, std::uint32_t>();
    } else if (to == 2) {
      widen_units<std::uint8_t, std::uint16_t>();
    } else {
      widen_units<std::uint8_t, std::uint32_t>();
    }
  }
  range_ = range;
}

template <class From, class To>
void TextSink::widen_units() {
  const auto* from = static_cast<const From*>(buffer_.get());
  auto* to = static_cast<To*>(buffer_.get());
  for (std::size_t i = size_; i-- > 0;) to[i] = from[i];
}

void CountSink::put_string(const TextView& text) {
  bool has_surrogate = false;
  bytes_ += 2 + text.size;
  bytes_ += visit_units(
      text, [&has_surrogate](auto units) { return bytes_beyond(units, has_surrogate); });
  if (has_surrogate) refuse_surrogate(text);
}

}  // namespace mcp_responses
