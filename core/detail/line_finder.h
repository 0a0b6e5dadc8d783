// Lines of a UTF-8 text by number, stripped and cut for an answer. The memory is constant, regardless
// of the size of the text and its lines: one window of the text, and the characters of one cut line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

#include "text.h"

namespace mcp_responses::detail {

/// Finds lines of a UTF-8 text by number, in ascending order. A line ends at CR LF, LF, CR, U+000B,
/// U+000C, U+001C to U+001E, U+0085, U+2028 or U+2029, as in Python's `splitlines`.
class LineFinder {
 public:
  /// Writes the next bytes of the text to `to` and returns their number, 0 at the end.
  using ReadFn = std::function<std::size_t(std::span<char> to)>;

  explicit LineFinder(ReadFn read);

  /// Returns a line, decoded (an ill-formed sequence gives U+FFFD), without white space at both ends,
  /// and cut to `CODE_LINE_CHARS`. Returns nothing after the last line. Reads at most one window further
  /// than necessary. Exceptions of the read function are passed on. Requires a positive number, greater
  /// than in the previous call.
  std::optional<Text> find(std::int64_t number);

 private:
  /// Makes `bytes` bytes available from `position_` on. Returns false if the text ends before.
  bool ensure(std::size_t bytes) { return end_ - position_ >= bytes || fetch(bytes); }
  bool fetch(std::size_t bytes);
  void skip_blocks_before(std::int64_t number);
  std::uint32_t next();

  ReadFn read_;
  std::unique_ptr<char[]> window_;  // the last part of the text that has been read
  std::size_t position_ = 0;        // in the window
  std::size_t end_ = 0;             // of the window's content
  bool is_at_end_ = false;          // no text follows the window
  std::int64_t line_ = 1;           // the number of the line at `position_`
};

}  // namespace mcp_responses::detail
