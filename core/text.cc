#include "text.h"

#include <atomic>
#include <cstring>
#include <new>
#include <vector>

#include "detail/join.h"
#include "detail/utf8.h"

namespace mcp_responses {
namespace {

/// The storage of a text that this library allocates; the units follow it.
struct TextStorage {
  mutable std::atomic<std::size_t> owners = 1;
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
  const void* units() const noexcept { return this + 1; }
};

const TextStorage& storage_of(Payload payload) noexcept {
  return *static_cast<const TextStorage*>(payload.pointer);
}

void retain_text(Payload payload) noexcept {
  storage_of(payload).owners.fetch_add(1, std::memory_order_relaxed);
}

void release_text(Payload payload) noexcept {
  const TextStorage& storage = storage_of(payload);
  // A sole owner needs no locked instruction: nobody else can come.
  if (storage.owners.load(std::memory_order_acquire) == 1 ||
      storage.owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    ::operator delete(const_cast<TextStorage*>(&storage));
  }
}

TextView view_text(Payload payload) noexcept {
  const TextStorage& storage = storage_of(payload);
  return {storage.units(), storage.size, storage.repertoire};
}

TextView view_word(Payload payload) noexcept {
  return static_cast<const StringLiteral*>(payload.pointer)->view();
}

constexpr StringLiteral no_characters{"", 0};

Text decoded(std::string_view utf8) {
  std::vector<std::uint32_t> code_points;
  code_points.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();)
    code_points.push_back(decode_next(utf8, position));
  return Text::copy_of(std::span<const std::uint32_t>(code_points));
}

}  // namespace

const ValueOps null_ops{.kind = Kind::null,
                        .text = [](Payload) noexcept { return no_characters.view(); }};
const ValueOps text_ops{
    .kind = Kind::string, .retain = retain_text, .release = release_text, .text = view_text};
const ValueOps literal_ops{.kind = Kind::string, .text = view_word};

char32_t TextView::operator[](std::size_t position) const {
  return visit_units(*this,
                     [position](auto units) { return static_cast<char32_t>(units[position]); });
}

TextView TextView::slice(std::size_t position, std::size_t count) const {
  return {static_cast<const char*>(data) + position * unit_size(repertoire), count, repertoire};
}

Text::Text() noexcept : Text(no_characters) {}

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
      end = encode_utf8(units[i], end);
    }
    bytes.resize(static_cast<std::size_t>(end - bytes.data()));
    return bytes;
  });
}

bool operator==(const TextView& a, const TextView& b) noexcept {
  if (a.size != b.size || a.repertoire != b.repertoire) return false;
  return a.size == 0 || std::memcmp(a.data, b.data, a.size * unit_size(a.repertoire)) == 0;
}

std::strong_ordering operator<=>(const TextView& a, const TextView& b) noexcept {
  if (a.size != b.size) return a.size <=> b.size;
  if (a.repertoire != b.repertoire) return a.repertoire <=> b.repertoire;
  if (a.size == 0) return std::strong_ordering::equal;
  return std::memcmp(a.data, b.data, a.size * unit_size(a.repertoire)) <=> 0;
}

SurrogateError::SurrogateError(Text text, std::size_t position)
    : std::runtime_error("a lone surrogate has no UTF-8"),
      text_(std::move(text)),
      position_(position) {}

}  // namespace mcp_responses
