// The work tree of a repository: reads regular files inside its root, and nothing else.
//
// A path is resolved component by component, symbolic links followed wherever they stand, and
// compared with the root by components. What is then opened is what was checked: it is opened
// beneath the root without following links, so that a folder exchanged for a link in the meantime
// opens nothing. Hard links and mounts inside the root are trusted.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "resolved_path.h"

namespace mcp_responses {

/// A file descriptor that is closed with its owner; -1 owns nothing.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) noexcept : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept;
  Descriptor& operator=(Descriptor&& other) noexcept;
  ~Descriptor();
  int get() const noexcept { return descriptor_; }
  /// Gives the descriptor away.
  int release() && noexcept { return std::exchange(descriptor_, -1); }
  bool is_open() const noexcept { return descriptor_ >= 0; }

 private:
  int descriptor_;
};

/// A file could not be read. The text names the failure as the operating system does, and the
/// resolved path as `shown_path` has it, in the bytes that the file system has:
/// "[Errno 2] No such file or directory: '/srv/repo/missing.py'".
class Unreadable : public std::runtime_error {
 public:
  Unreadable(int error_number, const std::string& path);
  Unreadable(std::string_view reason, const std::string& path);
};

/// A file of a work tree, open from its beginning on.
class FileReader {
 public:
  /// Reads on into `to` and returns how many bytes that gave, 0 at the end. The end of a file that
  /// grows as fast as it is read comes after twice what its size said, and 64 MiB. Throws
  /// `Unreadable`.
  std::size_t read(std::span<char> to);

 private:
  friend class WorkTree;
  FileReader(Descriptor file, std::string path, std::size_t size)
      : file_(std::move(file)), path_(std::move(path)), size_(size) {}

  Descriptor file_;
  std::string path_;
  std::size_t size_;  // in bytes, as it was when the file was opened
  std::size_t read_ = 0;
  bool is_at_end_ = false;
};

/// May be used by several threads at a time.
class WorkTree {
 public:
  /// How files are opened beneath the root: by one system call where the kernel has it, or folder
  /// by folder.
  enum class Opening { openat2, folder_by_folder };

  /// Resolves the root, which need not exist. Throws as `absolute` and `resolved_path` do.
  explicit WorkTree(
      std::string_view root, const BeforeStep& before_step = [] {},
      Opening opening = Opening::openat2);

  /// Opens a file, or nothing when its path leaves the root. `path` is relative to the root; an
  /// absolute one is taken as it is. Throws `Unreadable`, also for what is no regular file, which is
  /// not even opened, and as `resolved_path` does. Requires a path without NUL.
  std::optional<FileReader> open(
      std::string_view path, const BeforeStep& before_step = [] {}) const;

 private:
  static FileReader reader_of(Descriptor file, const struct stat& looked_at, std::string path);
  Descriptor open_beneath(const std::string& path, int flags) const;

  std::string root_;  // resolved; "" for "/"
  Descriptor directory_;
  int directory_error_;
  Opening opening_;
};

}  // namespace mcp_responses
