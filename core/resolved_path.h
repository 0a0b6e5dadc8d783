// File system paths, resolved component by component like pathlib's: all symlinks are followed.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "check_interrupt.h"

namespace mcp_responses {

/// A path ends in a symlink loop. The message has pathlib's text.
class SymlinkLoop : public std::runtime_error {
 public:
  explicit SymlinkLoop(const std::string& path);
};

/// The path, made absolute with the current directory. Throws std::system_error if that does not
/// exist.
std::string absolute(std::string_view path);

/// The absolute path without ".", ".." and symlinks; "" for "/". A relative path starts at `base`.
/// Components that do not exist are kept as written.
///
/// A symlink that leads to itself, and the components after it, are kept as written, and ".." is
/// removed together with the component before it: `loop/../a.py` is `a.py`. If the kernel finds this
/// path, its symlinks are followed. If it finds a loop, throws `SymlinkLoop`. If it fails for another
/// reason, as for a symlink `loop` to `missing/../loop`, returns the path with its symlinks; no file
/// can be opened there.
///
/// Calls `check_interrupt` for each component. Requires a resolved `base`, and paths without NUL.
std::string resolved_path(
    std::string base, std::string_view path, const CheckInterrupt& check_interrupt = [] {});

/// Removes the first component from a path, with the slashes before it, and returns the component;
/// "" at the end.
std::string_view take_component(std::string_view& path) noexcept;

/// The path for an error message: cut to 200 bytes if it has more than 64 KiB.
std::string elided_path(const std::string& path);

}  // namespace mcp_responses
