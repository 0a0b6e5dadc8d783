#include "work_tree.h"

#include <fcntl.h>
#include <linux/limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "detail/openat2.h"
#include "detail/system_call.h"

namespace mcp_responses {
namespace {

using detail::retry_interrupted;

// Refers to a file without opening it.
constexpr int path_flags = O_PATH | O_CLOEXEC;
// O_NONBLOCK: if a FIFO has replaced the file after the check, opening it does not block. It has no
// effect on reading a regular file.
constexpr int read_flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

constexpr std::chrono::milliseconds lease_poll_interval(5);

std::string slash_if_empty(const std::string& path) { return path.empty() ? "/" : path; }

/// True if the path is relative and contains only names, no ".", ".." or empty components.
bool is_plain(std::string_view path) {
  for (;;) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    if (component.empty() || component == "." || component == "..") return false;
    if (end == path.size()) return true;
    path.remove_prefix(end + 1);
  }
}

/// Does not follow a symlink in the last component.
UniqueFd open_at(int folder, const std::string& name, int flags,
                 const CheckInterrupt& check_interrupt) {
  return UniqueFd(retry_interrupted(
      check_interrupt, [&] { return ::openat(folder, name.c_str(), flags | O_NOFOLLOW); }));
}

UniqueFd open_with_openat2(int folder, const std::string& path, int flags, unsigned resolve,
                           const CheckInterrupt& check_interrupt) {
  open_how how{};
  how.flags = static_cast<unsigned>(flags);
  how.resolve = resolve | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const auto call = [&] { return ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof(how)); };
  return UniqueFd(static_cast<int>(retry_interrupted(check_interrupt, call)));
}

/// Kernels before 5.6 do not have openat2, and some sandboxes refuse it.
bool is_openat2_missing(int error) { return error == ENOSYS || error == EPERM || error == EINVAL; }

int status_of(const UniqueFd& file, struct stat& status, const CheckInterrupt& check_interrupt) {
  return retry_interrupted(check_interrupt, [&] { return ::fstat(file.get(), &status); });
}

/// Does not follow a symlink in the last component. An absolute path needs no folder.
int status_at(int folder, const std::string& path, struct stat& status,
              const CheckInterrupt& check_interrupt) {
  return retry_interrupted(check_interrupt, [&] {
    return ::fstatat(folder, path.c_str(), &status, AT_SYMLINK_NOFOLLOW);
  });
}

/// With `O_PATH | O_NOFOLLOW` the kernel opens a symlink itself instead of failing. Here that is
/// ELOOP, as without O_PATH.
UniqueFd open_no_symlink(int folder, const std::string& name, int flags,
                         const CheckInterrupt& check_interrupt) {
  UniqueFd file = open_at(folder, name, flags, check_interrupt);
  struct stat status {};
  if (!file.is_open() || status_of(file, status, check_interrupt) != 0) return UniqueFd();
  if (!S_ISLNK(status.st_mode)) return file;
  errno = ELOOP;
  return UniqueFd();
}

/// Rejects a path that is too long for openat2, so that both kinds of opening fail with the same
/// error.
UniqueFd open_folder_by_folder(UniqueFd folder, std::string_view path, int flags,
                               const CheckInterrupt& check_interrupt) {
  if (path.size() >= PATH_MAX) {
    errno = ENAMETOOLONG;
    return UniqueFd();
  }
  while (folder.is_open()) {
    const std::string name(take_component(path));
    if (path.empty()) return open_no_symlink(folder.get(), name, flags, check_interrupt);
    folder = open_at(folder.get(), name, path_flags | O_DIRECTORY, check_interrupt);
  }
  return folder;
}

/// Files are read to their end, because they may grow while they are read, and files in /proc have
/// size 0. This limit is for a file that grows as fast as it is read.
std::size_t max_bytes_read(std::size_t size) {
  constexpr std::size_t max_without_size = std::size_t{64} << 20;
  return 2 * std::min(size, std::size_t{1} << 62) + max_without_size;
}

/// Inode numbers are reused, possibly for a file of another type.
bool is_same_file(const struct stat& a, const struct stat& b) {
  constexpr mode_t type = S_IFMT;
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && (a.st_mode & type) == (b.st_mode & type);
}

/// Throws `Unreadable` if the file is not regular.
void check_is_regular(mode_t mode, const std::string& path) {
  if (S_ISREG(mode)) return;
  if (S_ISDIR(mode)) throw Unreadable(EISDIR, path);
  if (S_ISSOCK(mode)) throw Unreadable(ENXIO, path);  // the error of opening a socket
  throw Unreadable("Not a regular file", path);
}

}  // namespace

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

UniqueFd::~UniqueFd() {
  if (is_open()) ::close(fd_);
}

Unreadable::Unreadable(int error_number, const std::string& path)
    : Unreadable("[Errno " + std::to_string(error_number) + "] " +
                     std::generic_category().message(error_number),
                 path) {}

Unreadable::Unreadable(std::string_view reason, const std::string& path)
    : std::runtime_error(std::string(reason) + ": '" + elided_path(path) + "'") {}

std::size_t FileReader::read(std::span<char> to, const CheckInterrupt& check_interrupt) {
  assert(!to.empty());
  if (is_at_end_) return 0;
  check_interrupt();
  const std::size_t wanted = std::min(to.size(), max_bytes_read(size_) - bytes_read_);
  const ssize_t result =
      retry_interrupted(check_interrupt, [&] { return ::read(file_.get(), to.data(), wanted); });
  if (result < 0) throw Unreadable(errno, path_);
  const auto count = static_cast<std::size_t>(result);
  bytes_read_ += count;
  // A short read at the expected size: another system call would only confirm the end.
  is_at_end_ = count < wanted && bytes_read_ == size_;
  return count;
}

WorkTree::WorkTree(std::string_view root, const CheckInterrupt& check_interrupt, Opening opening)
    : root_(resolved_path("", absolute(root), check_interrupt)) {
  const std::string path = slash_if_empty(root_);
  if (opening == Opening::openat2) {
    root_fd_ = open_with_openat2(AT_FDCWD, path, path_flags, 0, check_interrupt);
    if (root_fd_.is_open() && status_of(root_fd_, root_status_, check_interrupt) == 0) return;
    root_error_ = errno;
    if (!is_openat2_missing(root_error_)) return;
  }
  root_error_ = status_at(AT_FDCWD, path, root_status_, check_interrupt) == 0 ? 0 : errno;
}

std::optional<FileReader> WorkTree::open(std::string_view path,
                                         const CheckInterrupt& check_interrupt) const {
  assert(path.find('\0') == path.npos);
  // Most paths contain neither symlinks nor "..". They are opened without being resolved.
  if (is_plain(path)) {
    auto reader = open_plain(path, check_interrupt);
    if (reader) return reader;
  }
  const std::string target = resolved_path(root_, path, check_interrupt);
  if (target != root_ && !target.starts_with(root_ + '/')) return {};
  return open_resolved(target, check_interrupt);
}

/// Returns nothing if the path has to be resolved first.
std::optional<FileReader> WorkTree::open_plain(std::string_view path,
                                               const CheckInterrupt& check_interrupt) const {
  const std::string beneath(path);
  std::string full_path = root_ + '/' + beneath;
  struct stat checked {};
  const int error =
      status_at(root_fd_.get(), root_fd_.is_open() ? beneath : full_path, checked, check_interrupt);
  if (error != 0 || !S_ISREG(checked.st_mode)) return {};
  UniqueFd file = open_beneath(beneath, read_flags, check_interrupt);
  if (!file.is_open()) return {};
  return reader_of(std::move(file), checked, std::move(full_path), check_interrupt);
}

/// Checks a file before opening it for reading: opening a FIFO would be visible to the process at its
/// other end. The descriptor of the check is closed before that, so that one fewer is open at a time.
FileReader WorkTree::open_resolved(const std::string& target,
                                   const CheckInterrupt& check_interrupt) const {
  const std::string beneath = target == root_ ? "" : target.substr(root_.size() + 1);
  const std::string full_path = slash_if_empty(target);
  for (;;) {
    struct stat checked {};
    if (const UniqueFd found = open_beneath(beneath, path_flags, check_interrupt);
        !found.is_open() || status_of(found, checked, check_interrupt) != 0) {
      throw Unreadable(errno, full_path);
    }
    check_is_regular(checked.st_mode, full_path);
    UniqueFd file = open_beneath(beneath, read_flags, check_interrupt);
    if (file.is_open()) return reader_of(std::move(file), checked, full_path, check_interrupt);
    // With O_NONBLOCK, opening a file under a lease (fcntl, F_SETLEASE) fails with EAGAIN; without
    // it, the kernel would wait.
    if (errno != EAGAIN) throw Unreadable(errno, full_path);
    check_interrupt();
    std::this_thread::sleep_for(lease_poll_interval);
  }
}

FileReader WorkTree::reader_of(UniqueFd file, const struct stat& checked, std::string path,
                               const CheckInterrupt& check_interrupt) {
  struct stat opened {};
  if (status_of(file, opened, check_interrupt) != 0) throw Unreadable(errno, path);
  if (!is_same_file(checked, opened)) throw Unreadable("Replaced while it was opened", path);
  const auto size = static_cast<std::size_t>(std::max<off_t>(0, opened.st_size));
  return {std::move(file), std::move(path), size};
}

/// Sets errno if it returns an empty descriptor.
UniqueFd WorkTree::open_beneath(const std::string& path, int flags,
                                const CheckInterrupt& check_interrupt) const {
  if (root_error_ != 0) {
    errno = root_error_;
    return UniqueFd();
  }
  if (path.empty()) return open_root(flags, check_interrupt);
  if (root_fd_.is_open())
    return open_with_openat2(root_fd_.get(), path, flags, RESOLVE_BENEATH, check_interrupt);
  return open_folder_by_folder(open_root(path_flags, check_interrupt), path, flags,
                               check_interrupt);
}

/// Fails if another file or folder has replaced the root, for example because a folder above it is
/// now a symlink. The root is opened for each file: if its descriptor stayed open, opening folder by
/// folder would need three at a time.
UniqueFd WorkTree::open_root(int flags, const CheckInterrupt& check_interrupt) const {
  UniqueFd root = open_at(AT_FDCWD, slash_if_empty(root_), flags, check_interrupt);
  struct stat status {};
  if (!root.is_open() || status_of(root, status, check_interrupt) != 0) return UniqueFd();
  if (is_same_file(status, root_status_)) return root;
  errno = ENOENT;
  return UniqueFd();
}

}  // namespace mcp_responses
