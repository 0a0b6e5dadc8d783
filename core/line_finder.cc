#include "line_finder.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <utility>

#include "cuts.h"
#include "detail/utf8.h"

namespace mcp_responses {
namespace {

/// The size of the line break at the start of `bytes`; 0 if there is none.
std::size_t break_size(std::string_view bytes) {
  const auto byte = [bytes](std::size_t i) {
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
  };
  switch (byte(0)) {
    case 0x0D:
      return byte(1) == 0x0A ? 2 : 1;
    case 0x0A:
    case 0x0B:
    case 0x0C:
    case 0x1C:
    case 0x1D:
    case 0x1E:
      return 1;
    case 0xC2:
      return byte(1) == 0x85 ? 2 : 0;
    case 0xE2:
      return byte(1) == 0x80 && (byte(2) & 0xFEU) == 0xA8 ? 3 : 0;
    default:
      return 0;
  }
}

constexpr std::size_t block_size = 64;
constexpr std::size_t max_break_size = 3;
constexpr std::size_t max_character_size = 4;
constexpr std::size_t window_capacity = std::size_t{1} << 16;

// Both loops have a fixed length and no branch, so that the compiler vectorizes them.

/// The number of line breaks in a block of printable ASCII, tabs and line feeds, which most blocks
/// are; nothing for another block.
std::optional<unsigned> breaks_in_plain_block(const std::uint8_t* block) {
  std::uint8_t count = 0;
  std::uint8_t others = 0;
  for (std::size_t i = 0; i < block_size; ++i) {
    const auto is_plain = static_cast<std::uint8_t>(static_cast<std::int8_t>(block[i]) >= 0x20);
    const auto is_line_feed = static_cast<std::uint8_t>(block[i] == 0x0A);
    const auto is_tab = static_cast<std::uint8_t>(block[i] == 0x09);
    count = static_cast<std::uint8_t>(count + is_line_feed);
    others |= static_cast<std::uint8_t>((is_plain | is_line_feed | is_tab) ^ 1);
  }
  return others == 0 ? std::optional<unsigned>(count) : std::nullopt;
}

/// The number of line breaks that start in a block; CR LF counts at its LF. Reads two bytes after
/// the block.
unsigned breaks_in_any_block(const std::uint8_t* block) {
  std::uint8_t count = 0;
  for (std::size_t i = 0; i < block_size; ++i) {
    const std::uint8_t first = block[i];
    const std::uint8_t second = block[i + 1];
    const std::uint8_t third = block[i + 2];
    const auto control = static_cast<std::uint8_t>((static_cast<std::uint8_t>(first - 0x0A) <= 3) |
                                                   (static_cast<std::uint8_t>(first - 0x1C) <= 2));
    const auto cr_of_pair = static_cast<std::uint8_t>((first == 0x0D) & (second == 0x0A));
    const auto next_line = static_cast<std::uint8_t>((first == 0xC2) & (second == 0x85));
    const auto separator =
        static_cast<std::uint8_t>((first == 0xE2) & (second == 0x80) & ((third & 0xFE) == 0xA8));
    count = static_cast<std::uint8_t>(count + ((control & ~cr_of_pair) | next_line | separator));
  }
  return count;
}

/// Strips and cuts a line while its characters are decoded.
class LineText {
 public:
  /// Returns false if no further character can change the text.
  bool add(std::uint32_t code_point) {
    const bool is_space = is_white_space(code_point);
    // Leading white space is stripped. At the limit, white space is skipped: it cuts the line only if
    // another character follows, and that character alone has the same effect.
    if (is_space && (size_ == 0 || size_ == limit)) return true;
    characters_[size_++] = code_point;
    if (!is_space) stripped_size_ = size_;
    return size_ <= limit;
  }

  Text text() const {
    const Cut cut = cut_of({characters_.data(), stripped_size_, Repertoire::full}, CODE_LINE_CHARS);
    return Text::joined(cut.kept, cut.mark);
  }

 private:
  static constexpr std::size_t limit = CODE_LINE_CHARS;

  // One spare character, to detect that the line is too long.
  std::array<std::uint32_t, limit + 1> characters_;
  std::size_t size_ = 0;
  std::size_t stripped_size_ = 0;  // without white space at the end
};

}  // namespace

LineFinder::LineFinder(ReadFn read) : read_(std::move(read)), window_(new char[window_capacity]) {}

std::optional<Text> LineFinder::find(std::int64_t number) {
  assert(number >= line_);
  skip_to_line(number);
  if (!ensure(1)) return {};
  LineText line;
  while (ensure(1)) {
    if (skip_break()) return line.text();
    ensure(max_character_size);
    std::size_t size = 0;
    const std::uint32_t code_point = detail::decode_next(rest(), size);
    position_ += size;
    if (!line.add(code_point)) return line.text();
  }
  ++line_;
  return line.text();
}

void LineFinder::skip_to_line(std::int64_t number) {
  skip_blocks_before(number);
  while (line_ < number && ensure(1)) {
    if (!skip_break()) ++position_;
  }
}

void LineFinder::skip_blocks_before(std::int64_t number) {
  while (ensure(block_size + max_break_size - 1)) {
    const auto* const block = reinterpret_cast<const std::uint8_t*>(&window_[position_]);
    const auto plain = breaks_in_plain_block(block);
    const std::int64_t line_after = line_ + (plain ? *plain : breaks_in_any_block(block));
    if (line_after >= number) return;
    line_ = line_after;
    position_ += block_size;
  }
}

/// Returns false if `position_` is not at a line break. Requires `position_ < end_`.
bool LineFinder::skip_break() {
  assert(position_ < end_);
  const auto next = static_cast<unsigned char>(window_[position_]);
  if (next >= 0x20 && next < 0x80) return false;
  ensure(max_break_size);
  const std::size_t size = break_size(rest());
  position_ += size;
  line_ += size > 0 ? 1 : 0;
  return size > 0;
}

bool LineFinder::fetch(std::size_t bytes) {
  assert(bytes <= window_capacity);
  while (end_ - position_ < bytes) {
    if (is_at_end_) return false;
    std::memmove(window_.get(), &window_[position_], end_ - position_);
    end_ -= std::exchange(position_, 0);
    const std::size_t count = read_({&window_[end_], window_capacity - end_});
    assert(count <= window_capacity - end_);
    is_at_end_ = count == 0;
    end_ += count;
  }
  return true;
}

}  // namespace mcp_responses
