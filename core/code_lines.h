// Code lines: the lines of code at a set of places in a work tree, each file read once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "line_finder.h"
#include "text.h"
#include "work_tree.h"

namespace mcp_responses {

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
  /// Called inside `while_reading` only.
  CheckInterrupt check_interrupt = [] {};
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
/// Throws `SymlinkLoop` and what the hooks throw: `NulInPath` and `SurrogateError` for a path that is no
/// file name.
std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const CodeLinesHooks& hooks = {});

}  // namespace mcp_responses
