#include "text.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "detail/ref_count.h"
#include "detail/utf8.h"

namespace mcp_responses {
namespace {

using detail::Payload;
using detail::ValueOps;

/// The storage of a text that this library allocates. The units follow it.
struct TextStorage {
  detail::RefCount owners;
  std::size_t size;
  Repertoire repertoire;

  void* units() noexcept { return this + 1; }
};

TextStorage* storage_in(Payload payload) noexcept {
  return static_cast<TextStorage*>(payload.pointer);
}

constexpr ValueOps text_ops{
    .kind = Kind::string,
    .retain = [](Payload payload) noexcept { storage_in(payload)->owners.add(); },
    .release =
        [](Payload payload) noexcept {
          TextStorage* const storage = storage_in(payload);
          if (storage->owners.remove()) ::operator delete(storage);
        },
    .text = [](Payload payload) noexcept -> TextView {
      TextStorage* const storage = storage_in(payload);
      return {storage->units(), storage->size, storage->repertoire};
    }};

constexpr StringLiteral empty_literal{"", 0};

Text decoded(std::string_view utf8) {
  std::vector<std::uint32_t> code_points;
  code_points.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();)
    code_points.push_back(detail::decode_next(utf8, position));
  return Text::copy_of({code_points.data(), code_points.size(), Repertoire::full});
}

/// The smallest repertoire that contains all characters.
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

/// Returns the end of the copy.
template <class To>
To* copy_units(const TextView& view, To* to) noexcept {
  return visit_units(view, [to](auto units) {
    return std::transform(units.begin(), units.end(), to,
                          [](auto unit) { return static_cast<To>(unit); });
  });
}

}  // namespace

const ValueOps detail::null_ops{.kind = Kind::null,
                                .text = [](Payload) noexcept { return empty_literal.view(); }};
const ValueOps detail::literal_ops{
    .kind = Kind::string, .text = [](Payload payload) noexcept { return payload.literal->view(); }};

char32_t TextView::operator[](std::size_t position) const {
  assert(position < size);
  return visit_units(*this,
                     [position](auto units) { return static_cast<char32_t>(units[position]); });
}

bool operator==(const TextView& a, const TextView& b) noexcept { return std::is_eq(a <=> b); }

std::strong_ordering operator<=>(const TextView& a, const TextView& b) noexcept {
  if (a.size != b.size) return a.size <=> b.size;
  if (a.repertoire != b.repertoire) return a.repertoire <=> b.repertoire;
  if (a.data == b.data || a.size == 0) return std::strong_ordering::equal;
  return std::memcmp(a.data, b.data, a.size * unit_size(a.repertoire)) <=> 0;
}

Repertoire joined_repertoire(const TextView& first, const TextView& second) noexcept {
  const Repertoire of_second = exact_repertoire(second);
  if (first.repertoire <= of_second) return of_second;
  return std::max(exact_repertoire(first), of_second);
}

void join(const TextView& first, const TextView& second, Repertoire repertoire, void* to) noexcept {
  assert(joined_repertoire(first, second) <= repertoire);
  visit_unit_type(repertoire, [&]<class Unit>(Unit) {
    copy_units(second, copy_units(first, static_cast<Unit*>(to)));
  });
}

Text::Text() noexcept : Text(empty_literal) {}

Text::Text(std::string_view utf8) : Text(decoded(utf8)) {}

Text Text::copy_of(const TextView& view) { return joined(view, {}); }

Text Text::joined(const TextView& first, const TextView& second) {
  const std::size_t size = first.size + second.size;
  if (size == 0) return {};
  const Repertoire repertoire = joined_repertoire(first, second);
  // The size cannot overflow: both texts are in memory, and units get at most four times as wide.
  void* const memory = ::operator new(sizeof(TextStorage) + size * unit_size(repertoire));
  auto* const storage =
      ::new (memory) TextStorage{.owners = {}, .size = size, .repertoire = repertoire};
  join(first, second, repertoire, storage->units());
  return {text_ops, Payload{.pointer = storage}};
}

std::string Text::utf8() const {
  return visit_units(view(), [this](auto units) {
    std::string bytes(units.size() * 4, '\0');
    char* end = bytes.data();
    for (std::size_t i = 0; i < units.size(); ++i) {
      if (is_surrogate(units[i])) throw SurrogateError(*this, i);
      end = detail::encode_utf8(units[i], end);
    }
    bytes.resize(static_cast<std::size_t>(end - bytes.data()));
    return bytes;
  });
}

SurrogateError::SurrogateError(Text text, std::size_t position)
    : std::runtime_error("a lone surrogate has no UTF-8"),
      text_(std::move(text)),
      position_(position) {}

}  // namespace mcp_responses
