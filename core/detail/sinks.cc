#include "detail/sinks.h"

#include <algorithm>
#include <bit>
#include <new>
#include <span>

#include "detail/block.h"
#include "detail/escapes.h"

namespace mcp_responses::detail {
namespace {

/// The number of bytes of escapes beyond one per unit.
template <class Unit>
std::size_t extra_escape_bytes(std::span<const Unit> units) {
  std::size_t bytes = 0;
  const auto add_escapes = [&bytes](const Unit* from, std::uint32_t found) {
    for (; found != 0; found &= found - 1) {
      const auto position = static_cast<std::size_t>(std::countr_zero(found)) / sizeof(Unit);
      bytes += escapes[from[position]].size - 1U;
    }
  };
  constexpr std::size_t size = Block<Unit>::size;
  while (units.size() >= size) {
    if (sizeof(Unit) > 1 && units.size() >= 16 &&
        Block<Unit>::template none_in<16>(units.data(), needs_escape)) {
      units = units.subspan(16);
    } else {
      add_escapes(units.data(), Block<Unit>(units.data()).match_mask(needs_escape));
      units = units.subspan(size);
    }
  }
  const std::uint32_t remaining_mask = (1U << (units.size() * sizeof(Unit))) - 1;
  add_escapes(units.data(),
              Block<Unit>(units.data(), units.size()).match_mask(needs_escape) & remaining_mask);
  return bytes;
}

/// The number of bytes in UTF-8 beyond one per unit. The compiler vectorizes the loop of a whole chunk,
/// because it has no branches and a fixed length. A chunk has at most 128 units, so the sum fits in a unit.
template <class Unit, std::size_t count>
std::size_t extra_utf8_bytes_in_chunk(std::span<const Unit, count> units, bool& has_surrogate) {
  constexpr auto surrogate_mask = static_cast<Unit>(0xFFFFF800U);
  Unit extra = 0;
  Unit surrogates = 0;
  for (const Unit unit : units) {
    extra = static_cast<Unit>(extra + (unit >= 0x80));
    if constexpr (sizeof(Unit) > 1) {
      extra = static_cast<Unit>(extra + (unit >= 0x800));
      surrogates |= static_cast<Unit>(static_cast<Unit>(unit & surrogate_mask) == 0xD800);
    }
    if constexpr (sizeof(Unit) > 2) extra = static_cast<Unit>(extra + (unit >= 0x10000));
  }
  has_surrogate |= surrogates != 0;
  return extra;
}

template <class Unit>
std::size_t extra_utf8_bytes(std::span<const Unit> units, bool& has_surrogate) {
  constexpr std::size_t size = 128;
  std::size_t bytes = 0;
  for (; units.size() >= size; units = units.subspan(size)) {
    bytes += extra_utf8_bytes_in_chunk(units.template first<size>(), has_surrogate);
  }
  return bytes + extra_utf8_bytes_in_chunk(units, has_surrogate);
}

/// A string is written in chunks of this size. Capacity is reserved for a chunk of escapes.
constexpr std::size_t max_chunk = 1024;

std::size_t surrogate_position(const TextView& text) {
  return visit_units(text, [](auto units) {
    const auto at =
        std::find_if(units.begin(), units.end(), [](auto unit) { return is_surrogate(unit); });
    return static_cast<std::size_t>(at - units.begin());
  });
}

}  // namespace

std::size_t TextSink::put_any(std::size_t offset, std::string_view ascii) {
  visit_unit_type(repertoire_, [&]<class Unit>(Unit) {
    std::copy(ascii.begin(), ascii.end(), reserve<Unit>(offset, ascii.size()));
  });
  return offset + ascii.size();
}

std::size_t TextSink::put_any_string(std::size_t offset, const TextView& text, char delimiter) {
  if (text.repertoire > repertoire_) widen(offset, text.repertoire);
  return visit_unit_type(repertoire_, [&]<class Unit>(Unit) {
    if constexpr (sizeof(Unit) > 1) {
      const std::size_t end = put_if_short<Unit>(offset, text, delimiter);
      if (end > 0) return end;
    }
    offset = put(offset, "\"");
    visit_units(text, [&](auto units) {
      using From = typename decltype(units)::value_type;
      if constexpr (sizeof(From) <= sizeof(Unit))
        offset = put_escaped<Unit>(offset, units, delimiter);
    });
    return offset;
  });
}

template <class Unit, class From>
std::size_t TextSink::put_escaped(std::size_t offset, std::span<const From> units, char delimiter) {
  do {
    const auto chunk = units.first(std::min(units.size(), max_chunk));
    units = units.subspan(chunk.size());
    Unit* const start = reserve<Unit>(offset, chunk.size() * max_escape_size + max_overrun);
    Unit* const end = write_escaped(chunk, start);
    end[0] = '"';
    end[1] = static_cast<unsigned char>(delimiter);
    offset += static_cast<std::size_t>(end - start);
  } while (!units.empty());
  return offset + 2;
}

void TextSink::grow(std::size_t needed) {
  constexpr std::size_t min_capacity = 16384;  // most answers are shorter
  const std::size_t capacity = std::max({needed, buffer_.capacity * 2, min_capacity});
  void* enlarged = std::realloc(buffer_.bytes.get(), capacity);
  if (enlarged == nullptr) throw std::bad_alloc();
  static_cast<void>(buffer_.bytes.release());  // realloc has freed it
  buffer_.bytes.reset(enlarged);
  buffer_.capacity = capacity;
  if (!is_wide()) narrow_capacity_ = capacity;
}

void TextSink::widen(std::size_t size, Repertoire repertoire) {
  visit_unit_type(repertoire_, [&]<class From>(From) {
    visit_unit_type(repertoire, [&]<class To>(To) {
      if constexpr (sizeof(From) < sizeof(To)) {
        To* const to = reserve<To>(0, size);
        const auto* const from = static_cast<const From*>(buffer_.bytes.get());
        // In place, and so from the last unit to the first.
        constexpr std::size_t block = Block<From>::size;
        std::size_t rest = size;
        for (; rest >= block; rest -= block)
          Block<From>(from + rest - block).copy_to(to + rest - block);
        while (rest-- > 0) to[rest] = from[rest];
      }
    });
  });
  repertoire_ = repertoire;
  if (is_wide()) narrow_capacity_ = 0;
}

std::size_t CountSink::put_string(std::size_t offset, const TextView& text, char) {
  bool has_surrogate = false;
  offset += 3 + text.size;
  visit_units(text, [&](auto units) {
    offset += extra_escape_bytes(units);
    if (text.repertoire != Repertoire::ascii) offset += extra_utf8_bytes(units, has_surrogate);
  });
  if (has_surrogate) throw SurrogateError(Text::copy_of(text), surrogate_position(text));
  return offset;
}

}  // namespace mcp_responses::detail
