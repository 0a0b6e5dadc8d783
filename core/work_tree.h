// The work tree of a repository: reads regular files inside its root, and nothing else.
//
// A path is resolved component by component, symbolic links followed wherever they stand, and
// compared with the root by components. What is then opened is what was checked: it is opened
// beneath the root without following links, so that a folder exchanged for a link in the meantime
// opens nothing. Hard links and mounts inside the root are trusted.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

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
/// resolved path, in the bytes that the file system has:
/// "[Errno 2] No such file or directory: '/srv/repo/missing.py'".
class Unreadable : public std::runtime_error {
 public:
  Unreadable(int error_number, const std::string& path);
  Unreadable(std::string_view reason, const std::string& path);
};

/// A path ends in a circle of symbolic links.
class LinkLoop : public std::runtime_error {
 public:
  explicit LinkLoop(const std::string& path);
};

/// The path taken from the current directory as it is now, links in that one resolved. Throws
/// std::system_error when there is none.
std::string absolute(std::string_view path);

/// Makes a path absolute and free of ".", ".." and links. Parts that do not exist stay as written, and
/// a circle of links is as good as not there when the path leaves it again by "..". Throws `LinkLoop`
/// for a path that ends in one, and as `absolute` does. Requires a path without NUL.
std::string resolved(std::string_view path);

/// Called before each component of a path that is resolved. What it throws ends the call.
using BeforeStep = std::function<void()>;

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

class WorkTree {
 public:
  /// How files are opened beneath the root: by one system call where the kernel has it, or folder
  /// by folder.
  enum class Opening { openat2, folder_by_folder };

  /// Resolves the root, which need not exist. Throws as `resolved` does.
  explicit WorkTree(std::string_view root, Opening opening = Opening::openat2);

  /// Opens a file, or nothing when its path leaves the root. `path` is relative to the root; an
  /// absolute one is taken as it is. Throws `Unreadable`, also for what is no regular file, which is
  /// not even opened, and as `resolved` and `before_step` do. Requires a path without NUL.
  std::optional<FileReader> open(
      std::string_view path, const BeforeStep& before_step = [] {}) const;

 private:
  static FileReader reader_of(Descriptor file, const struct stat& looked_at, std::string path);
  Descriptor open_beneath(const std::string& path, int flags) const;

  std::string root_;  // resolved; "" for "/"
  Descriptor directory_;
  int directory_error_;
  mutable Opening opening_;
};

}  // namespace mcp_responses
