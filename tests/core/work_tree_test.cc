#include "work_tree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/limits.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "check_interrupt.h"
#include "models/link_tree.h"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;
using detail::FileOpener;
using detail::Opening;
using detail::UniqueFd;
using detail::Unreadable;
using models::OpenedTree;
using models::read_result;
using models::write;

class WorkTreeTest : public testing::TestWithParam<Opening> {
 protected:
  static OpenedTree tree_at(const std::string& root) { return {WorkTree(root), GetParam()}; }

  models::LinkTree files_;
  const std::string root_ = files_.root();
  const OpenedTree tree_ = tree_at(root_);
};

INSTANTIATE_TEST_SUITE_P(Openings, WorkTreeTest,
                         testing::Values(Opening::openat2, Opening::folder_by_folder),
                         models::opening_name);

// Paths of files are also compared with the kernel's by fuzz_work_tree, and errors with pathlib's by
// tests/mcp_responses/test_code_lines.py.
TEST_P(WorkTreeTest, EachPathLeadsToAFileOrAnErrorWithTheResolvedPath) {
  const std::string base = files_.base();
  const std::string loop = "Symlink loop from '" + root_;
  const std::string not_found = "[Errno 2] No such file or directory: '" + root_;
  const std::string not_a_folder = "[Errno 20] Not a directory: '" + root_;
  const std::string is_folder = "[Errno 21] Is a directory: '" + root_;
  const std::string long_name = "/" + std::string(300, 'n');
  std::string long_path;
  while (long_path.size() < PATH_MAX) long_path += "/gone";
  ::mknod((root_ + "/socket").c_str(), S_IFSOCK | 0600, 0);
  const std::map<std::string, std::vector<std::string>> paths_to{
      {"root/a.py",
       {"a.py", "a.py/", "missing/../a.py", "dangling/../../a.py", "whole" + base + "/root/a.py",
        "ping/x/../../a.py", "sub/../self/../dir/../a.py"}},
      {"root/sub/b.py", {"./sub//b.py", "abs", "a.py/../sub/b.py"}},
      {"outside",
       {"../root2/a.py", "up/root2/a.py", base + "/root2/a.py", "..", "/", "/etc/hosts",
        "missing/../../outside/s.py", "dir/../../outside/s.py",
        std::string(9000, 'x') + "/../../outside/s.py", "self/../out", "ping/../absout/s.py"}},
      {loop + "/self'", {"self", "dir/../self"}},
      {loop + "/self/y.py'", {"self/x/../y.py"}},
      {loop + "/pong'", {"sub/../pong"}},
      {loop + "/ping/a.py'", {"ping/a.py", "self/../ping/a.py"}},
      {loop + "/self/ping'", {"self/ping"}},
      {loop + "/self/a.py'", {"self/../self/a.py", "ping/../self/a.py"}},
      {not_found + "/sub/gone.py'", {"dir/./gone.py"}},
      {not_found + "/through_gone'", {"through_gone", "self/../through_gone"}},
      {not_found + "/dir/gone.py'", {"self/../dir/gone.py"}},
      {not_found + "/n\xFF.py'", {"n\xFF.py"}},
      {not_a_folder + "/a.py/x'", {"a.py/x"}},
      {not_a_folder + "/through_file'", {"dir/../through_file"}},
      {is_folder + "/sub'", {"dir", "sub/"}},
      {is_folder + "'", {"", "."}},
      {"[Errno 6] No such device or address: '" + root_ + "/socket'", {"socket"}},
      {"[Errno 36] File name too long: '" + root_ + long_name + "'", {long_name.substr(1)}},
      {"[Errno 36] File name too long: '" + root_ + long_path + "'", {long_path.substr(1)}}};
  for (const auto& [end, paths] : paths_to) {
    for (const std::string& path : paths) EXPECT_EQ(read_result(tree_, path), end) << path;
  }
  const OpenedTree everything = tree_at("/");
  for (const std::string device : {"/dev/null", "/dev/zero", "/dev/full"})
    EXPECT_EQ(read_result(everything, device), "Not a regular file: '" + device + "'");
  EXPECT_EQ(read_result(everything, "/"), "[Errno 21] Is a directory: '/'");
}

// The symlinks lead to each other in 2 to the power of 2000 ways.
TEST_P(WorkTreeTest, ThousandsOfSymlinksAreFollowedOnceEach) {
  fs::create_symlink("sub", root_ + "/way0");
  for (int i = 1; i <= 2000; ++i) {
    const std::string before = "way" + std::to_string(i - 1);
    fs::create_symlink(before + "/../" + before, root_ + "/way" + std::to_string(i));
  }
  EXPECT_EQ(read_result(tree_, "way2000/b.py"), "root/sub/b.py");
  std::string path;
  for (int i = 0; i < 50'000; ++i) path += "gone/";
  const std::string error = read_result(tree_, path + "x");
  EXPECT_TRUE(error.starts_with("[Errno 36] File name too long: '" + root_ + "/gone/")) << error;
  EXPECT_LT(error.size(), 300U) << "a long path is cut";
}

TEST_P(WorkTreeTest, AFifoIsNotOpened) {
  const UniqueFd events(::inotify_init1(IN_NONBLOCK));
  ASSERT_GE(::inotify_add_watch(events.get(), (root_ + "/pipe").c_str(), IN_OPEN), 0);
  for (const char* path : {"pipe", "dir/../pipe"})
    EXPECT_EQ(read_result(tree_, path), "Not a regular file: '" + root_ + "/pipe'");
  std::array<char, 1000> event;
  EXPECT_EQ(::read(events.get(), event.data(), event.size()), -1) << "the FIFO was opened";
  ::close(::open((root_ + "/pipe").c_str(), O_RDONLY | O_NONBLOCK));
  EXPECT_GT(::read(events.get(), event.data(), event.size()), 0);
}

// This table has half a terabyte and the size 0, like a file that grows as fast as it is read.
TEST_P(WorkTreeTest, AFileWithoutAnEndIsReadUpToALimit) {
  constexpr std::size_t limit = std::size_t{64} << 20;
  if (!fs::exists("/proc/self/pagemap")) GTEST_SKIP() << "no /proc/self/pagemap";
  const OpenedTree everything = tree_at("/");
  auto reader = everything.opener().open("/proc/self/pagemap");
  std::vector<char> buffer(1 << 20);
  std::size_t size = 0;
  for (std::size_t count = 1; count > 0 && size <= limit; size += count)
    count = reader->read(buffer);
  EXPECT_EQ(size, limit);
}

TEST_P(WorkTreeTest, AFileIsReadToItsEndWhateverItsSizeIs) {
  const OpenedTree everything = tree_at("/");
  ASSERT_EQ(fs::file_size("/proc/self/status"), 0U);
  EXPECT_TRUE(read_result(everything, "/proc/self/status").starts_with("Name:"));
  for (const std::size_t size : {0U, 1U, 4095U, 4096U, 65537U, 3000000U}) {
    std::string content(size, 'x');
    for (std::size_t i = 0; i < size; ++i) content[i] = static_cast<char>(i * 7 + i / 251);
    write(root_ + "/n\xFF", content);
    EXPECT_TRUE(read_result(tree_, "n\xFF") == content) << size;
  }
}

TEST_P(WorkTreeTest, AFileThatGrowsWhileItIsReadIsReadFurther) {
  write(root_ + "/growing", "before");
  auto reader = tree_.opener().open("growing");
  std::string buffer(6, ' ');
  EXPECT_EQ(reader->read(buffer), 6U);
  write(root_ + "/growing", "beforeafter");
  EXPECT_EQ(reader->read(buffer), 5U);
  EXPECT_EQ(buffer, "aftere");
  EXPECT_EQ(reader->read(buffer), 0U);
}

TEST_P(WorkTreeTest, AReplacedRootIsReadUnlessASymlinkReplacesAFolderOfItsPath) {
  const OpenedTree tree = tree_at(root_ + "/sub/deep");
  fs::rename(root_, files_.base() + "/moved");
  fs::create_directories(root_ + "/sub/deep");
  write(root_ + "/sub/deep/c.py", "replaced");
  EXPECT_EQ(read_result(tree, "c.py"), "replaced");
  const std::string outside = files_.base() + "/outside";
  write(outside + "/deep", "outside");
  fs::remove_all(root_ + "/sub");
  fs::create_symlink(outside, root_ + "/sub");
  for (const char* path : {"", ".", "c.py/.."})
    EXPECT_THROW(models::content(tree, path), Unreadable) << path;
}

TEST_P(WorkTreeTest, AFolderReplacedBetweenTwoFilesIsOpenedAgainUnlessItIsASymlink) {
  FileOpener opener = tree_.opener();
  EXPECT_TRUE(opener.open("sub/deep/c.py"));
  fs::remove_all(root_ + "/sub");
  fs::create_directories(root_ + "/sub/deep");
  write(root_ + "/sub/deep/c.py", "again");
  EXPECT_TRUE(opener.open("sub/deep/c.py"));
  fs::rename(root_ + "/sub", root_ + "/moved");
  fs::create_symlink(files_.base() + "/outside", root_ + "/sub");
  EXPECT_FALSE(opener.open("sub/s.py"));
}

TEST_P(WorkTreeTest, AFileUnderAWriteLeaseIsWaitedForUntilAnInterruption) {
  ::signal(SIGIO, SIG_IGN);  // the notification that somebody opens the file
  for (const char* path : {"a.py", "file"}) {
    const UniqueFd file(::open((root_ + "/a.py").c_str(), O_RDWR));
    if (::fcntl(file.get(), F_SETLEASE, F_WRLCK) != 0)
      GTEST_SKIP() << "the file system does not support leases";
    int checks = 0;
    const CheckInterrupt check = [&checks, &file] {
      ++checks;
      if (checks == 10) throw std::domain_error("interrupted");
      if (checks == 20) ::fcntl(file.get(), F_SETLEASE, F_UNLCK);
    };
    const InterruptScope scope(check);
    EXPECT_EQ(read_result(tree_, path), "interrupted") << path;
    EXPECT_EQ(read_result(tree_, path), "root/a.py") << path;
  }
}

}  // namespace
}  // namespace mcp_responses
