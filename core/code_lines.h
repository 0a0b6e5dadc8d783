// Lines of code at a set of places in a work tree. Each file is read once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
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

/// Called for each file that could not be read, in the order of the files, with the path as in the place
/// and the reason.
using NotRead = std::function<void(const Text& path, const std::string& reason)>;

/// The lines at these places, without duplicates. Files come in the order in which their paths
/// first occur, the lines of a file in ascending order. Places without a line and files outside the
/// root are left out; files that cannot be read are passed to `not_read`. Throws the exceptions of
/// `file_name` and of `not_read`, and `SymlinkLoop` for the first path that ends in one, after the files
/// before it have been reported.
std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const NotRead& not_read = {});

/// The bytes of a file name: UTF-8, with the byte 0x80 to 0xFF for each of U+DC80 to U+DCFF, which is
/// how Python represents names that are not UTF-8 (PEP 383). Throws std::invalid_argument for NUL, and
/// `SurrogateError` for other surrogates.
std::string file_name(const Text& path);

// The steps of `code_lines`: `grouped_by_file`, then `read_lines`, which does not touch the texts of the
// places. So a caller in Python can release the GIL for it.

/// The places in one file, and the result of reading it.
struct FileLines {
  Text path;
  std::size_t first_place;            // the position of the first place with this path
  std::string name;                   // the bytes of the file name, without NUL
  std::vector<std::int64_t> numbers;  // of the lines at these places
  std::vector<Text> lines;            // with these numbers, up to the last one that exists
  std::string failure;                // empty if the file could be read
};

/// The files of these places, with empty names, in the order in which their paths first occur.
std::vector<FileLines> grouped_by_file(std::span<const Place> places);

/// Reads the lines of each file, and sorts its numbers. Returns the symlink loop at which reading ended
/// early; nothing if all files were read.
std::optional<SymlinkLoop> read_lines(const WorkTree& tree, std::span<FileLines> files);

}  // namespace mcp_responses
