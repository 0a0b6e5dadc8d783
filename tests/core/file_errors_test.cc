// Errors and races of the file system, injected into system calls: this program defines the functions
// that make them, so that a test can fail, shorten or precede each one.
#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "check_interrupt.h"
#include "code_lines.h"
#include "models/link_tree.h"
#include "values.h"
#include "work_tree.h"

namespace {

/// Called before each system call of the library; returns the error with which it fails, or 0.
using BeforeCall = std::function<int(const std::string& name)>;

thread_local BeforeCall before_call;
thread_local std::size_t max_read_size = SIZE_MAX;
thread_local std::string opened_path;  // by the last call that opens or checks a path
thread_local std::size_t sleeps = 0;

bool fails(const char* name) {
  const BeforeCall before = std::exchange(before_call, nullptr);
  const int error = before ? before(name) : 0;
  before_call = before;
  if (error != 0) errno = error;
  return error != 0;
}

/// Stores the absolute path of a call, while a test observes calls.
bool fails(const char* name, int folder, const std::string& path, bool follows_symlinks) {
  if (before_call) {
    namespace fs = std::filesystem;
    const BeforeCall before = std::exchange(before_call, nullptr);
    std::error_code error;
    const auto base = fs::read_symlink("/proc/self/fd/" + std::to_string(folder), error);
    opened_path = follows_symlinks ? fs::weakly_canonical(base / path, error) : base / path;
    before_call = before;
  }
  return fails(name);
}

template <class Function>
Function* next_function(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

/// Makes a system call, unless it is to fail.
template <class Result, class... Arguments>
Result intercepted(const char* name, Arguments... arguments) {
  static auto* const next = next_function<Result(Arguments...)>(name);
  return fails(name) ? -1 : next(arguments...);
}

}  // namespace

extern "C" {

ssize_t read(int fd, void* to, std::size_t size) {
  return intercepted<ssize_t>("read", fd, to, std::min(size, max_read_size));
}

ssize_t readlink(const char* path, char* to, std::size_t size) noexcept {
  return intercepted<ssize_t>("readlink", path, to, size);
}

int fstat(int fd, struct stat* status) noexcept { return intercepted<int>("fstat", fd, status); }

int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
  static auto* const next = next_function<int(int, const char*, struct stat*, int)>("fstatat");
  const bool follows_symlinks = (flags & AT_SYMLINK_NOFOLLOW) == 0;
  return fails("fstatat", folder, path, follows_symlinks) ? -1 : next(folder, path, status, flags);
}

// No caller creates a file, so none passes a mode.
int openat(int folder, const char* path, int flags, ...) {
  static auto* const next = next_function<int(int, const char*, int, ...)>("openat");
  const bool follows_symlinks = (flags & O_NOFOLLOW) == 0;
  return fails("openat", folder, path, follows_symlinks) ? -1 : next(folder, path, flags);
}

long syscall(long number, ...) noexcept {
  constexpr long openat2 = 437;
  std::va_list arguments;
  va_start(arguments, number);
  long values[5];  // as many as registers hold: no caller passes more
  for (long& value : values) value = va_arg(arguments, long);
  va_end(arguments);
  static auto* const next = next_function<long(long, ...)>("syscall");
  const auto* const path = reinterpret_cast<const char*>(values[1]);
  if (number == openat2 && fails("openat2", AT_FDCWD, path, false)) return -1;
  return next(number, values[0], values[1], values[2], values[3], values[4]);
}

int nanosleep(const timespec* /*time*/, timespec* /*remaining*/) { return ++sleeps, 0; }

}  // extern "C"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;
using detail::Opening;
using models::write;

class FileErrors : public testing::TestWithParam<Opening> {
 protected:
  ~FileErrors() override {
    before_call = nullptr;
    max_read_size = SIZE_MAX;
  }

  /// The result of reading a file of a new work tree.
  std::string read(const std::string& path) const {
    const InterruptScope scope(check_interrupt_);
    try {
      return models::read_result({WorkTree(root_), GetParam()}, path);
    } catch (const std::exception& error) {  // of resolving the root
      return error.what();
    }
  }

  /// Reads a file without a fault, and then once for each system call, before which it calls `fault`;
  /// `repetitions` calls in turn have it. Calls `check` each time.
  void read_with_fault_at_each_call(const std::string& path, const BeforeCall& fault,
                                    const std::function<void(const std::string& label)>& check,
                                    std::size_t repetitions = 1) {
    std::size_t all_calls = 0;
    for (std::size_t at = 0; at <= all_calls; ++at) {
      std::size_t calls = 0;
      std::string label = path;
      faults_ = 0;
      before_call = [&](const std::string& name) {
        ++calls;
        if (at == 0 || calls < at || calls >= at + repetitions) return 0;
        if (++faults_ == 1) label += ", call " + std::to_string(at) + ", " + name;
        return fault(name);
      };
      result_ = read(path);
      before_call = nullptr;
      if (at == 0) all_calls = calls;
      check(label);
    }
    EXPECT_GE(all_calls, 4U) << path;
  }

  models::LinkTree files_;
  const std::string root_ = files_.root();
  const std::string big_ = std::string(100'000, 'x') + "\n" + std::string(100'000, 'y');
  CheckInterrupt check_interrupt_ = [] {};
  std::string result_;
  std::size_t faults_ = 0;  // during the last reading
};

INSTANTIATE_TEST_SUITE_P(Openings, FileErrors,
                         testing::Values(Opening::openat2, Opening::folder_by_folder),
                         models::opening_name);

const std::pair<std::string, std::string> contents[] = {{"a.py", "root/a.py"},
                                                        {"chain2", "root/a.py"},
                                                        {"sub/deep/c.py", "root/sub/deep/c.py"},
                                                        {"self/../dir/b.py", "root/sub/b.py"}};

TEST_P(FileErrors, WithoutOpenat2FoldersAreOpenedOneByOne) {
  std::size_t refused = 0;
  for (const int error : {ENOSYS, EPERM, EINVAL}) {
    before_call = [&](const std::string& name) { return name == "openat2" ? ++refused, error : 0; };
    for (const auto& [path, content] : contents)
      EXPECT_EQ(read(path), content) << path << ", error " << error;
  }
  EXPECT_EQ(refused > 0, GetParam() == Opening::openat2);
}

TEST_P(FileErrors, ShortReadsLoseNothing) {
  write(root_ + "/big", big_);
  for (const std::size_t size : {1U, 7U, 4095U}) {
    max_read_size = size;
    EXPECT_TRUE(read("big") == big_) << size;
  }
}

TEST_P(FileErrors, AnInterruptedCallIsRepeatedUnlessTheInterruptionCheckThrows) {
  std::set<std::string> interrupted;
  const auto interrupt = [&](const std::string& name) { return interrupted.insert(name), EINTR; };
  for (const auto& [path, content] : contents) {
    for (const bool throws : {false, true}) {
      check_interrupt_ = [&] {
        if (throws && faults_ > 0) throw std::domain_error("interrupted");
      };
      const auto check = [&, expected = content](const std::string& label) {
        EXPECT_EQ(result_, throws && faults_ > 0 ? "interrupted" : expected) << label;
        EXPECT_LE(faults_, throws ? 1U : 3U) << label;
      };
      read_with_fault_at_each_call(path, interrupt, check, 3);
    }
  }
  // Where openat2 is missing, as in an emulator, openat is interrupted as well.
  const char* const open_call = GetParam() == Opening::openat2 ? "openat2" : "openat";
  EXPECT_THAT(interrupted,
              testing::IsSupersetOf({open_call, "fstat", "fstatat", "read", "readlink"}));
}

std::ptrdiff_t open_descriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), {});
}

TEST_P(FileErrors, AnErrorOfAnyCallIsReportedWithAtMostTwoOpenDescriptorsAndLeavesNone) {
  const auto before = open_descriptors();
  const auto fault = [&](const std::string& name) {
    EXPECT_LE(open_descriptors(), before + (name.starts_with("openat") ? 1 : 2)) << name;
    return EIO;
  };
  for (const std::string path :
       {"a.py", "chain2", "sub/deep/c.py", "sub/../dir/deep/c.py", "sub", "gone"}) {
    const std::string expected = read(path);
    std::size_t errors = 0;
    const auto check = [&](const std::string& label) {
      const bool is_error = result_.starts_with("[Errno 5] Input/output error: '" + root_);
      // A symlink that cannot be read is not followed: ELOOP, or ENOTDIR for that of a folder.
      const bool is_symlink =
          result_.starts_with("[Errno 40]") || result_.starts_with("[Errno 20]");
      errors += is_error ? 1 : 0;
      EXPECT_TRUE(result_ == expected || is_error || is_symlink) << label << ": " << result_;
    };
    read_with_fault_at_each_call(path, fault, check);
    EXPECT_GE(errors, 1U) << path;
  }
  EXPECT_EQ(open_descriptors(), before);
}

// An automounted folder or a network file system outside the root is neither mounted nor waited for.
TEST_P(FileErrors, OutsideTheRootOnlySymlinksAreRead) {
  const std::string base = files_.base();
  for (const std::string path :
       {"out", "absout/s.py", "up/root2/a.py", "self/../out", "back", "../into/a.py",
        "dir/../absout/s.py", "dangling", "../outside/s.py"}) {
    before_call = [&](const std::string& name) {
      if (name == "readlink" || name == "fstat" || name == "read") return 0;
      EXPECT_TRUE((root_ + "/").starts_with(opened_path) || opened_path.starts_with(root_ + "/"))
          << path << ": " << name << " of " << opened_path;
      return 0;
    };
    read(path);
    before_call = nullptr;
  }
}

TEST_P(FileErrors, AFileThatIsAlwaysBusyIsTriedForAMinute) {
  before_call = [](const std::string& name) {
    return name == "openat" && opened_path.ends_with("/a.py") ? EAGAIN : 0;
  };
  sleeps = 0;
  EXPECT_EQ(read("a.py"), "[Errno 11] Resource temporarily unavailable: '" + root_ + "/a.py'");
  EXPECT_EQ(sleeps, 60'000U / 5 - 1);
}

TEST_P(FileErrors, AReadErrorInTheMiddleOfAFileLeavesNoLinesOfIt) {
  write(root_ + "/big", big_);
  std::string failures;
  const NotRead not_read = [&failures](const Text& path, const std::string& reason) {
    failures += path.utf8() + ": " + reason;
  };
  std::size_t reads = 0;
  before_call = [&reads](const std::string& name) {
    return name == "read" && ++reads == 2 ? EIO : 0;
  };
  const std::vector<Place> places{{"big"_t, 1}, {"big"_t, 2}, {"a.py"_t, 1}};
  const auto lines = code_lines(WorkTree(root_), places, not_read);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].text.utf8(), "root/a.py");
  EXPECT_EQ(failures, "big: [Errno 5] Input/output error: '" + root_ + "/big'");
}

// The file system reuses the inode numbers of removed files.
TEST_P(FileErrors, AFileReplacedBetweenTwoCallsIsReadBeforeOrAfterButNeverOutside) {
  const std::string folder = root_ + "/sub";
  const std::string file = folder + "/deep/x.py";
  const std::string other = folder + "/y.py";
  const std::string outside = files_.base() + "/outside";
  fs::create_directory(outside + "/deep");
  write(outside + "/deep/x.py", "from outside");
  const auto restore = [&] {
    fs::remove_all(folder);
    fs::remove_all(root_ + "/moved");
    fs::create_directories(folder + "/deep");
    write(file, "before");
    write(other, "after");
  };
  const std::pair<std::string, std::function<void()>> replacements[] = {
      {"nothing", [] {}},
      {"a file", [&] { fs::rename(other, file); }},
      {"a FIFO", [&] { ::mkfifo(file.c_str(), 0600); }},
      {"a folder", [&] { fs::create_directory(file); }},
      {"a symlink", [&] { fs::create_symlink(outside + "/deep/x.py", file); }},
      {"a symlink of its folder", [&] {
         fs::rename(folder, root_ + "/moved");
         fs::create_symlink(outside, folder);
       }}};
  for (const auto& replacement : replacements) {
    const std::string& name = replacement.first;
    for (const std::string path : {"sub/deep/x.py", "dir/deep/x.py", "sub/../sub/deep/x.py"}) {
      restore();
      std::set<std::string> results;
      read_with_fault_at_each_call(
          path, [&](const auto&) { return fs::remove(file), replacement.second(), 0; },
          [&](const std::string& label) {
            EXPECT_THAT(result_,
                        testing::MatchesRegex("before|after|outside|Not a regular file: .*|"
                                              "Replaced while it was opened: .*|"
                                              "\\[Errno (2|20|21|40)\\].*"))
                << label << ", replaced by " << name;
            results.insert(result_.substr(0, 8));
            restore();
          });
      EXPECT_TRUE(results.contains("before")) << name;
      EXPECT_GT(results.size(), 1U) << name;
      EXPECT_TRUE(name != "a file" || path == "sub/deep/x.py" || results.contains("Replaced"))
          << path;
    }
  }
}

}  // namespace
}  // namespace mcp_responses
