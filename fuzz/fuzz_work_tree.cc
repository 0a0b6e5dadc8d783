// Paths into a small tree of symlinks: both ways of opening agree with a model of the tree.
#include <iterator>
#include <sstream>

#include "contract.h"
#include "models/link_tree.h"

namespace mcp_responses {
namespace {

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
  for (int parts = 0; parts < 64 && !choices.used_up(); ++parts) {
    path += names[choices.below(names.size())];
    if (choices.below(8) != 7) path += '/';
  }
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const models::LinkTree tree;
  models::Choices choices(contract::bytes_of(data, size));
  const std::string path = any_path(choices, tree);

  const std::string expected = tree.read(path);
  for (const auto opening : {WorkTree::Opening::openat2, WorkTree::Opening::folder_by_folder}) {
    contract::require_equal(models::read_result(WorkTree(
                                                    tree.root(), [] {}, opening),
                                                path),
                            expected, "reading " + path);
  }
  if (expected.starts_with("Symlink loop")) return 0;
  const std::string whole = path.starts_with('/') ? path : tree.base() + "/into/" + path;
  contract::require_equal(resolved_path("", whole), tree.resolved("", whole), "resolving " + whole);
  return 0;
}

}  // namespace mcp_responses
