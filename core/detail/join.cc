#include "detail/join.h"

#include <algorithm>
#include <cstdint>

namespace mcp_responses {
namespace {

/// The bits of all units together are enough to tell the repertoire.
Repertoire exact_repertoire(const TextView& view) noexcept {
  if (view.repertoire == Repertoire::ascii) return Repertoire::ascii;
  return visit_units(view, [](auto units) {
    std::uint32_t bits = 0;
    for (const auto unit : units) bits |= unit;
    return bits < 0x80      ? Repertoire::ascii
           : bits < 0x100   ? Repertoire::latin1
           : bits < 0x10000 ? Repertoire::bmp
                            : Repertoire::full;
  });
}

/// Returns the end of what was written.
template <class To>
To* copy_units(const TextView& view, To* to) noexcept {
  return visit_units(view, [to](auto units) {
    return std::ranges::transform(units, to, [](auto unit) { return static_cast<To>(unit); }).out;
  });
}

template <class To>
void join_units(const TextView& first, const TextView& second, void* to) noexcept {
  copy_units(second, copy_units(first, static_cast<To*>(to)));
}

}  // namespace

Repertoire joined_repertoire(const TextView& first, const TextView& second) noexcept {
  const Repertoire of_second = exact_repertoire(second);
  if (first.repertoire <= of_second) return of_second;
  return std::max(exact_repertoire(first), of_second);
}

void join(const TextView& first, const TextView& second, Repertoire repertoire, void* to) noexcept {
  switch (unit_size(repertoire)) {
    case 1:
      return join_units<std::uint8_t>(first, second, to);
    case 2:
      return join_units<std::uint16_t>(first, second, to);
    default:
      return join_units<std::uint32_t>(first, second, to);
  }
}

}  // namespace mcp_responses
