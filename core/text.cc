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

/// The storage of a text that this library allocates. The units follow it.
struct TextStorage {
  detail::RefCount owners;
  std::size_t size;
  Repertoire repertoire;

  TextStorage(std::size_t code_points, Repertoire highest) noexcept
      : size(code_points), repertoire(highest) {}
  static TextStorage* allocate(std::size_t code_points, Repertoire highest) {
    const std::size_t unit = unit_size(highest);
    if (code_points > (SIZE_MAX / 2 - sizeof(TextStorage)) / unit) throw std::bad_alloc();
    void* const memory = ::operator new(sizeof(TextStorage) + code_points * unit);
    return ::new (memory) TextStorage(code_points, highest);
  }
  void* units() noexcept { return this + 1; }
};

TextStorage* storage_in(Payload payload) noexcept {
  return static_cast<TextStorage*>(const_cast<void*>(payload.pointer));
}

void retain_text(Payload payload) noexcept { storage_in(payload)->owners.add(); }

void release_text(Payload payload) noexcept {
  TextStorage* const storage = storage_in(payload);
  if (storage->owners.remove()) ::operator delete(storage);
}

TextView view_text(Payload payload) noexcept {
  TextStorage* const storage = storage_in(payload);
  return {storage->units(), storage->size, storage->repertoire};
}

TextView view_literal(Payload payload) noexcept {
  return static_cast<const StringLiteral*>(payload.pointer)->view();
}

constexpr StringLiteral empty_literal{"", 0};

Text decoded(std::string_view utf8) {
  std::vector<std::uint32_t> code_points;
  code_points.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();)
    code_points.push_back(detail::decode_next(utf8, position));
  return Text::copy_of(std::span<const std::uint32_t>(code_points));
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

template <class To>
void join_units(const TextView& first, const TextView& second, void* to) noexcept {
  copy_units(second, copy_units(first, static_cast<To*>(to)));
}

}  // namespace

const ValueOps null_ops{.kind = Kind::null,
                        .text = [](Payload) noexcept { return empty_literal.view(); }};
const ValueOps text_ops{
    .kind = Kind::string, .retain = retain_text, .release = release_text, .text = view_text};
const ValueOps literal_ops{.kind = Kind::string, .text = view_literal};

char32_t TextView::operator[](std::size_t position) const {
  assert(position < size);
  return visit_units(*this,
                     [position](auto units) { return static_cast<char32_t>(units[position]); });
}

TextView TextView::slice(std::size_t position, std::size_t count) const {
  assert(position <= size && count <= size - position);
  return {static_cast<const char*>(data) + position * unit_size(repertoire), count, repertoire};
}

bool operator==(const TextView& a, const TextView& b) noexcept {
  if (a.size != b.size || a.repertoire != b.repertoire) return false;
  return a.data == b.data || a.size == 0 ||
         std::memcmp(a.data, b.data, a.size * unit_size(a.repertoire)) == 0;
}

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
  switch (unit_size(repertoire)) {
    case 1:
      return join_units<std::uint8_t>(first, second, to);
    case 2:
      return join_units<std::uint16_t>(first, second, to);
    default:
      return join_units<std::uint32_t>(first, second, to);
  }
}

Text::Text() noexcept : Text(empty_literal) {}

Text::Text(std::string_view utf8) : Text(decoded(utf8)) {}

Text Text::copy_of(std::span<const std::uint8_t> units) {
  return copy_of({units.data(), units.size(), Repertoire::latin1});
}
Text Text::copy_of(std::span<const std::uint16_t> units) {
  return copy_of({units.data(), units.size(), Repertoire::bmp});
}
Text Text::copy_of(std::span<const std::uint32_t> units) {
  return copy_of({units.data(), units.size(), Repertoire::full});
}
Text Text::copy_of(const TextView& view) { return joined(view, {}); }

Text Text::joined(const TextView& first, const TextView& second) {
  const std::size_t size = first.size + second.size;
  if (size == 0) return {};
  const Repertoire repertoire = joined_repertoire(first, second);
  TextStorage* const storage = TextStorage::allocate(size, repertoire);
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
