#include "work_tree.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

namespace mcp_responses {
namespace {

// A descriptor that only stands for what it names, which is not opened by it.
constexpr int look_flags = O_PATH | O_CLOEXEC;
// Non-blocking, so that a pipe that takes a file's place after the look cannot hold the caller; it
// means nothing to a regular file.
constexpr int read_flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// Takes the first component off a path, and the slashes in front of it; "" at the end.
std::string_view take_component(std::string_view& path) {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  const std::string_view component = path.substr(0, path.find('/'));
  path.remove_prefix(component.size());
  return component;
}

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
    before_step_();
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
      while (!rest.empty()) take_as_written(take_component(rest));
    }
  }

  std::string base_;
  const BeforeStep& before_step_;
  std::vector<Pending> pending_;       // the next one last
  std::map<std::string, Link> links_;  // by a link's own path
};

/// `path` taken from the folder `base`, which is resolved. Like `base`, the result is "" for "/".
///
/// As the host's pathlib has it, a circle of links is no error as long as the path leaves it again by
/// "..": `loop/../a.py` is `a.py`.
std::string resolved_from(
    std::string base, std::string_view path, const BeforeStep& before_step = [] {}) {
  Resolution resolution(std::move(base), before_step);
  const bool is_resolved = resolution.follow(path);
  std::string result = std::move(resolution).path();
  if (is_resolved) return result;
  Resolution again("", before_step);
  if (!again.follow(result)) throw LinkLoop(result);
  return std::move(again).path();
}

std::string current_directory() {
  std::array<char, PATH_MAX> path;
  if (::getcwd(path.data(), path.size()) == nullptr)
    throw std::system_error(errno, std::generic_category());
  return resolved_from("", path.data());
}

std::string rooted(const std::string& path) { return path.empty() ? "/" : path; }

/// True when the kernel may take the path as it stands, and errors may name it so: relative, every
/// component a name.
bool is_plain(std::string_view path) {
  for (;;) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    if (component.empty() || component == "." || component == "..") return false;
    if (end == path.size()) return true;
    path.remove_prefix(end + 1);
  }
}

int openat2_beneath(int directory, const std::string& path, int flags) {
  open_how how{};
  how.flags = static_cast<unsigned>(flags);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  return static_cast<int>(::syscall(SYS_openat2, directory, path.c_str(), &how, sizeof(how)));
}

/// Standing for a link, without following it, is no failure to the kernel; here it is one.
int open_no_link(int folder, const std::string& name, int flags) {
  Descriptor found(::openat(folder, name.c_str(), flags | O_NOFOLLOW));
  struct stat status {};
  if (!found.is_open() || ::fstat(found.get(), &status) != 0) return -1;
  if (!S_ISLNK(status.st_mode)) return std::move(found).release();
  errno = ELOOP;
  return -1;
}

int open_folder_by_folder(int directory, const std::string& path, int flags) {
  std::string_view rest = path;
  Descriptor folder(::fcntl(directory, F_DUPFD_CLOEXEC, 0));
  while (folder.is_open()) {
    const std::string name(take_component(rest));
    if (rest.empty()) return open_no_link(folder.get(), name, flags);
    const int next =
        ::openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    folder = Descriptor(next);
  }
  return -1;
}

/// What is read of a file at most. A file may grow while it is read, and the size of one in /proc
/// says nothing, so a file is read to its end. But one that grows as fast as it is read has none:
/// then what its size said, as much again, and what a file without a size may have, is enough, for
/// no place that the service has indexed stands behind it.
std::size_t most_of(std::size_t size) {
  constexpr std::size_t most_without_size = std::size_t{64} << 20;
  return 2 * size + most_without_size;
}

/// What an error shows of a path: the beginning, where it is far longer than any file's.
std::string shown(const std::string& path) {
  constexpr std::size_t most = std::size_t{1} << 16;
  return path.size() <= most ? path : path.substr(0, 200) + "...";
}

/// The number of a file that is gone may be given to another one, of another kind.
bool is_same(const struct stat& a, const struct stat& b) {
  constexpr mode_t kind = S_IFMT;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && (a.st_mode & kind) == (b.st_mode & kind);
}

}  // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

Descriptor::~Descriptor() {
  if (is_open()) ::close(descriptor_);
}

Unreadable::Unreadable(int error_number, const std::string& path)
    : Unreadable("[Errno " + std::to_string(error_number) + "] " +
                     std::generic_category().message(error_number),
                 path) {}

Unreadable::Unreadable(std::string_view reason, const std::string& path)
    : std::runtime_error(std::string(reason) + ": '" + shown(path) + "'") {}

LinkLoop::LinkLoop(const std::string& path)
    : std::runtime_error("Symlink loop from '" + shown(path) + "'") {}

std::string absolute(std::string_view path) {
  return path.starts_with('/') ? std::string(path) : current_directory() + '/' + std::string(path);
}

std::string resolved(std::string_view path) { return rooted(resolved_from("", absolute(path))); }

WorkTree::WorkTree(std::string_view root, Opening opening)
    : root_(resolved(root)),
      directory_(::open(root_.c_str(), look_flags | O_NOFOLLOW)),
      directory_error_(directory_.is_open() ? 0 : errno),
      opening_(opening) {
  if (root_ == "/") root_.clear();
}

std::size_t FileReader::read(std::span<char> to) {
  if (is_at_end_) return 0;
  const std::size_t asked = std::min(to.size(), most_of(size_) - read_);
  ssize_t count = 0;
  do {
    count = ::read(file_.get(), to.data(), asked);
  } while (count < 0 && errno == EINTR);
  if (count < 0) throw Unreadable(errno, path_);
  const auto got = static_cast<std::size_t>(count);
  read_ += got;
  // Less than was asked for, and just what its size said: the kernel need not be asked for more.
  is_at_end_ = got < asked && read_ == size_;
  return got;
}

/// Of an open file, which has to be what was looked at before it was opened.
FileReader WorkTree::reader_of(Descriptor file, const struct stat& looked_at, std::string path) {
  struct stat opened {};
  if (::fstat(file.get(), &opened) != 0) throw Unreadable(errno, path);
  if (!is_same(looked_at, opened)) throw Unreadable("Exchanged while it was opened", path);
  const auto size = static_cast<std::size_t>(std::max<off_t>(0, opened.st_size));
  return {std::move(file), std::move(path), size};
}

/// A file is looked at before it is opened for reading: a pipe has somebody at its other end who would
/// notice.
std::optional<FileReader> WorkTree::open(std::string_view path,
                                         const BeforeStep& before_step) const {
  if (is_plain(path)) {
    // Most paths hold neither links nor "..": the kernel then says so by opening the file.
    const std::string plain(path);
    struct stat looked_at {};
    if (::fstatat(directory_.get(), plain.c_str(), &looked_at, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(looked_at.st_mode)) {
      Descriptor file = open_beneath(plain, read_flags);
      if (file.is_open()) return reader_of(std::move(file), looked_at, root_ + '/' + plain);
    }
  }
  const std::string target = resolved_from(root_, path, before_step);
  const bool is_root = target == root_;
  if (!is_root && !target.starts_with(root_ + '/')) return {};
  const std::string below = is_root ? "" : target.substr(root_.size() + 1);
  std::string full_path = rooted(target);
  const Descriptor found = open_beneath(below, look_flags);
  struct stat looked_at {};
  if (!found.is_open() || ::fstat(found.get(), &looked_at) != 0) throw Unreadable(errno, full_path);
  if (S_ISDIR(looked_at.st_mode)) throw Unreadable(EISDIR, full_path);
  if (S_ISSOCK(looked_at.st_mode)) throw Unreadable(ENXIO, full_path);  // as opening it would fail
  if (!S_ISREG(looked_at.st_mode)) throw Unreadable("Not a regular file", full_path);
  Descriptor file = open_beneath(below, read_flags);
  if (!file.is_open()) throw Unreadable(errno, full_path);
  return reader_of(std::move(file), looked_at, std::move(full_path));
}

/// Sets errno when nothing was opened.
Descriptor WorkTree::open_beneath(const std::string& path, int flags) const {
  if (!directory_.is_open()) {
    errno = directory_error_;
    return Descriptor(-1);
  }
  if (path.empty()) return Descriptor(::open(rooted(root_).c_str(), flags | O_NOFOLLOW));
  if (opening_ == Opening::openat2) {
    const int file = openat2_beneath(directory_.get(), path, flags);
    // Kernels before 5.6 do not have the call, and some sandboxes refuse it.
    if (file >= 0 || (errno != ENOSYS && errno != EPERM && errno != EINVAL))
      return Descriptor(file);
    opening_ = Opening::folder_by_folder;
  }
  return Descriptor(open_folder_by_folder(directory_.get(), path, flags));
}

}  // namespace mcp_responses
