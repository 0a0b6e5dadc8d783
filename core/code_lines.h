// Code lines: the lines of code at a set of places in a work tree, each file read once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "text.h"
#include "work_tree.h"

namespace mcp_responses {

/// The length in characters to which a line is cut.
inline constexpr std::int64_t CODE_LINE_CHARS = 200;

/// A path relative to the repository's root, as the service stores it, and a 1-based line number.
struct Place {
  Text path;
  std::int64_t line;
};

/// A place that has a line, and that line: white space stripped from both ends, cut to
/// `CODE_LINE_CHARS`.
struct CodeLine {
  Place place;
  Text text;
};

/// A path as the bytes of a file name: UTF-8, and the byte that each of U+DC80 to U+DCFF stands
/// for, which is how the host writes names that are not UTF-8 (PEP 383). Throws `NulInPath` and,
/// for other surrogates, `SurrogateError`.
std::string file_name(const Text& path);

/// What `code_lines` asks of the program that it runs in.
struct CodeLinesHooks {
  /// The bytes of a file name for a path, without NUL. Called for each path before anything is read.
  std::function<std::string(const Text& path)> name_of = file_name;
  /// Calls the function it is given, which reads files and touches none of the texts of the places.
  /// A host that has a lock gives it up meanwhile.
  std::function<void(const std::function<void()>& read_files)> while_reading =
      [](const auto& read) { read(); };
  /// Called before each piece of a file is read, and as `BeforeStep` says. What it throws ends the
  /// call at once.
  BeforeStep before_step = [] {};
  /// Hears of each file that is not read, in the order of the files: the path as the caller wrote
  /// it, and why.
  std::function<void(const Text& path, const std::string& reason)> not_read =
      [](const Text&, const std::string&) {};
};

/// A path holds a NUL character, which no file name can.
class NulInPath : public std::invalid_argument {
 public:
  NulInPath() : std::invalid_argument("embedded null byte") {}
};

/// The lines at these places. Each place comes once; the lines of one file stand together,
/// ascending, the files in the order in which their path first occurs. A place without a line, and
/// a file outside the root, give nothing; a file that cannot be read is told to `hooks.not_read`.
/// Throws `LinkLoop` and what the hooks throw: `NulInPath` and `SurrogateError` for a path that is no
/// file name.
std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const CodeLinesHooks& hooks = {});

/// Finds lines of a text in UTF-8 by number, going forward. A line ends at CR LF, LF, CR, U+000B,
/// U+000C, U+001C to U+001E, U+0085, U+2028 or U+2029, as in the host's `splitlines`. No more than
/// some pages of the text are held at a time, however long it and its lines are.
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
