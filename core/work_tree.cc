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
#include <system_error>
#include <utility>
#include <vector>

namespace mcp_responses {
namespace {

/// More links than any honest path has.
constexpr int most_links = 1000;

// Non-blocking, so that a pipe without a writer cannot hold the caller; it means nothing to a
// regular file.
constexpr int read_flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

/// The components still to be looked at, the next one last.
class Pending {
 public:
  void push(std::string_view path) {
    const std::size_t below = components_.size();
    while (!path.empty()) {
      const std::size_t end = std::min(path.find('/'), path.size());
      if (end > 0) components_.emplace_back(path.substr(0, end));
      path.remove_prefix(std::min(end + 1, path.size()));
    }
    std::reverse(components_.begin() + static_cast<std::ptrdiff_t>(below), components_.end());
  }
  bool empty() const { return components_.empty(); }
  std::string pop() {
    std::string component = std::move(components_.back());
    components_.pop_back();
    return component;
  }

 private:
  std::vector<std::string> components_;
};

/// The target of a link; nothing when the path is no link, or not to be looked at.
std::optional<std::string> link_target(const std::string& path) {
  std::array<char, PATH_MAX> target;
  const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
  if (size < 0) return {};
  return std::string(target.data(), static_cast<std::size_t>(size));
}

/// `path` taken from the folder `base`, which is resolved. Like `base`, the result is "" for "/".
std::string resolved_from(std::string base, std::string_view path) {
  Pending pending;
  if (path.starts_with('/')) base.clear();
  pending.push(path);
  int links = 0;
  while (!pending.empty()) {
    const std::string component = pending.pop();
    if (component == ".") continue;
    if (component == "..") {
      base.erase(base.empty() ? 0 : base.rfind('/'));
      continue;
    }
    std::string next = base + '/' + component;
    const auto target = link_target(next);
    if (!target) {
      base = std::move(next);
      continue;
    }
    if (++links > most_links) throw LinkLoop(next);
    if (target->starts_with('/')) base.clear();
    pending.push(*target);
  }
  return base;
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

int openat2_beneath(int directory, const std::string& path) {
  open_how how{};
  how.flags = read_flags;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  return static_cast<int>(::syscall(SYS_openat2, directory, path.c_str(), &how, sizeof(how)));
}

int open_folder_by_folder(int directory, const std::string& path) {
  Pending folders;
  folders.push(path);
  Descriptor folder(::fcntl(directory, F_DUPFD_CLOEXEC, 0));
  while (folder.is_open()) {
    const std::string name = folders.pop();
    if (folders.empty()) return ::openat(folder.get(), name.c_str(), read_flags | O_NOFOLLOW);
    const int next =
        ::openat(folder.get(), name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    folder = Descriptor(next);
  }
  return -1;
}

/// To its end, whatever its size says.
std::string read_all(int file, std::size_t expected, const std::string& path) {
  constexpr std::size_t most_at_first = std::size_t{64} << 20;
  std::string content(std::min(expected, most_at_first) + 1, '\0');
  std::size_t size = 0;
  for (;;) {
    const ssize_t count = ::read(file, content.data() + size, content.size() - size);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw Unreadable(errno, path);
    if (count == 0) break;
    size += static_cast<std::size_t>(count);
    if (size == content.size()) content.resize(size * 2);
  }
  content.resize(size);
  return content;
}

std::string read_regular(const Descriptor& file, const std::string& path) {
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) throw Unreadable(errno, path);
  if (S_ISDIR(status.st_mode)) throw Unreadable(EISDIR, path);
  if (!S_ISREG(status.st_mode)) throw Unreadable("Not a regular file", path);
  return read_all(file.get(), static_cast<std::size_t>(std::max<off_t>(0, status.st_size)), path);
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
    : std::runtime_error(std::string(reason) + ": '" + path + "'") {}

LinkLoop::LinkLoop(const std::string& path)
    : std::runtime_error("Symlink loop from '" + path + "'") {}

std::string resolved(std::string_view path) {
  return rooted(resolved_from(path.starts_with('/') ? "" : current_directory(), path));
}

WorkTree::WorkTree(std::string_view root, Opening opening)
    : root_(resolved(root)),
      directory_(::open(root_.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)),
      directory_error_(directory_.is_open() ? 0 : errno),
      opening_(opening) {
  if (root_ == "/") root_.clear();
}

std::optional<std::string> WorkTree::read(std::string_view path) const {
  if (is_plain(path)) {
    // Most paths hold neither links nor "..": the kernel then says so by opening the file.
    const Descriptor file = open_beneath(std::string(path));
    if (file.is_open()) return read_regular(file, root_ + '/' + std::string(path));
  }
  const std::string target = resolved_from(root_, path);
  if (target == root_) {
    const Descriptor file(::open(rooted(root_).c_str(), read_flags | O_NOFOLLOW));
    if (!file.is_open()) throw Unreadable(errno, rooted(root_));
    return read_regular(file, rooted(root_));
  }
  if (!target.starts_with(root_ + '/')) return {};
  const Descriptor file = open_beneath(target.substr(root_.size() + 1));
  if (!file.is_open()) throw Unreadable(errno, target);
  return read_regular(file, target);
}

/// Sets errno when nothing was opened.
Descriptor WorkTree::open_beneath(const std::string& path) const {
  if (!directory_.is_open()) {
    errno = directory_error_;
    return Descriptor(-1);
  }
  if (opening_ == Opening::openat2) {
    const int file = openat2_beneath(directory_.get(), path);
    // Kernels before 5.6 do not have the call, and some sandboxes refuse it.
    if (file >= 0 || (errno != ENOSYS && errno != EPERM)) return Descriptor(file);
    opening_ = Opening::folder_by_folder;
  }
  return Descriptor(open_folder_by_folder(directory_.get(), path));
}

}  // namespace mcp_responses
