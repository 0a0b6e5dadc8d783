// A small tree of files and symlinks of all kinds, created on disk.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "detail/file_opener.h"

namespace models {

/// A work tree, and how its folders are opened.
struct OpenedTree {
  mcp_responses::WorkTree tree;
  mcp_responses::detail::Opening opening;

  mcp_responses::detail::FileOpener opener() const {
    return mcp_responses::detail::FileOpener(tree, opening);
  }
};

/// The whole content of a file, or nothing if its path leaves the root.
inline std::optional<std::string> content(const OpenedTree& tree, const std::string& path) {
  auto reader = tree.opener().open(path);
  if (!reader) return {};
  std::string bytes;
  std::array<char, 5000> buffer;
  while (const std::size_t count = reader->read(buffer)) bytes.append(buffer.data(), count);
  return bytes;
}

inline void write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// The content of a file, "outside", or the text of the error.
inline std::string read_result(const OpenedTree& tree, const std::string& path) {
  try {
    return content(tree, path).value_or("outside");
  } catch (const std::exception& error) {
    return error.what();
  }
}

/// The name of a test's parameter.
inline constexpr auto opening_name = [](const auto& test) {
  const bool has_openat2 = test.param == mcp_responses::detail::Opening::openat2;
  return has_openat2 ? "openat2" : "folder_by_folder";
};

/// The content of a file is its path.
class LinkTree {
 public:
  LinkTree() {
    std::string pattern = (std::filesystem::temp_directory_path() / "link_tree.XXXXXX").string();
    base_ = std::filesystem::canonical(::mkdtemp(pattern.data())).string();
    for (const char* folder : {"root", "root/sub", "root/sub/deep", "root2", "outside"}) {
      std::filesystem::create_directory(base_ + "/" + folder);
    }
    for (const char* file :
         {"root/a.py", "root/sub/b.py", "root/sub/deep/c.py", "root2/a.py", "outside/s.py"}) {
      write(base_ + "/" + file, file);
    }
    // Names and targets; "$" is the base.
    std::istringstream links(
        "root/file a.py  root/chain file  root/chain2 up/root/dir/../chain  root/dir sub  into "
        "root "
        "root/slashed sub//deep/  root/abs $/root/sub/b.py  root/up ..  root/sub/top ../.. "
        "root/whole /  root/out ../outside/s.py  root/absout $/outside  root/dangling missing/x "
        "root/back absout/../root/a.py  root/self self  root/ping pong  root/pong ./ping "
        "root/through_gone gone/../through_gone  root/through_file a.py/../through_file");
    for (std::string name, target; links >> name >> target;) {
      if (target.front() == '$') target.replace(0, 1, base_);
      std::filesystem::create_symlink(target, base_ + "/" + name);
    }
    ::mkfifo((base_ + "/root/pipe").c_str(), 0600);
  }
  ~LinkTree() { std::filesystem::remove_all(base_); }
  LinkTree(const LinkTree&) = delete;
  LinkTree& operator=(const LinkTree&) = delete;

  const std::string& base() const { return base_; }
  std::string root() const { return base_ + "/root"; }

 private:
  std::string base_;
};

}  // namespace models
