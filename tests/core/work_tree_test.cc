#include "work_tree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/limits.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "models/link_tree.h"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;
using models::read_result;

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

class WorkTreeTest : public testing::TestWithParam<WorkTree::Opening> {
 protected:
  static WorkTree tree_at(const std::string& root) {
    return WorkTree(
        root, [] {}, GetParam());
  }

  models::LinkTree files_;
  const std::string root_ = files_.root();
  const WorkTree tree_ = tree_at(root_);
};

INSTANTIATE_TEST_SUITE_P(Openings, WorkTreeTest,
                         testing::Values(WorkTree::Opening::openat2,
                                         WorkTree::Opening::folder_by_folder),
                         [](const auto& opening) {
                           return opening.param == WorkTree::Opening::openat2 ? "openat2"
                                                                              : "folder_by_folder";
                         });

TEST_P(WorkTreeTest, SymlinksAreFollowedInEachPath) {
  const std::string base = files_.base();
  const std::map<std::string, std::vector<std::string>> paths_to{
      {"root/a.py",
       {"a.py", "a.py/", "./a.py/.", "sub/../a.py", "file", "chain", "chain2", "back",
        "up/root/a.py", "dir/top/root/a.py", "whole" + base + "/root/a.py", root_ + "/a.py",
        base + "/into/a.py", "missing/../a.py", "dangling/../../a.py", "self/../a.py",
        "ping/x/../../a.py", "sub/../self/../dir/../a.py"}},
      {"root/sub/b.py", {"./sub//b.py", "dir/b.py", "abs", "../into/dir/b.py", "a.py/../sub/b.py"}},
      {"root/sub/deep/c.py", {"slashed/c.py", "dir/deep/c.py"}},
      {"outside",
       {"../root2/a.py", "up/root2/a.py", base + "/root2/a.py", "out", "absout/s.py", "..", "/",
        "/etc/hosts", "missing/../../outside/s.py", "dir/../../outside/s.py",
        std::string(9000, 'x') + "/../../outside/s.py", "self/../out", "ping/../absout/s.py"}},
      {"loop", {"self", "ping/a.py", "sub/../pong", "self/../ping", "self/../self/a.py"}},
      {"unreadable",
       {"", ".", "sub", "gone", "dangling", "a.py/x", "pipe", "up/root", "through_gone",
        "through_file/x", "self/../through_gone"}}};
  for (const auto& [end, paths] : paths_to) {
    for (const std::string& path : paths) {
      EXPECT_EQ(read_result(tree_, path), end) << path;
      EXPECT_EQ(files_.read(path), end) << path << " in the model";
    }
  }
}

// The symlinks lead to each other in 2 to the power of 2000 ways.
TEST_P(WorkTreeTest, ThousandsOfSymlinksAreFollowedOnceEach) {
  const auto link = [this](const std::string& target, const std::string& name) {
    fs::create_symlink(target, root_ + "/" + name);
  };
  link("sub", "way0");
  link("a.py", "file0");
  for (int i = 1; i <= 2000; ++i) {
    const std::string before = std::to_string(i - 1);
    link("file" + before, "file" + std::to_string(i));
    link("way" + before + "/../way" + before, "way" + std::to_string(i));
  }
  EXPECT_EQ(read_result(tree_, "file2000"), "root/a.py");
  EXPECT_EQ(read_result(tree_, "way2000/b.py"), "root/sub/b.py");
  std::string path;
  for (int i = 0; i < 50'000; ++i) path += "gone/";
  EXPECT_EQ(read_result(tree_, path + "x"), "unreadable");
}

// A writer that waits for a reader of the FIFO keeps waiting.
TEST_P(WorkTreeTest, AFifoIsNotOpened) {
  std::atomic<bool> is_open = false;
  std::thread writer([&] {
    const int pipe = ::open((root_ + "/pipe").c_str(), O_WRONLY);
    is_open = true;
    ::close(pipe);
  });
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(read_result(tree_, i % 2 == 0 ? "pipe" : "dir/../pipe"), "unreadable");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_FALSE(is_open);
  ::close(::open((root_ + "/pipe").c_str(), O_RDONLY));
  writer.join();
}

// This table has half a terabyte and the size 0, like a file that grows as fast as it is read.
TEST_P(WorkTreeTest, AFileWithoutAnEndIsReadUpToALimit) {
  const char* const endless = "/proc/self/pagemap";
  if (!fs::exists(endless)) GTEST_SKIP() << "no " << endless;
  EXPECT_EQ(models::content(tree_at("/"), endless)->size(), std::size_t{64} << 20);
}

std::string reason(const WorkTree& tree, const std::string& path) {
  try {
    models::content(tree, path);
    return "read";
  } catch (const Unreadable& error) {
    return error.what();
  }
}

TEST_P(WorkTreeTest, AnErrorNamesTheReasonAndTheResolvedPath) {
  const std::string long_name(300, 'n');
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
  (root_ + "/socket").copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  ::close(socket);
  const std::pair<std::string, std::string> rows[] = {
      {"gone.py", "[Errno 2] No such file or directory: '" + root_ + "/gone.py'"},
      {"dir/./gone.py", "[Errno 2] No such file or directory: '" + root_ + "/sub/gone.py'"},
      {"a.py/x", "[Errno 20] Not a directory: '" + root_ + "/a.py/x'"},
      {"dir", "[Errno 21] Is a directory: '" + root_ + "/sub'"},
      {"sub/", "[Errno 21] Is a directory: '" + root_ + "/sub'"},
      {"./sub//deep", "[Errno 21] Is a directory: '" + root_ + "/sub/deep'"},
      {".", "[Errno 21] Is a directory: '" + root_ + "'"},
      {"", "[Errno 21] Is a directory: '" + root_ + "'"},
      {"pipe", "Not a regular file: '" + root_ + "/pipe'"},
      {"socket", "[Errno 6] No such device or address: '" + root_ + "/socket'"},
      {long_name, "[Errno 36] File name too long: '" + root_ + "/" + long_name + "'"},
      {"through_gone", "[Errno 2] No such file or directory: '" + root_ + "/through_gone'"},
      {"dir/../through_file", "[Errno 20] Not a directory: '" + root_ + "/through_file'"},
      {"self/../dir/gone.py", "[Errno 2] No such file or directory: '" + root_ + "/dir/gone.py'"},
      {"n\xFF.py", "[Errno 2] No such file or directory: '" + root_ + "/n\xFF.py'"}};
  for (const auto& [path, text] : rows) EXPECT_EQ(reason(tree_, path), text) << path;
  std::string long_path = "gone";
  while (long_path.size() < PATH_MAX) long_path += "/gone";
  EXPECT_EQ(reason(tree_, long_path).substr(0, 30), "[Errno 36] File name too long:");

  const WorkTree everything = tree_at("/");
  for (const char* device : {"/dev/null", "/dev/zero", "/dev/full"}) {
    EXPECT_EQ(reason(everything, device), std::string("Not a regular file: '") + device + "'");
  }
  EXPECT_EQ(reason(everything, "/"), "[Errno 21] Is a directory: '/'");
  if (::geteuid() == 0) return;  // root may read everything
  fs::permissions(root_ + "/a.py", fs::perms::none);
  EXPECT_EQ(reason(tree_, "a.py"), "[Errno 13] Permission denied: '" + root_ + "/a.py'");
}

TEST_P(WorkTreeTest, AFileIsReadToItsEndWhateverItsSizeIs) {
  const WorkTree everything = tree_at("/");
  ASSERT_EQ(fs::file_size("/proc/self/status"), 0U);
  EXPECT_TRUE(models::content(everything, "/proc/self/status")->starts_with("Name:"));
  EXPECT_EQ(models::content(everything, "/proc/cpuinfo")->size(),
            content_of("/proc/cpuinfo").size());
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 65537U, 3000000U}) {
    std::string content(size, 'x');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 251);
    write(root_ + "/n\xFF", content);
    EXPECT_TRUE(models::content(tree_, "n\xFF") == content) << size;
  }
}

TEST_P(WorkTreeTest, AFileThatGrowsWhileItIsReadIsReadFurther) {
  write(root_ + "/growing", "before");
  auto reader = tree_.open("growing");
  std::array<char, 6> buffer;
  EXPECT_EQ(reader->read(buffer), 6U);
  write(root_ + "/growing", "beforeafter");
  EXPECT_EQ(reader->read(buffer), 5U);
  EXPECT_EQ(std::string(buffer.data(), 5), "after");
  EXPECT_EQ(reader->read(buffer), 0U);
}

TEST_P(WorkTreeTest, AFolderThatReplacesTheRootIsRead) {
  fs::rename(root_, files_.base() + "/moved");
  fs::create_directory(root_);
  write(root_ + "/a.py", "replaced");
  EXPECT_EQ(read_result(tree_, "a.py"), "replaced");
}

// A symlink that replaces a folder above the root leads to another file at the root's own path.
TEST_P(WorkTreeTest, NothingIsReadFromAFileThatReplacesTheRoot) {
  const WorkTree tree = tree_at(root_ + "/sub/deep");
  const std::string outside = files_.base() + "/outside";
  fs::create_directory(outside);
  write(outside + "/deep", "outside");
  fs::rename(root_ + "/sub", files_.base() + "/moved");
  fs::create_symlink(outside, root_ + "/sub");
  for (const char* path : {"", ".", "c.py/.."})
    EXPECT_EQ(read_result(tree, path), "unreadable") << path;
}

TEST_P(WorkTreeTest, ErrorsLeaveNoDescriptorOpen) {
  const auto open_descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_descriptors();
  const char* failing[] = {"gone", "sub", "sub/deep", "sub/gone/x", "a.py/x",
                           "pipe", "out", "dangling", "",           "dir/gone"};
  for (int i = 0; i < 10'000; ++i) {
    const WorkTree tree = tree_at(root_);
    const std::string end =
        read_result(tree, failing[static_cast<std::size_t>(i) % std::size(failing)]);
    ASSERT_TRUE(end == "unreadable" || end == "outside") << end;
  }
  EXPECT_EQ(read_result(tree_, "self"), "loop");
  EXPECT_EQ(open_descriptors(), before);
}

/// Leaves a number of descriptors free while it exists.
class FreeDescriptors {
 public:
  explicit FreeDescriptors(std::size_t count) {
    ::getrlimit(RLIMIT_NOFILE, &limit_);
    rlimit lowered = limit_;
    lowered.rlim_cur = 256;
    ::setrlimit(RLIMIT_NOFILE, &lowered);
    for (;;) {
      UniqueFd fd(::open("/", O_PATH));
      if (!fd.is_open()) break;
      used_.push_back(std::move(fd));
    }
    used_.erase(used_.end() - static_cast<std::ptrdiff_t>(count), used_.end());
  }
  ~FreeDescriptors() { ::setrlimit(RLIMIT_NOFILE, &limit_); }
  FreeDescriptors(const FreeDescriptors&) = delete;
  FreeDescriptors& operator=(const FreeDescriptors&) = delete;

 private:
  rlimit limit_{};
  std::vector<UniqueFd> used_;
};

TEST_P(WorkTreeTest, TwoFreeDescriptorsAreEnough) {
  // UBSan checks the type of an exception with a pipe, unless it has checked the type before.
  EXPECT_NE(reason(tree_at(root_), "missing.py"), "");
  for (const char* path : {"a.py", "sub/deep/c.py", "chain2", "sub/../dir/deep/c.py", "sub"}) {
    const std::string expected = files_.read(path);
    const FreeDescriptors two(2);
    EXPECT_EQ(read_result(tree_at(root_), path), expected) << path;
  }
  const FreeDescriptors none(0);
  EXPECT_EQ(reason(tree_at(root_), "a.py"), "[Errno 24] Too many open files: '" + root_ + "/a.py'");
}

/// A write lease on a file: an open of the file waits until the lease is given up.
class Lease {
 public:
  explicit Lease(const std::string& path) : file_(::open(path.c_str(), O_RDWR)) {
    ::signal(SIGIO, SIG_IGN);  // the notification that somebody opens the file
    is_held_ = ::fcntl(file_.get(), F_SETLEASE, F_WRLCK) == 0;
  }
  bool is_held() const { return is_held_; }
  void wait_for_reader() const {
    while (::fcntl(file_.get(), F_GETLEASE) == F_WRLCK) std::this_thread::yield();
  }
  void give_up() const { ::fcntl(file_.get(), F_SETLEASE, F_UNLCK); }

 private:
  UniqueFd file_;
  bool is_held_;
};

TEST_P(WorkTreeTest, AFileUnderAWriteLeaseIsWaitedFor) {
  for (const char* path : {"a.py", "file"}) {
    const Lease lease(root_ + "/a.py");
    if (!lease.is_held()) GTEST_SKIP() << "the file system has no leases";
    std::thread holder([&] {
      lease.wait_for_reader();
      lease.give_up();
    });
    EXPECT_EQ(read_result(tree_, path), "root/a.py") << path;
    holder.join();
  }
}

TEST_P(WorkTreeTest, AnInterruptionCheckEndsTheWaitForALease) {
  const Lease lease(root_ + "/a.py");
  if (!lease.is_held()) GTEST_SKIP() << "the file system has no leases";
  int checks = 0;
  const auto interrupt = [&checks] {
    if (++checks == 10) throw std::domain_error("interrupted");
  };
  EXPECT_THROW(tree_.open("a.py", interrupt), std::domain_error);
  lease.give_up();
}

// The texts are those of pathlib's `resolve`. A path with two loops is resolved up to the first one.
TEST_P(WorkTreeTest, ASymlinkLoopIsNamed) {
  const std::pair<std::string, std::string> rows[] = {
      {"self", "/self"},
      {"dir/../self", "/self"},
      {"self/x/../y.py", "/self/y.py"},
      {"ping", "/ping"},
      {"pong/a.py", "/pong/a.py"},
      {"self/ping", "/self/ping"},
      {"self/../ping", "/ping"},
      {"ping/../self/a.py", "/self/a.py"},
  };
  for (const auto& [path, loop] : rows) {
    try {
      tree_.open(path);
      ADD_FAILURE() << path;
    } catch (const SymlinkLoop& error) {
      EXPECT_EQ(error.what(), "Symlink loop from '" + root_ + loop + "'") << path;
    }
  }
}

}  // namespace
}  // namespace mcp_responses
