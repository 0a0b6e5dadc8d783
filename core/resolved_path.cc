#include "resolved_path.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <climits>
#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "detail/system_call.h"

namespace mcp_responses {
namespace {

/// The target of a symlink; nothing if the path is not a symlink or cannot be read.
std::optional<std::string> symlink_target(const std::string& path,
                                          const CheckInterrupt& check_interrupt) {
  if (path.size() >= PATH_MAX) return {};  // the kernel would fail with ENAMETOOLONG
  std::array<char, PATH_MAX> target;
  const ssize_t size = detail::retry_interrupted(
      check_interrupt, [&] { return ::readlink(path.c_str(), target.data(), target.size()); });
  if (size < 0) return {};
  return std::string(target.data(), static_cast<std::size_t>(size));
}

/// Replaces a path by its parent; "" is "/".
void go_up(std::string& path) { path.erase(path.empty() ? 0 : path.rfind('/')); }

/// Resolves one path. Each symlink is followed once and its result is memoised, so the time grows
/// linearly with the number of symlinks, even if they refer to each other many times.
class Resolution {
 public:
  Resolution(std::string base, const CheckInterrupt& check_interrupt)
      : path_(std::move(base)), check_interrupt_(check_interrupt) {}

  /// Returns false for a symlink loop. Then `path()` ends with the symlink that leads to itself and
  /// the components that follow it, as written.
  bool follow(std::string_view path) {
    push(path, nullptr);
    while (!pending_.empty()) {
      Pending& pending = pending_.back();
      const std::string_view component = take_component(pending.path);
      if (component.empty()) {
        if (pending.link != nullptr) pending.link->resolved = path_;
        pending_.pop_back();
      } else if (!follow_component(component)) {
        append_rest();
        return false;
      }
    }
    return true;
  }

  /// "" for "/".
  std::string path() && { return std::move(path_); }

 private:
  struct Symlink {
    std::string target;
    std::optional<std::string> resolved;  // empty while the target is being followed
  };
  struct Pending {
    std::string_view path;
    Symlink* link;  // `path` is the rest of this symlink's target; null for the caller's path
  };

  void push(std::string_view path, Symlink* link) {
    if (path.starts_with('/')) path_.clear();
    pending_.push_back({path, link});
  }

  /// Appends a component without following it. Returns true if it is a name.
  bool append(std::string_view component) {
    check_interrupt_();
    if (component == ".") return false;
    if (component == "..") {
      go_up(path_);
      return false;
    }
    path_ += '/';
    path_ += component;
    return true;
  }

  /// Returns false for a symlink whose target is being followed already.
  bool follow_component(std::string_view component) {
    if (!append(component)) return true;
    auto target = symlink_target(path_, check_interrupt_);
    if (!target) return true;
    const auto [found, is_new] = links_.try_emplace(path_);
    Symlink& link = found->second;
    if (is_new) {
      link.target = std::move(*target);
      go_up(path_);
      push(link.target, &link);
      return true;
    }
    if (link.resolved) path_ = *link.resolved;
    return link.resolved.has_value();
  }

  void append_rest() {
    for (; !pending_.empty(); pending_.pop_back()) {
      std::string_view& rest = pending_.back().path;
      for (auto next = take_component(rest); !next.empty(); next = take_component(rest))
        append(next);
    }
  }

  std::string path_;  // resolved so far
  const CheckInterrupt& check_interrupt_;
  std::vector<Pending> pending_;          // a stack: the last one is followed first
  std::map<std::string, Symlink> links_;  // by the symlink's own path
};

[[maybe_unused]] bool has_nul(std::string_view path) { return path.find('\0') != path.npos; }

}  // namespace

SymlinkLoop::SymlinkLoop(const std::string& path)
    : std::runtime_error("Symlink loop from '" + elided_path(path) + "'") {}

std::string absolute(std::string_view path) {
  if (path.starts_with('/')) return std::string(path);
  std::array<char, PATH_MAX> current;
  if (::getcwd(current.data(), current.size()) == nullptr)
    throw std::system_error(errno, std::generic_category());
  return std::string(current.data()) + '/' + std::string(path);
}

std::string resolved_path(std::string base, std::string_view path,
                          const CheckInterrupt& check_interrupt) {
  assert(!has_nul(path) && !has_nul(base));
  assert(base.empty() || (base.front() == '/' && base.back() != '/'));
  Resolution resolution(std::move(base), check_interrupt);
  const bool is_resolved = resolution.follow(path);
  std::string result = std::move(resolution).path();
  if (is_resolved) return result;
  // The rest of the path may leave the loop by "..". Then a second resolution does not find a loop.
  Resolution again("", check_interrupt);
  if (!again.follow(result)) throw SymlinkLoop(result);
  return std::move(again).path();
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

}  // namespace mcp_responses
