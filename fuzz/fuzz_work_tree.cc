// Paths into a small tree of symlinks. A path that the kernel finds leads where the kernel says; any
// other path leads to a file of the root, or to none. Both ways of opening agree.
#include <filesystem>
#include <iterator>
#include <sstream>
#include <system_error>
#include <vector>

#include "contract.h"
#include "detail/resolved_path.h"
#include "models/link_tree.h"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> names_in(const models::LinkTree& tree) {
  std::istringstream names(
      ".. . a.py sub deep b.py c.py root root2 outside s.py file dir abs up out absout self ping "
      "dangling chain chain2 top whole slashed back into pipe missing through_gone");
  std::vector<std::string> all{std::istream_iterator<std::string>(names), {}};
  all.insert(all.end(), {"", tree.base().substr(1)});
  return all;
}

std::string any_path(models::Choices& choices, const models::LinkTree& tree) {
  static const std::vector<std::string> names = names_in(tree);
  std::string path = choices.below(8) == 7 ? tree.root() + "/" : "";
  for (std::size_t parts = choices.below(choices.one_of({6U, 64U})); parts > 0; --parts) {
    path += names[choices.below(names.size())];
    if (choices.below(8) != 7) path += '/';
  }
  return path;
}

/// The result of reading the file at an absolute path without symlinks.
std::string result_at(const std::string& target, const models::LinkTree& tree) {
  if (target != tree.root() && !target.starts_with(tree.root() + "/")) return "outside";
  if (fs::is_directory(target)) return "[Errno 21] Is a directory: '" + target + "'";
  return fs::is_regular_file(target) ? target.substr(tree.base().size() + 1)
                                     : "Not a regular file: '" + target + "'";
}

bool is_allowed(const std::string& result) {
  return result == "outside" || result.starts_with("root/") || result.starts_with("Symlink loop") ||
         result.starts_with("Not a regular file") || result.starts_with("[Errno ");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const models::LinkTree tree;
  models::Choices choices(contract::bytes_of(data, size));
  const std::string path = any_path(choices, tree);
  const auto result_of = [&path](detail::Opening opening) {
    return models::read_result({WorkTree(tree.root()), opening}, path);
  };
  const std::string result = result_of(detail::Opening::openat2);
  contract::require_equal(result, result_of(detail::Opening::folder_by_folder), path);
  contract::require(is_allowed(result), path + " is " + result);

  const std::string whole = path.starts_with('/') ? path : tree.base() + "/into/" + path;
  std::error_code error;
  const std::string target = fs::canonical(whole, error).string();
  if (result.starts_with("Symlink loop")) {
    contract::require(static_cast<bool>(error), path + " is not a loop");
    return 0;
  }
  const std::string resolved = detail::resolved_path("", whole).path;
  if (!error) {
    contract::require_equal(result, result_at(target, tree), "reading " + path);
    contract::require_equal(resolved, target == "/" ? "" : target, "resolving " + whole);
  } else if (fs::exists(resolved, error)) {
    contract::require_equal(resolved, fs::canonical(resolved).string(), "resolving " + whole);
    contract::require_equal(result, result_at(resolved, tree), "reading " + path);
  }
  return 0;
}

}  // namespace mcp_responses
