#include "line_finder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "cuts.h"
#include "detail/utf8.h"

namespace mcp_responses {
namespace {

/// Whether a line break starts at `at`, and how long it is; 0 for none. Bytes past the end read as
/// 0.
std::size_t break_length(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t ahead) {
    return at + ahead < bytes.size() ? static_cast<unsigned char>(bytes[at + ahead]) : 0U;
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

constexpr std::size_t skip_block = 64;
constexpr std::size_t longest_break = 3;
constexpr std::size_t window_size = std::size_t{1} << 16;
/// Of a line, before what is not needed of it is dropped.
constexpr std::size_t most_of_line = 4096;

/// The bytes of the last character, when more of it may follow; 0 when the bytes end with a whole
/// one.
std::size_t cut_off_character(std::string_view bytes) {
  for (std::size_t size = 1; size <= 3; ++size) {
    const auto byte = static_cast<unsigned char>(bytes[bytes.size() - size]);
    if ((byte & 0xC0U) != 0x80) return byte < 0xC0 ? 0 : size;
  }
  return 0;
}

// Of a fixed length and without a branch, so that the compiler makes vector instructions of them.

/// How many breaks start in the block at `bytes`, where it holds nothing but ASCII and no control
/// characters but line feeds and tabs, as most do; nothing where it does.
std::optional<unsigned> breaks_in_plain_block(const std::uint8_t* block) {
  std::uint8_t count = 0;
  std::uint8_t others = 0;
  for (std::size_t i = 0; i < skip_block; ++i) {
    const auto is_plain = static_cast<std::uint8_t>(static_cast<std::int8_t>(block[i]) >= 0x20);
    const auto is_feed = static_cast<std::uint8_t>(block[i] == 0x0A);
    const auto is_tab = static_cast<std::uint8_t>(block[i] == 0x09);
    count = static_cast<std::uint8_t>(count + is_feed);
    others |= static_cast<std::uint8_t>((is_plain | is_feed | is_tab) ^ 1);
  }
  return others == 0 ? std::optional<unsigned>(count) : std::nullopt;
}

/// The same of any block; CR LF counts where its LF stands. Reads two bytes past it.
unsigned breaks_in_any_block(const std::uint8_t* block) {
  std::uint8_t count = 0;
  for (std::size_t i = 0; i < skip_block; ++i) {
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

}  // namespace

LineFinder::LineFinder(More more)
    : more_(std::move(more)), window_(std::make_unique_for_overwrite<char[]>(window_size)) {}

bool LineFinder::fetch(std::size_t bytes) {
  while (end_ - at_ < bytes) {
    if (is_last_) return false;
    std::memmove(window_.get(), &window_[at_], end_ - at_);
    end_ -= std::exchange(at_, 0);
    const std::size_t count = more_({&window_[end_], window_size - end_});
    is_last_ = count == 0;
    end_ += count;
  }
  return true;
}

std::optional<std::string_view> LineFinder::find(std::int64_t number) {
  skip_blocks_before(number);
  bool is_begun = false;   // some of the line was there, and is not needed
  std::size_t length = 0;  // of the line, as far as it was looked at and is needed
  while (has(length + 1)) {
    const auto next = static_cast<unsigned char>(window_[at_ + length]);
    std::size_t break_size = 0;
    if (next < 0x20 || next >= 0x80) {
      has(length + longest_break);
      break_size = break_length({&window_[at_], end_ - at_}, length);
    }
    if (break_size > 0) {
      const std::string_view line = ahead(length);
      at_ += std::exchange(length, 0) + break_size;
      if (line_++ == number) return line;
    } else if (line_ < number) {
      ++at_;
    } else if (++length == most_of_line) {
      is_begun = true;
      if (shorten(length)) return ahead(length);
    }
  }
  if (line_ != number || (length == 0 && !is_begun)) return {};
  const std::string_view last = ahead(length);
  at_ = end_;
  ++line_;
  return last;
}

void LineFinder::skip_blocks_before(std::int64_t number) {
  while (has(skip_block + longest_break - 1)) {
    const auto* const block = reinterpret_cast<const std::uint8_t*>(&window_[at_]);
    const auto plain = breaks_in_plain_block(block);
    const std::int64_t line_after = line_ + (plain ? *plain : breaks_in_any_block(block));
    if (line_after >= number) return;
    line_ = line_after;
    at_ += skip_block;
  }
}

/// Drops what `code_line_text` does not need of a line whose first `length` bytes stand ahead: white
/// space in front, and behind as many characters as are shown. True when something else stands
/// there: then the line is cut, whatever follows.
bool LineFinder::shorten(std::size_t& length) {
  const std::string_view line = ahead(length - cut_off_character(ahead(length)));
  std::size_t at = 0;
  std::size_t start = 0;  // behind the white space in front
  std::size_t shown = 0;  // characters behind it
  std::size_t end = 0;    // of those that may be shown
  while (at < line.size()) {
    const bool is_space = is_white_space(decode_next(line, at));
    if (is_space && shown == 0) {
      start = end = at;
    } else if (shown < CODE_LINE_CHARS) {
      ++shown;
      end = at;
    } else if (!is_space) {
      length = line.size();
      return true;
    }
  }
  // What is kept moves behind what is dropped.
  const std::size_t dropped = line.size() - end;
  std::memmove(&window_[at_ + start + dropped], &window_[at_ + start], end - start);
  at_ += start + dropped;
  length -= start + dropped;
  return false;
}

Text code_line_text(std::string_view line) {
  constexpr std::size_t limit = CODE_LINE_CHARS;
  std::array<std::uint32_t, limit + 1>
      start;  // of the line without white space in front, one past the limit when there is more
  std::size_t size = 0;
  std::size_t end = 0;  // of what it holds but for white space behind
  for (std::size_t at = 0; at < line.size() && size <= limit;) {
    const std::uint32_t code_point = decode_next(line, at);
    const bool is_space = is_white_space(code_point);
    if (is_space && (size == 0 || size >= limit)) continue;
    start[size++] = code_point;
    if (!is_space) end = size;
  }
  const Cut cut = cut_of({start.data(), end, Repertoire::full}, CODE_LINE_CHARS);
  return Text::joined(cut.kept, cut.mark);
}

}  // namespace mcp_responses
