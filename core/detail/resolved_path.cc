#include "detail/resolved_path.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "detail/system_call.h"
#include "work_tree.h"

namespace mcp_responses::detail {
namespace {

/// The target of a symlink. Returns nothing and sets errno if there is none: EINVAL if the path exists.
std::optional<std::string> symlink_target(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t size =
      retry_interrupted([&] { return ::readlink(path.c_str(), target.data(), target.size()); });
  if (size < 0) return {};
  return std::string(target.data(), static_cast<std::size_t>(size));
}

/// Replaces a path by its parent; "" is "/".
void go_up(std::string& path) { path.erase(path.empty() ? 0 : path.rfind('/')); }

/// Resolves one path. Each symlink is followed once and its result is memoised, so the time grows
/// linearly with the number of symlinks, even if they refer to each other many times.
class Resolution {
 public:
  Resolution(std::string base) : path_(std::move(base)) {}

  /// Follows a path from the base. After a symlink that leads to itself, the rest of the path is
  /// appended without following symlinks.
  void follow(std::string_view path) {
    push(path, nullptr);
    while (!pending_.empty()) {
      Pending& pending = pending_.back();
      const std::string_view component = take_component(pending.rest);
      if (component.empty()) {
        if (pending.link != nullptr) pending.link->resolved = path_;
        pending_.pop_back();
      } else if (append(component) && !has_loop_) {
        follow_symlink();
      }
    }
  }

  /// "" for "/".
  const std::string& path() const { return path_; }
  bool has_loop() const { return has_loop_; }

 private:
  struct Symlink {
    std::string target;
    std::optional<std::string> resolved;  // empty while the target is being followed
  };
  struct Pending {
    std::string_view rest;  // of the symlink's target, or of the caller's path
    Symlink* link;          // null for the caller's path
  };

  void push(std::string_view path, Symlink* link) {
    if (path.starts_with('/')) path_.clear();
    pending_.push_back({path, link});
  }

  /// Returns true if the component is a name.
  bool append(std::string_view component) {
    count_work(element_work + component.size());
    if (component == ".") return false;
    if (component == "..") {
      go_up(path_);
      return false;
    }
    path_ += '/';
    path_ += component;
    return true;
  }

  /// If the path is a symlink, replaces it by the resolved target, or starts to follow the target.
  void follow_symlink() {
    auto target = symlink_target(path_);
    if (!target) return;
    const auto [found, is_new] = links_.try_emplace(path_);
    Symlink& link = found->second;
    if (is_new) {
      link.target = std::move(*target);
      go_up(path_);
      push(link.target, &link);
    } else if (link.resolved) {
      path_ = *link.resolved;
    } else {
      has_loop_ = true;
    }
  }

  std::string path_;  // resolved so far
  bool has_loop_ = false;
  std::vector<Pending> pending_;          // a stack: the last one is followed first
  std::map<std::string, Symlink> links_;  // by the symlink's own path
};

}  // namespace

std::string absolute(std::string_view path) {
  if (path.starts_with('/')) return std::string(path);
  return (std::filesystem::current_path() / path).string();
}

ResolvedPath resolved_path(std::string base, std::string_view path) {
  assert(path.find('\0') == path.npos && base.find('\0') == base.npos);
  assert(base.empty() || (base.front() == '/' && base.back() != '/'));
  Resolution resolution(std::move(base));
  resolution.follow(path);
  if (!resolution.has_loop()) return {resolution.path()};
  const std::string& literal = resolution.path();
  Resolution again("");
  again.follow(literal);
  // With "/." at its end, the kernel follows all symlinks of a path, so that it finds the loop.
  const std::string end = again.has_loop() ? literal + "/." : again.path();
  if (end.empty() || symlink_target(end) || errno == EINVAL) return {again.path()};
  if (errno == ELOOP) throw SymlinkLoop(literal);
  return {literal, errno};
}

std::string_view take_component(std::string_view& path) noexcept {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  const std::string_view component = path.substr(0, path.find('/'));
  path.remove_prefix(component.size());
  return component;
}

std::string elided_path(const std::string& path) {
  constexpr std::size_t max_size = std::size_t{1} << 16;
  return path.size() <= max_size ? path : path.substr(0, 200) + "...";
}

}  // namespace mcp_responses::detail
