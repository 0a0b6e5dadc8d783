#include "work_tree.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace mcp_responses {
namespace {

// A descriptor that only stands for what it names, which is not opened by it.
constexpr int look_flags = O_PATH | O_CLOEXEC;
// Non-blocking, so that a pipe that takes a file's place after the look cannot hold the caller; it
// means nothing to a regular file.
constexpr int read_flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

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
  return 2 * std::min(size, std::size_t{1} << 62) + most_without_size;
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
    : std::runtime_error(std::string(reason) + ": '" + shown_path(path) + "'") {}

WorkTree::WorkTree(std::string_view root, const BeforeStep& before_step, Opening opening)
    : root_(resolved_path("", absolute(root), before_step)),
      directory_(::open(rooted(root_).c_str(), look_flags | O_NOFOLLOW)),
      directory_error_(directory_.is_open() ? 0 : errno),
      opening_(opening) {}

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
  const std::string target = resolved_path(root_, path, before_step);
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
  }
  return Descriptor(open_folder_by_folder(directory_.get(), path, flags));
}

}  // namespace mcp_responses
