// Lines of code at a set of places in a work tree. Each file is read once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
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

/// A place and its line, without white space at both ends, cut to `CODE_LINE_CHARS`.
struct CodeLine {
  Place place;
  Text text;
};

/// The bytes of a file name: UTF-8, with the byte 0x80 to 0xFF for each of U+DC80 to U+DCFF, which is
/// how Python represents names that are not UTF-8 (PEP 383). Throws `NulInPath`, and `SurrogateError`
/// for other surrogates.
std::string file_name(const Text& path);

/// The functions that `code_lines` calls. It has three phases: it groups the places by file, reads
/// the files, and collects the lines. All hooks are called on the caller's thread. An exception
/// that a hook throws ends the call.
struct CodeLinesHooks {
  /// Returns the bytes of a file name for a path, without NUL. Called once for each path while places
  /// are grouped.
  std::function<std::string(const Text& path)> name_of = file_name;
  /// Calls its argument, which reads the files. It does not touch the texts of the places, so that a
  /// caller in Python can release the GIL. Called once.
  std::function<void(const std::function<void()>& read_files)> while_reading =
      [](const auto& read) { read(); };
  /// Called after reading for each file that could not be read, in the order of the files, with the
  /// path as in the place and the reason.
  std::function<void(const Text& path, const std::string& reason)> not_read =
      [](const Text&, const std::string&) {};
};

/// A path contains NUL, which no file name can contain.
class NulInPath : public std::invalid_argument {
 public:
  NulInPath() : std::invalid_argument("embedded null byte") {}
};

/// The lines at these places, without duplicates. Files come in the order in which their paths
/// first occur, the lines of a file in ascending order. Places without a line and files outside the
/// root are left out; files that cannot be read are passed to `hooks.not_read`. Throws
/// `SymlinkLoop` for the first path that ends in one, after the files before it have been reported.
/// Exceptions of the hooks are passed on.
std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const CodeLinesHooks& hooks = {});

}  // namespace mcp_responses
