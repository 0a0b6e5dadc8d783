// The work tree of a repository.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace mcp_responses {

/// A path ends in a symlink loop. The message has pathlib's text.
class SymlinkLoop : public std::runtime_error {
 public:
  explicit SymlinkLoop(const std::string& path);
};

/// The folder in which `code_lines` reads files. Hard links and mounts inside it are trusted.
class WorkTree {
 public:
  /// Resolves the root, which need not exist. A relative root starts at the current directory. Throws
  /// `SymlinkLoop`, and std::system_error if the current directory does not exist. Requires a root
  /// without NUL.
  explicit WorkTree(std::string_view root);

  /// Absolute and without symlinks; "" for "/".
  const std::string& root() const noexcept { return root_; }

 private:
  std::string root_;
};

}  // namespace mcp_responses
