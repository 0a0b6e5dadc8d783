// A small tree of files and symlinks of all kinds, created on disk from a table, and a model that
// resolves paths from the table alone.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include "work_tree.h"

namespace models {

/// The whole content of a file, or nothing if its path leaves the root.
inline std::optional<std::string> content(
    const mcp_responses::WorkTree& tree, const std::string& path,
    const mcp_responses::CheckInterrupt& check_interrupt = [] {}) {
  auto reader = tree.open(path, check_interrupt);
  if (!reader) return {};
  std::string bytes;
  std::array<char, 5000> buffer;
  while (const std::size_t count = reader->read(buffer, check_interrupt))
    bytes.append(buffer.data(), count);
  return bytes;
}

inline void write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

/// The result of reading a file, as `LinkTree::read` gives it.
inline std::string read_result(const mcp_responses::WorkTree& tree, const std::string& path) {
  try {
    return content(tree, path).value_or("outside");
  } catch (const mcp_responses::Unreadable&) {
    return "unreadable";
  } catch (const mcp_responses::SymlinkLoop& error) {
    return error.what();
  }
}

/// The name of a test's parameter.
inline constexpr auto opening_name = [](const auto& test) {
  const bool has_openat2 = test.param == mcp_responses::WorkTree::Opening::openat2;
  return has_openat2 ? "openat2" : "folder_by_folder";
};

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
      files_[base_ + "/" + file] = file;
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
      links_[base_ + "/" + name] = target;
      std::filesystem::create_symlink(target, base_ + "/" + name);
    }
    ::mkfifo((base_ + "/root/pipe").c_str(), 0600);
  }
  ~LinkTree() { std::filesystem::remove_all(base_); }
  LinkTree(const LinkTree&) = delete;
  LinkTree& operator=(const LinkTree&) = delete;

  const std::string& base() const { return base_; }
  std::string root() const { return base_ + "/root"; }

  /// The absolute path without symlinks to which `path` leads from the folder `from`, "" for "/". From
  /// the first symlink loop on, the path is taken literally. If it exists then, it is resolved once
  /// more; "loop" if the kernel finds a loop in it.
  std::string resolved(const std::string& from, const std::string& path) const {
    std::set<std::string> open;
    std::string end = path.starts_with('/') ? "" : from;
    if (!follow(end, path, open)) {
      std::error_code error;
      const bool exists = std::filesystem::exists(end, error);
      if (error == std::errc::too_many_symbolic_link_levels)
        return "Symlink loop from '" + end + "'";
      const std::string literal = end;
      if (!exists) return literal;
      open.clear();
      end.clear();
      follow(end, literal, open);
    }
    return end;
  }

  /// The content of a file, "outside", "unreadable", or the text for a symlink loop.
  std::string read(const std::string& path) const {
    std::string target = resolved(root(), path);
    if (target.starts_with("Symlink loop")) return target;
    if (target != root() && !target.starts_with(root() + "/")) return "outside";
    const auto file = files_.find(target);
    return file == files_.end() ? "unreadable" : file->second;
  }

 private:
  /// Moves `at` along the path. Returns false at a symlink that is being followed already; the rest of
  /// the path is then taken literally.
  bool follow(std::string& at, std::string_view path, std::set<std::string>& open,
              bool literal = false) const {
    while (!path.empty()) {
      const std::string part(path.substr(0, path.find('/')));
      path.remove_prefix(std::min(part.size() + 1, path.size()));
      if (part.empty() || part == ".") continue;
      if (part == "..") {
        at = at.substr(0, at.empty() ? 0 : at.rfind('/'));
        continue;
      }
      const std::string next = at + "/" + part;
      const auto link = links_.find(next);
      if (literal || link == links_.end() || !open.insert(next).second) {
        at = next;
        literal = literal || link != links_.end();
        continue;
      }
      if (link->second.starts_with('/')) at.clear();
      literal = !follow(at, link->second, open);
      open.erase(next);
    }
    return !literal;
  }

  std::string base_;
  std::map<std::string, std::string> files_;  // content by path
  std::map<std::string, std::string> links_;  // target by path
};

}  // namespace models
