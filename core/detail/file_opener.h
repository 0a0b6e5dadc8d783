// Opens and reads regular files inside the root of a work tree, and nothing else.
//
// A path of plain names is opened below the root without following symlinks. If that fails, and for any
// other path, the path is resolved by readlink, component by component, compared with the root, and opened
// in the same way. So no file outside the root is opened, also if a folder or file is replaced by a symlink
// between check and use. Above the root, only the folders that lead to it are opened, with O_PATH.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "work_tree.h"

namespace mcp_responses::detail {

/// Owns a file descriptor, or none (-1).
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) noexcept : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd();
  int get() const noexcept { return fd_; }
  bool is_open() const noexcept { return fd_ >= 0; }

 private:
  int fd_;
};

/// A file could not be read. The message gives the reason as Python does, and the resolved path as
/// `elided_path` returns it, in the file system's bytes:
/// "[Errno 2] No such file or directory: '/srv/repo/missing.py'".
class Unreadable : public std::runtime_error {
 public:
  Unreadable(int error_number, const std::string& path);
  Unreadable(std::string_view reason, const std::string& path, int error_number = 0);
  int error_number() const noexcept { return error_number_; }

 private:
  int error_number_;
};

/// How folders are opened without following symlinks: by the system call openat2, if the kernel has it,
/// or folder by folder.
enum class Opening { openat2, folder_by_folder };

/// An open file of a work tree, read from its beginning.
class FileReader {
 public:
  /// Reads the next bytes into `to` and returns their number, 0 at the end. Reads at most twice the
  /// size that the file had when it was opened, plus 64 MiB. Throws `Unreadable`. Requires a
  /// non-empty `to`.
  std::size_t read(std::span<char> to);

 private:
  friend class FileOpener;
  FileReader(UniqueFd file, std::string path, std::size_t size)
      : file_(std::move(file)), path_(std::move(path)), size_(size) {}

  UniqueFd file_;
  std::string path_;
  std::size_t size_;  // in bytes, when the file was opened
  std::size_t bytes_read_ = 0;
  bool is_at_end_ = false;
};

/// Opens files of a work tree. Keeps the folder of the last file open, because the next file is often
/// in the same folder. At most two file descriptors are open at a time: one for a folder, and one for
/// the file or the next folder.
class FileOpener {
 public:
  /// `tree` must outlive this object.
  explicit FileOpener(const WorkTree& tree, Opening opening = Opening::openat2) noexcept
      : tree_(tree), opening_(opening) {}

  /// Opens a file; returns nothing if its path leaves the root. A relative path starts at the root,
  /// an absolute path is used as it is. Waits up to a minute while another process has a write lease
  /// on the file. A file that is not regular is not opened. Throws `Unreadable`, for such a file too,
  /// and the exceptions of `resolved_path`. Requires a path without NUL.
  std::optional<FileReader> open(std::string_view path);

 private:
  void open_folder_of(const std::string& path, std::size_t name_at);
  FileReader open_file(std::string path);

  const WorkTree& tree_;
  Opening opening_;
  UniqueFd folder_;
  std::string folder_path_;  // with a slash at its end
};

}  // namespace mcp_responses::detail
