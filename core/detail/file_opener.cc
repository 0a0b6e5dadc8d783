#include "detail/file_opener.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>
#include <system_error>
#include <utility>

#include "detail/resolved_path.h"
#include "detail/system_call.h"

namespace mcp_responses::detail {
namespace {

constexpr int folder_flags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// O_NONBLOCK: if a FIFO has replaced the file after the check, opening it does not block. Reading a
// regular file is the same with and without it.
constexpr int read_flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC;

/// True if the path is relative and contains only names, no ".", ".." or empty components.
bool is_plain(std::string_view path) {
  const std::string enclosed = '/' + std::string(path) + '/';
  const auto contains = [&](const char* part) { return enclosed.find(part) != enclosed.npos; };
  return !contains("//") && !contains("/./") && !contains("/../");
}

/// Calls openat2, which is declared here because older headers do not have it. Its number is the same
/// on x86-64 and aarch64.
UniqueFd open_folder_with_openat2(const std::string& path) {
  constexpr long openat2 = 437;
  constexpr std::uint64_t resolve_no_symlinks = 0x04;
  struct {
    std::uint64_t flags = folder_flags;
    std::uint64_t mode = 0;
    std::uint64_t resolve = resolve_no_symlinks;
  } how;
  const auto call = [&] { return ::syscall(openat2, AT_FDCWD, path.c_str(), &how, sizeof(how)); };
  return UniqueFd(static_cast<int>(retry_interrupted(call)));
}

UniqueFd open_folder_by_folder(std::string_view path) {
  UniqueFd folder;
  for (std::string name = "/"; !name.empty(); name = take_component(path)) {
    const auto call = [&] { return ::openat(folder.get(), name.c_str(), folder_flags); };
    folder = UniqueFd(retry_interrupted(call));
    if (!folder.is_open()) break;
  }
  return folder;
}

/// Opens a folder to open files in it. Fails if a component of the absolute path is a symlink. Sets
/// errno if it returns an empty descriptor.
UniqueFd open_folder(const std::string& path, Opening opening) {
  if (opening == Opening::openat2) {
    UniqueFd folder = open_folder_with_openat2(path);
    // Kernels before 5.6 do not have openat2, and some sandboxes refuse it.
    if (folder.is_open() || (errno != ENOSYS && errno != EPERM && errno != EINVAL)) return folder;
  }
  return open_folder_by_folder(path);
}

/// Opens a regular file of a folder for reading. With O_NONBLOCK, this fails with EAGAIN while another
/// process has a write lease on the file (fcntl, F_SETLEASE). It is tried again for a minute: the kernel
/// ends a lease after 45 seconds by default.
UniqueFd open_in_folder(const UniqueFd& folder, const std::string& name) {
  constexpr timespec interval{.tv_sec = 0, .tv_nsec = 5'000'000};
  constexpr int max_attempts = 60'000 / 5;
  const auto call = [&] { return ::openat(folder.get(), name.c_str(), read_flags); };
  for (int attempt = 1;; ++attempt) {
    UniqueFd file(retry_interrupted(call));
    if (file.is_open() || errno != EAGAIN || attempt == max_attempts) return file;
    check_interrupt();
    ::nanosleep(&interval, nullptr);
  }
}

/// Files are read to their end, because they may grow while they are read, and files in /proc have
/// size 0. This limit is for a file that grows as fast as it is read.
std::size_t max_bytes_read(std::size_t size) {
  constexpr std::size_t max_without_size = std::size_t{64} << 20;
  return 2 * std::min(size, std::size_t{1} << 62) + max_without_size;
}

Unreadable not_regular(mode_t mode, const std::string& path) {
  if (S_ISDIR(mode)) return {EISDIR, path};
  if (S_ISLNK(mode)) return {ELOOP, path};
  if (S_ISSOCK(mode)) return {ENXIO, path};  // the error of opening a socket
  return {"Not a regular file", path};
}

}  // namespace

UniqueFd::~UniqueFd() {
  if (is_open()) ::close(fd_);
}

Unreadable::Unreadable(int error_number, const std::string& path)
    : Unreadable("[Errno " + std::to_string(error_number) + "] " +
                     std::generic_category().message(error_number),
                 path, error_number) {}

Unreadable::Unreadable(std::string_view reason, const std::string& path, int error_number)
    : std::runtime_error(std::string(reason) + ": '" + elided_path(path) + "'"),
      error_number_(error_number) {}

std::size_t FileReader::read(std::span<char> to) {
  assert(!to.empty());
  if (is_at_end_) return 0;
  const std::size_t wanted = std::min(to.size(), max_bytes_read(size_) - bytes_read_);
  const ssize_t result = retry_interrupted([&] { return ::read(file_.get(), to.data(), wanted); });
  if (result < 0) throw Unreadable(errno, path_);
  const auto count = static_cast<std::size_t>(result);
  bytes_read_ += count;
  count_work(count);
  // A short read at the expected size: another system call would only confirm the end.
  is_at_end_ = count < wanted && bytes_read_ == size_;
  return count;
}

std::optional<FileReader> FileOpener::open(std::string_view path) {
  assert(path.find('\0') == path.npos);
  const std::string& root = tree_.root();
  // Most paths contain neither symlinks nor "..". They are opened without being resolved.
  if (is_plain(path)) {
    try {
      return open_file(root + '/' + std::string(path));
    } catch (const Unreadable& error) {
      if (error.error_number() == EAGAIN) throw;
      // Otherwise, a component may be a symlink.
    }
  }
  folder_path_.clear();  // the folder may have been replaced since it was opened
  const auto [target, error] = resolved_path(root, path);
  if (target != root && !target.starts_with(root + '/')) return {};
  if (error != 0) throw Unreadable(error, target);
  return open_file(target.empty() ? "/" : target);
}

void FileOpener::open_folder_of(const std::string& path, std::size_t name_at) {
  if (folder_.is_open() && std::string_view(path).substr(0, name_at) == folder_path_) return;
  folder_path_ = path.substr(0, name_at);
  folder_ = UniqueFd();  // closes it first, so that two descriptors are enough
  folder_ = open_folder(folder_path_, opening_);
  if (!folder_.is_open()) throw Unreadable(errno, path);
}

/// Checks the file before opening it: opening a FIFO would be visible to the process at its other end.
FileReader FileOpener::open_file(std::string path) {
  if (path.size() >= PATH_MAX) throw Unreadable(ENAMETOOLONG, path);
  const std::size_t name_at = path.rfind('/') + 1;
  const std::string name = name_at == path.size() ? "." : path.substr(name_at);
  open_folder_of(path, name_at);
  struct stat checked {};
  const auto check = [&] {
    return ::fstatat(folder_.get(), name.c_str(), &checked, AT_SYMLINK_NOFOLLOW);
  };
  if (retry_interrupted(check) != 0) throw Unreadable(errno, path);
  if (!S_ISREG(checked.st_mode)) throw not_regular(checked.st_mode, path);
  UniqueFd file = open_in_folder(folder_, name);
  struct stat opened {};
  const auto check_again = [&] { return ::fstat(file.get(), &opened); };
  if (!file.is_open() || retry_interrupted(check_again) != 0) throw Unreadable(errno, path);
  // Inode numbers are reused, possibly for a file of another type.
  const bool is_same =
      checked.st_dev == opened.st_dev && checked.st_ino == opened.st_ino && S_ISREG(opened.st_mode);
  if (!is_same) throw Unreadable("Replaced while it was opened", path);
  const auto size = static_cast<std::size_t>(std::max<off_t>(0, opened.st_size));
  return {std::move(file), std::move(path), size};
}

}  // namespace mcp_responses::detail
