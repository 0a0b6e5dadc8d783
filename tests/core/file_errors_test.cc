// Errors and races of the file system, injected into system calls: this program defines the functions
// that make them, so that a test can fail, shorten or precede each one.
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "code_lines.h"
#include "models/link_tree.h"
#include "values.h"
#include "work_tree.h"

namespace {

/// Called before each system call of the library; returns the error with which it fails, or 0.
using BeforeCall = std::function<int(const std::string& name)>;

thread_local const BeforeCall* before_call = nullptr;
thread_local std::size_t max_read_size = SIZE_MAX;

/// Sets what happens before system calls while it exists.
class InjectedFaults {
 public:
  explicit InjectedFaults(const BeforeCall& before) { before_call = &before; }
  ~InjectedFaults() { before_call = nullptr; }
  InjectedFaults(const InjectedFaults&) = delete;
  InjectedFaults& operator=(const InjectedFaults&) = delete;
};

bool fails(const char* name) {
  const BeforeCall* const before = std::exchange(before_call, nullptr);
  const int error = before == nullptr ? 0 : (*before)(name);
  before_call = before;
  if (error != 0) errno = error;
  return error != 0;
}

template <class Function>
Function* next_function(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

ssize_t read(int fd, void* to, std::size_t size) {
  static auto* const next = next_function<ssize_t(int, void*, std::size_t)>("read");
  return fails("read") ? -1 : next(fd, to, std::min(size, max_read_size));
}

ssize_t readlink(const char* path, char* to, std::size_t size) noexcept {
  static auto* const next = next_function<ssize_t(const char*, char*, std::size_t)>("readlink");
  return fails("readlink") ? -1 : next(path, to, size);
}

int fstat(int fd, struct stat* status) noexcept {
  static auto* const next = next_function<int(int, struct stat*)>("fstat");
  return fails("fstat") ? -1 : next(fd, status);
}

int stat(const char* path, struct stat* status) noexcept {
  static auto* const next = next_function<int(const char*, struct stat*)>("stat");
  return fails("stat") ? -1 : next(path, status);
}

int openat(int folder, const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  static auto* const next = next_function<int(int, const char*, int, ...)>("openat");
  return fails("openat") ? -1 : next(folder, path, flags, mode);
}

long syscall(long number, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, number);
  long values[6];
  for (long& value : values) value = va_arg(arguments, long);
  va_end(arguments);
  static auto* const next = next_function<long(long, ...)>("syscall");
  if (number == 437 && fails("openat2")) return -1;
  return next(number, values[0], values[1], values[2], values[3], values[4], values[5]);
}

}  // extern "C"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;
using Opening = WorkTree::Opening;

class FileErrors : public testing::TestWithParam<Opening> {
 protected:
  FileErrors() { std::ofstream(root_ + "/big") << big_; }

  /// Reads a file of a new work tree.
  std::string read(
      const std::string& path, const CheckInterrupt& check_interrupt = [] {}) const {
    auto reader = WorkTree(root_, check_interrupt, GetParam()).open(path, check_interrupt);
    if (!reader) return "outside";
    std::string content;
    std::array<char, 5000> buffer;
    while (const std::size_t count = reader->read(buffer, check_interrupt))
      content.append(buffer.data(), count);
    return content;
  }

  /// The content of a file, or the error of reading it.
  std::string read_or_error(const std::string& path) const {
    try {
      return read(path);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

  /// Calls `fault` before the system call of each number in turn, and then `check`.
  void inject_at_each_call(const std::string& path, const std::function<int()>& fault,
                           const std::function<void(const std::string& label)>& check) const {
    std::size_t calls = 0;
    const auto inject = [&](std::size_t at) {
      std::string label = path + ", before the end";
      const BeforeCall before = [&](const std::string& name) {
        if (++calls != at) return 0;
        label = path + ", before call " + std::to_string(at) + ", " + name;
        return fault();
      };
      calls = 0;
      const InjectedFaults faults(before);
      result_ = read_or_error(path);
      return label;
    };
    inject(SIZE_MAX);
    const std::size_t all_calls = calls;
    ASSERT_GE(all_calls, 4U);
    for (std::size_t at = 1; at <= all_calls; ++at) check(inject(at));
  }

  models::LinkTree files_;
  const std::string root_ = files_.root();
  const std::string big_ = std::string(100'000, 'x') + "\n" + std::string(100'000, 'y');
  mutable std::string result_;
};

INSTANTIATE_TEST_SUITE_P(Openings, FileErrors,
                         testing::Values(Opening::openat2, Opening::folder_by_folder),
                         [](const auto& opening) {
                           return opening.param == Opening::openat2 ? "openat2"
                                                                    : "folder_by_folder";
                         });

TEST_P(FileErrors, WithoutOpenat2FoldersAreOpenedOneByOne) {
  std::size_t refused = 0;
  for (const int error : {ENOSYS, EPERM, EINVAL}) {
    const BeforeCall refuse = [&](const std::string& name) {
      return name == "openat2" ? ++refused, error : 0;
    };
    const InjectedFaults faults(refuse);
    for (const char* path : {"a.py", "chain2", "sub/deep/c.py", "self/../dir/b.py"})
      EXPECT_EQ(read_or_error(path), files_.read(path)) << path << ", error " << error;
  }
  EXPECT_EQ(refused > 0, GetParam() == Opening::openat2);
}

TEST_P(FileErrors, ShortReadsLoseNothing) {
  for (const std::size_t size : {1U, 7U, 4095U}) {
    max_read_size = size;
    EXPECT_TRUE(read("big") == big_) << size;
  }
  max_read_size = SIZE_MAX;
}

TEST_P(FileErrors, InterruptedCallsAreRepeated) {
  std::set<std::string> interrupted;
  std::string interrupted_last;
  int repetitions = 0;
  const BeforeCall twice_each = [&](const std::string& name) {
    interrupted.insert(name);
    repetitions = name == interrupted_last ? repetitions + 1 : 1;
    interrupted_last = repetitions == 3 ? "" : name;
    return repetitions == 3 ? 0 : EINTR;
  };
  for (const char* path : {"a.py", "chain2", "sub/deep/c.py", "dir/deep/../b.py"}) {
    const InjectedFaults faults(twice_each);
    EXPECT_EQ(read_or_error(path), files_.read(path)) << path;
  }
  // Where openat2 is missing, as in an emulator, openat is interrupted as well.
  const char* const open_call = GetParam() == Opening::openat2 ? "openat2" : "openat";
  EXPECT_THAT(interrupted, testing::IsSupersetOf({open_call, "fstat", "stat", "read", "readlink"}));
}

TEST_P(FileErrors, AnInterruptionCheckFollowsEachInterruptedCall) {
  for (const std::string path : {"a.py", "chain2", "sub/deep/c.py"}) {
    bool is_signalled = false;
    std::size_t calls_after = 0;
    const BeforeCall count_after = [&](const std::string&) {
      return calls_after += is_signalled, 0;
    };
    std::size_t calls = 0;
    std::size_t at = SIZE_MAX;
    const BeforeCall interrupt = [&](const std::string& name) {
      if (++calls == at) return is_signalled = true, EINTR;
      return count_after(name);
    };
    const CheckInterrupt check = [&] {
      if (is_signalled) throw std::domain_error("the signal handler's error");
    };
    const InjectedFaults faults(interrupt);
    read(path, check);
    const std::size_t all_calls = calls;
    for (at = 1; at <= all_calls; ++at) {
      calls = calls_after = 0;
      is_signalled = false;
      EXPECT_THROW(read(path, check), std::domain_error) << path << ", call " << at;
      EXPECT_EQ(calls_after, 0U) << path << ", call " << at;
    }
  }
}

TEST_P(FileErrors, AnErrorOfAnyCallIsReportedAndLeavesNoDescriptorOpen) {
  const auto open_descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_descriptors();
  for (const std::string path : {"big", "a.py", "chain2", "sub/deep/c.py"}) {
    const std::string content = read(path);
    std::size_t errors = 0;
    inject_at_each_call(
        path, [] { return EIO; },
        [&](const std::string& label) {
          const bool is_error = result_.starts_with("[Errno 5] Input/output error: '" + root_);
          // A symlink that cannot be read is not followed: ELOOP, or ENOTDIR for that of a folder.
          const bool is_symlink =
              result_.starts_with("[Errno 40]") || result_.starts_with("[Errno 20]");
          errors += is_error ? 1 : 0;
          EXPECT_TRUE(result_ == content || is_error || is_symlink) << label << ": " << result_;
        });
    EXPECT_GE(errors, 1U) << path;
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST_P(FileErrors, AReadErrorInTheMiddleOfAFileLeavesNoLinesOfIt) {
  std::size_t reads = 0;
  const BeforeCall fail_second_read = [&reads](const std::string& name) {
    return name == "read" && ++reads == 2 ? EIO : 0;
  };
  std::string failures;
  CodeLinesHooks hooks;
  hooks.not_read = [&failures](const Text& path, const std::string& reason) {
    failures += path.utf8() + ": " + reason;
  };
  const WorkTree tree(
      root_, [] {}, GetParam());
  const std::vector<Place> places{{"big"_t, 1}, {"big"_t, 2}, {"a.py"_t, 1}};
  const InjectedFaults faults(fail_second_read);
  const auto lines = code_lines(tree, places, hooks);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].text.utf8(), "root/a.py");
  EXPECT_EQ(failures, "big: [Errno 5] Input/output error: '" + root_ + "/big'");
}

/// True for the result of reading a file that was removed or replaced by a folder or symlink: ENOENT,
/// ENOTDIR, EISDIR or ELOOP.
bool is_gone(const std::string& result) {
  const std::array errors = {2, 20, 21, 40};
  return std::any_of(errors.begin(), errors.end(), [&](int error) {
    return result.starts_with("[Errno " + std::to_string(error) + "]");
  });
}

/// A way to replace the file at a path. `other` is a regular file beside it.
struct Replacement {
  std::string_view name;
  void (*replace)(const std::string& path, const std::string& other);
};

constexpr std::string_view replaced_by_file = "another file";
constexpr Replacement replacements[] = {
    {"nothing", [](const std::string& path, const std::string&) { fs::remove(path); }},
    {replaced_by_file,
     [](const std::string& path, const std::string& other) { fs::rename(other, path); }},
    {"a FIFO",
     [](const std::string& path, const std::string&) {
       fs::remove(path);
       ::mkfifo(path.c_str(), 0600);
     }},
    {"a folder",
     [](const std::string& path, const std::string&) {
       fs::remove(path);
       fs::create_directory(path);
     }},
    {"a symlink to the outside",
     [](const std::string& path, const std::string&) {
       fs::remove(path);
       fs::create_symlink("../../outside/s.py", path);
     }},
};

// The file system reuses the inode numbers of removed files.
TEST_P(FileErrors, AFileReplacedBetweenTwoCallsIsReadBeforeOrAfterButNeverOutside) {
  for (const Replacement& replacement : replacements) {
    for (const std::string path : {"sub/x.py", "dir/x.py", "sub/../sub/x.py"}) {
      const std::string file = root_ + "/sub/x.py";
      const std::string other = root_ + "/sub/y.py";
      const auto restore = [&] {
        fs::remove_all(file);
        std::ofstream(file) << "before";
        std::ofstream(other) << "after";
      };
      restore();
      std::set<std::string> results;
      inject_at_each_call(
          path, [&] { return replacement.replace(file, other), 0; },
          [&](const std::string& label) {
            EXPECT_TRUE(result_ == "before" || result_ == "after" || result_ == "outside" ||
                        is_gone(result_) || result_.starts_with("Not a regular") ||
                        result_.starts_with("Replaced while it was opened: '" + file))
                << label << " replaced by " << replacement.name << ": " << result_;
            results.insert(result_.substr(0, 8));
            restore();
          });
      EXPECT_TRUE(results.contains("before")) << replacement.name;
      EXPECT_GT(results.size(), 1U) << replacement.name;
      EXPECT_TRUE(results.contains("Replaced") || replacement.name != replaced_by_file ||
                  path == "sub/x.py")
          << path;
    }
  }
}

TEST_P(FileErrors, NothingOutsideIsReadWhenAFolderIsReplacedBetweenTwoCalls) {
  const std::string base = files_.base();
  fs::create_directory(base + "/outside/deep");
  std::ofstream(base + "/outside/deep/c.py") << "from outside";
  fs::create_symlink("../outside", root_ + "/other");
  const auto exchange = [&] {
    return ::renameat2(AT_FDCWD, (root_ + "/sub").c_str(), AT_FDCWD, (root_ + "/other").c_str(),
                       RENAME_EXCHANGE);
  };
  for (const std::string path : {"sub/deep/c.py", "dir/deep/c.py", "sub/deep/../deep/c.py"}) {
    std::set<std::string> results;
    inject_at_each_call(path, exchange, [&](const std::string& label) {
      EXPECT_TRUE(result_ == "root/sub/deep/c.py" || result_ == "outside" || is_gone(result_))
          << label << ": " << result_;
      results.insert(result_.substr(0, 8));
      ASSERT_EQ(exchange(), 0);
    });
    EXPECT_GE(results.size(), 2U) << path;
  }
}

}  // namespace
}  // namespace mcp_responses
