// Paths of the file system, resolved component by component, symbolic links followed wherever they
// stand, as the host's pathlib does it.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace mcp_responses {

/// Called before each component of a path that is resolved. What it throws ends the call.
using BeforeStep = std::function<void()>;

/// A path ends in a circle of symbolic links.
class LinkLoop : public std::runtime_error {
 public:
  explicit LinkLoop(const std::string& path);
};

/// The path taken from the current directory as it is now. Throws std::system_error when there is
/// none.
std::string absolute(std::string_view path);

/// The path taken from the folder `base`, which is resolved, free of ".", ".." and links; absolute,
/// but "" for "/", as in `base`. Parts that do not exist stay as written, and a circle of links is as
/// good as not there when the path leaves it again by "..": `loop/../a.py` is `a.py`. Throws
/// `LinkLoop` for a path that ends in one, and what `before_step` throws. Requires paths without NUL.
std::string resolved_path(
    std::string base, std::string_view path, const BeforeStep& before_step = [] {});

/// Takes the first component off a path, and the slashes in front of it; "" at the end.
std::string_view take_component(std::string_view& path) noexcept;

/// What an error shows of a path: the first 200 bytes, where it is far longer than any file's.
std::string shown_path(const std::string& path);

}  // namespace mcp_responses
