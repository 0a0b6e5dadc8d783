// File system paths, resolved component by component like pathlib's: all symlinks are followed.
#pragma once

#include <string>
#include <string_view>

namespace mcp_responses::detail {

/// The path, made absolute with the current directory. Throws std::system_error if that does not
/// exist.
std::string absolute(std::string_view path);

struct ResolvedPath {
  std::string path;  // absolute, without "." and ".."; "" for "/"
  int error = 0;     // the error number of looking it up, if the path may contain symlinks
};

/// The absolute path without ".", ".." and symlinks. A relative path starts at `base`. Components that
/// do not exist are kept as written. Only `readlink` is called, on each component in turn.
///
/// A symlink that leads to itself is kept as written, and so are the components after it; ".." then
/// removes the component before it. If this leads away from the loop, the path is resolved again:
/// `loop/../a.py` is `a.py`. Otherwise throws `SymlinkLoop`. If the kernel does not reach the loop, as
/// for a symlink `loop` to `missing/../loop`, returns the path as written, and the kernel's error.
///
/// Requires a resolved `base`, and paths without NUL.
ResolvedPath resolved_path(std::string base, std::string_view path);

/// Removes the first component from a path, with the slashes before it, and returns the component;
/// "" at the end.
std::string_view take_component(std::string_view& path) noexcept;

/// The path for an error message: cut to 200 bytes if it has more than 64 KiB.
std::string elided_path(const std::string& path);

}  // namespace mcp_responses::detail
