#include "resolved_path.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace mcp_responses {
namespace {

/// The target of a link; nothing when the path is no link, or not to be looked at.
std::optional<std::string> link_target(const std::string& path) {
  if (path.size() >= PATH_MAX) return {};  // as the kernel says, but at once
  std::array<char, PATH_MAX> target;
  const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
  if (size < 0) return {};
  return std::string(target.data(), static_cast<std::size_t>(size));
}

/// Goes up one folder; "" is "/".
void go_up(std::string& base) { base.erase(base.empty() ? 0 : base.rfind('/')); }

/// A path on its way to being resolved, and the links that it has met. Each link is followed once:
/// the time grows with the number of links, not with the number of ways through them.
class Resolution {
 public:
  Resolution(std::string base, const BeforeStep& before_step)
      : base_(std::move(base)), before_step_(before_step) {}

  /// False when a link leads to itself. Then `path()` is what stood before that link, the link, and
  /// what stood behind it, as written.
  bool follow(std::string_view path) {
    push(path, nullptr);
    while (!pending_.empty()) {
      Pending& pending = pending_.back();
      const std::string_view component = take_component(pending.path);
      if (component.empty()) {
        if (pending.link != nullptr) pending.link->end = base_;
        pending_.pop_back();
      } else if (!take(component)) {
        take_rest_as_written();
        return false;
      }
    }
    return true;
  }

  /// Like the base, "" for "/".
  std::string path() && { return std::move(base_); }

 private:
  struct Link {
    std::string target;
    std::optional<std::string> end;  // where it leads; nothing yet while the target is followed
  };
  struct Pending {
    std::string_view path;
    Link* link;  // whose target this is the rest of, if of any
  };

  void push(std::string_view path, Link* link) {
    if (path.starts_with('/')) base_.clear();
    pending_.push_back({path, link});
  }

  /// Takes a component as it is written. True when that leads to a name.
  bool take_as_written(std::string_view component) {
    before_step_();
    if (component == ".") return false;
    if (component == "..") {
      go_up(base_);
      return false;
    }
    base_ += '/';
    base_ += component;
    return true;
  }

  bool take(std::string_view component) {
    if (!take_as_written(component)) return true;
    auto target = link_target(base_);
    if (!target) return true;
    const auto [found, is_new] = links_.try_emplace(base_);
    Link& link = found->second;
    if (is_new) {
      link.target = std::move(*target);
      go_up(base_);
      push(link.target, &link);
      return true;
    }
    if (link.end) base_ = *link.end;
    return link.end.has_value();
  }

  void take_rest_as_written() {
    for (; !pending_.empty(); pending_.pop_back()) {
      std::string_view& rest = pending_.back().path;
      for (auto next = take_component(rest); !next.empty(); next = take_component(rest))
        take_as_written(next);
    }
  }

  std::string base_;
  const BeforeStep& before_step_;
  std::vector<Pending> pending_;       // the next one last
  std::map<std::string, Link> links_;  // by a link's own path
};

}  // namespace

LinkLoop::LinkLoop(const std::string& path)
    : std::runtime_error("Symlink loop from '" + shown_path(path) + "'") {}

std::string absolute(std::string_view path) {
  if (path.starts_with('/')) return std::string(path);
  std::array<char, PATH_MAX> current;
  if (::getcwd(current.data(), current.size()) == nullptr)
    throw std::system_error(errno, std::generic_category());
  return std::string(current.data()) + '/' + std::string(path);
}

std::string resolved_path(std::string base, std::string_view path, const BeforeStep& before_step) {
  Resolution resolution(std::move(base), before_step);
  const bool is_resolved = resolution.follow(path);
  std::string result = std::move(resolution).path();
  if (is_resolved) return result;
  Resolution again("", before_step);
  if (!again.follow(result)) throw LinkLoop(result);
  return std::move(again).path();
}

std::string_view take_component(std::string_view& path) noexcept {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  const std::string_view component = path.substr(0, path.find('/'));
  path.remove_prefix(component.size());
  return component;
}

std::string shown_path(const std::string& path) {
  constexpr std::size_t most = std::size_t{1} << 16;
  return path.size() <= most ? path : path.substr(0, 200) + "...";
}

}  // namespace mcp_responses
