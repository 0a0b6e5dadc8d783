#include "work_tree.h"

#include "detail/resolved_path.h"

namespace mcp_responses {

SymlinkLoop::SymlinkLoop(const std::string& path)
    : std::runtime_error("Symlink loop from '" + detail::elided_path(path) + "'") {}

WorkTree::WorkTree(std::string_view root)
    : root_(detail::resolved_path("", detail::absolute(root)).path) {}

}  // namespace mcp_responses
