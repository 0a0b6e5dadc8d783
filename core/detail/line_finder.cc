#include "detail/line_finder.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <utility>

#include "code_lines.h"
#include "cuts.h"
#include "detail/utf8.h"

namespace mcp_responses::detail {
namespace {

/// True for the characters at which Python's `splitlines` ends a line.
bool is_line_break(std::uint32_t code_point) {
  return (code_point >= 0x0A && code_point <= 0x0D) || (code_point >= 0x1C && code_point <= 0x1E) ||
         code_point == 0x85 || code_point == 0x2028 || code_point == 0x2029;
}

constexpr std::size_t block_size = 64;
constexpr std::size_t max_character_size = 4;
constexpr std::size_t window_capacity = std::size_t{1} << 16;

/// 1 if a byte is in a range, otherwise 0.
constexpr std::uint8_t in(std::uint8_t byte, std::uint8_t first, std::uint8_t last) {
  return static_cast<std::uint8_t>(byte - first) <= last - first;
}

/// The number of line breaks that start in a block; CR LF counts at its LF. Reads two bytes after
/// the block. The loop has a fixed length, no branches and only operands of one byte, so that the
/// compiler vectorizes it.
unsigned breaks_in_block(const std::uint8_t* block) {
  std::uint8_t count = 0;
  for (std::size_t i = 0; i < block_size; ++i) {
    const std::uint8_t first = block[i];
    const std::uint8_t second = block[i + 1];
    const int is_control = in(first, 0x0A, 0x0D) | in(first, 0x1C, 0x1E);
    const int is_cr_of_pair = (first == 0x0D) & (second == 0x0A);
    const int is_next_line = (first == 0xC2) & (second == 0x85);
    const int is_separator = (first == 0xE2) & (second == 0x80) & in(block[i + 2], 0xA8, 0xA9);
    count = static_cast<std::uint8_t>(
        count + ((is_control & ~is_cr_of_pair) | is_next_line | is_separator));
  }
  return count;
}

/// Strips and cuts a line while its characters are decoded.
class LineText {
 public:
  /// Returns false if no further character can change the text.
  bool add(std::uint32_t code_point) {
    const bool is_space = is_white_space(code_point);
    // Leading white space is stripped. White space at the limit is skipped as well: the line is too
    // long only if another character follows, and that one is added.
    if (is_space && (size_ == 0 || size_ == limit)) return true;
    characters_[size_++] = code_point;
    if (!is_space) stripped_size_ = size_;
    return size_ <= limit;
  }

  Text text() const {
    const Cut shortened =
        cut({characters_.data(), stripped_size_, Repertoire::full}, CODE_LINE_CHARS);
    return Text::joined(shortened.kept, shortened.mark);
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
  skip_blocks_before(number);
  while (line_ < number && ensure(1)) next();
  if (!ensure(1)) return {};
  LineText line;
  while (line_ == number && ensure(1) && line.add(next())) {
  }
  return line.text();
}

void LineFinder::skip_blocks_before(std::int64_t number) {
  while (ensure(block_size + 2)) {
    const auto* const block = reinterpret_cast<const std::uint8_t*>(&window_[position_]);
    const std::int64_t line_after = line_ + breaks_in_block(block);
    if (line_after >= number) return;
    line_ = line_after;
    position_ += block_size;
  }
}

/// Decodes a character and moves past it; CR LF counts as one. Requires `position_ < end_`.
std::uint32_t LineFinder::next() {
  assert(position_ < end_);
  const auto first = static_cast<unsigned char>(window_[position_]);
  if (first >= 0x20 && first < 0x80) {
    ++position_;
    return first;
  }
  ensure(max_character_size);
  const std::uint32_t code_point = decode_next({window_.get(), end_}, position_);
  if (code_point == '\r' && ensure(1) && window_[position_] == '\n') ++position_;
  line_ += is_line_break(code_point) ? 1 : 0;
  return code_point;
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

}  // namespace mcp_responses::detail
