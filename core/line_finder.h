// Lines of a text in UTF-8 by number, and what of a line is shown. No more than some pages of the
// text are held at a time, however long it and its lines are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "text.h"

namespace mcp_responses {

/// The length in characters to which a line is cut.
inline constexpr std::int64_t CODE_LINE_CHARS = 200;

/// Finds lines of a text in UTF-8 by number, going forward. A line ends at CR LF, LF, CR, U+000B,
/// U+000C, U+001C to U+001E, U+0085, U+2028 or U+2029, as in the host's `splitlines`.
class LineFinder {
 public:
  /// Puts the next bytes of the text there, and tells how many; 0 at the end.
  using More = std::function<std::size_t(std::span<char> to)>;

  explicit LineFinder(More more);

  /// The bytes of a line, its break not included; nothing past the last. Of a long line all that
  /// `code_line_text` needs. Valid until the next call. Requires a number greater than the last one
  /// asked for, from 1 up.
  std::optional<std::string_view> find(std::int64_t number);

 private:
  /// True when so many bytes stand ahead in the window, or are read into it now; false near the end.
  bool has(std::size_t bytes) { return end_ - at_ >= bytes || fetch(bytes); }
  bool fetch(std::size_t bytes);
  void skip_blocks_before(std::int64_t number);
  bool shorten(std::size_t& length);
  std::string_view ahead(std::size_t length) const noexcept { return {&window_[at_], length}; }

  More more_;
  std::unique_ptr<char[]> window_;  // some of the text
  std::size_t at_ = 0;              // what stands before it in the window is done with
  std::size_t end_ = 0;             // of what is in the window
  bool is_last_ = false;            // nothing follows what is in the window
  std::int64_t line_ = 1;           // the number of the line that `at_` stands in
};

/// A line's bytes decoded (an ill-formed sequence gives U+FFFD), stripped and cut.
Text code_line_text(std::string_view line);

}  // namespace mcp_responses
