#include "work_tree.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "models/link_tree.h"

namespace mcp_responses {
namespace {

namespace fs = std::filesystem;
using models::outcome;

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
}

class WorkTreeTest : public testing::TestWithParam<WorkTree::Opening> {
 protected:
  models::LinkTree files_;
  const std::string root_ = files_.root();
  const WorkTree tree_{root_, [] {}, GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Openings, WorkTreeTest,
                         testing::Values(WorkTree::Opening::openat2,
                                         WorkTree::Opening::folder_by_folder),
                         [](const auto& opening) {
                           return opening.param == WorkTree::Opening::openat2 ? "openat2"
                                                                              : "folder_by_folder";
                         });

TEST_P(WorkTreeTest, EachPathLeadsWhereItsLinksLead) {
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
      {"circle", {"self", "ping/a.py", "sub/../pong", "self/../ping", "self/../self/a.py"}},
      {"unreadable", {"", ".", "sub", "gone", "dangling", "a.py/x", "pipe", "up/root"}}};
  for (const auto& [end, paths] : paths_to) {
    for (const std::string& path : paths) {
      EXPECT_EQ(outcome(tree_, path), end) << path;
      EXPECT_EQ(files_.read(path), end) << path << " in the model";
    }
  }
}

// However many links there are and however many ways lead through them, each is followed once; and no
// stack is spent on one that leads to another.
TEST_P(WorkTreeTest, ThousandsOfLinksAreFollowedOnceEach) {
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
  EXPECT_EQ(outcome(tree_, "file2000"), "root/a.py");
  EXPECT_EQ(outcome(tree_, "way2000/b.py"), "root/sub/b.py");
  std::string path;
  for (int i = 0; i < 50'000; ++i) path += "gone/";
  EXPECT_EQ(outcome(tree_, path + "x"), "unreadable");
}

// Whoever waits for a reader of a pipe goes on waiting.
TEST_P(WorkTreeTest, APipeIsNotOpenedWhenItIsLookedAt) {
  std::atomic<bool> is_open = false;
  std::thread writer([&] {
    const int pipe = ::open((root_ + "/pipe").c_str(), O_WRONLY);
    is_open = true;
    ::close(pipe);
  });
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(outcome(tree_, i % 2 == 0 ? "pipe" : "dir/../pipe"), "unreadable");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_FALSE(is_open);
  ::close(::open((root_ + "/pipe").c_str(), O_RDONLY));
  writer.join();
}

// A table of half a terabyte, of which its size tells nothing, stands for a file that grows as fast as
// it is read.
TEST_P(WorkTreeTest, AFileWithoutAnEndIsReadSoFar) {
  const char* const endless = "/proc/self/pagemap";
  if (!fs::exists(endless)) GTEST_SKIP() << "no " << endless;
  EXPECT_EQ(models::content(WorkTree(
                                "/", [] {}, GetParam()),
                            endless)
                ->size(),
            std::size_t{64} << 20);
}

std::string reason(const WorkTree& tree, const std::string& path) {
  try {
    models::content(tree, path);
    return "read";
  } catch (const Unreadable& error) {
    return error.what();
  }
}

TEST_P(WorkTreeTest, AFailureNamesItsCauseAndTheResolvedPath) {
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
      {"n\xFF.py", "[Errno 2] No such file or directory: '" + root_ + "/n\xFF.py'"}};
  for (const auto& [path, text] : rows) EXPECT_EQ(reason(tree_, path), text) << path;

  const WorkTree everything(
      "/", [] {}, GetParam());
  for (const char* device : {"/dev/null", "/dev/zero", "/dev/full"}) {
    EXPECT_EQ(reason(everything, device), std::string("Not a regular file: '") + device + "'");
  }
  EXPECT_EQ(reason(everything, "/"), "[Errno 21] Is a directory: '/'");
  if (::geteuid() == 0) return;  // who may read everything
  fs::permissions(root_ + "/a.py", fs::perms::none);
  EXPECT_EQ(reason(tree_, "a.py"), "[Errno 13] Permission denied: '" + root_ + "/a.py'");
}

TEST_P(WorkTreeTest, AFileIsReadToItsEndWhateverItsSizeSays) {
  const WorkTree everything(
      "/", [] {}, GetParam());
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

TEST_P(WorkTreeTest, FailuresLeaveNoDescriptorOpen) {
  const auto open_descriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = open_descriptors();
  const char* failing[] = {"gone", "sub", "sub/deep", "sub/gone/x", "a.py/x",
                           "pipe", "out", "dangling", "",           "dir/gone"};
  for (int i = 0; i < 10'000; ++i) {
    const WorkTree tree(
        root_, [] {}, GetParam());
    const std::string end =
        outcome(tree, failing[static_cast<std::size_t>(i) % std::size(failing)]);
    ASSERT_TRUE(end == "unreadable" || end == "outside") << end;
  }
  EXPECT_EQ(outcome(tree_, "self"), "circle");
  EXPECT_EQ(open_descriptors(), before);
}

// Somebody exchanges a folder, and a file, for links to the outside, over and over, while they are
// read.
TEST_P(WorkTreeTest, NothingFromOutsideIsReadWhilePathsAreExchanged) {
  const std::string base = files_.base();
  for (const char* folder : {"/root/folder", "/outside/folder"}) {
    fs::create_directory(base + folder);
    for (const char* file : {"/x.py", "/y.py"}) write(base + folder + file, folder);
  }
  fs::create_symlink("../outside/folder", root_ + "/other");
  fs::create_symlink("../../outside/s.py", root_ + "/folder/z.py");
  std::atomic<bool> reading = true;
  std::atomic<int> exchanges = 0;
  std::thread exchanger([&] {
    const std::pair<std::string, std::string> pairs[] = {{"/folder", "/other"},
                                                         {"/folder/x.py", "/folder/z.py"}};
    while (reading) {
      for (const auto& [a, b] : pairs) {
        exchanges += ::renameat2(AT_FDCWD, (root_ + a).c_str(), AT_FDCWD, (root_ + b).c_str(),
                                 RENAME_EXCHANGE) == 0;
      }
    }
  });
  std::map<std::string, int> outcomes;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  for (int i = 0;
       i < 6000 || exchanges < 6000 || outcomes["/root/folder"] == 0 || outcomes["outside"] == 0;
       ++i) {
    if (std::chrono::steady_clock::now() > deadline) break;
    ++outcomes[outcome(tree_, i % 2 == 0 ? "folder/x.py" : "folder/y.py")];
  }
  reading = false;
  exchanger.join();
  EXPECT_GT(exchanges, 5000);
  EXPECT_GT(outcomes["/root/folder"], 0);
  EXPECT_GT(outcomes["outside"], 0);
  for (const auto& [end, count] : outcomes) {
    EXPECT_TRUE(end == "/root/folder" || end == "outside" || end == "unreadable" || end == "circle")
        << end << ": " << count;
  }
}

}  // namespace
}  // namespace mcp_responses
