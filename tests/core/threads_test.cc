// Threads share values, texts and a work tree. ThreadSanitizer reports each access that is not
// synchronized.
#include <gtest/gtest.h>

#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "code_lines.h"
#include "models/link_tree.h"
#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

/// Calls a function in several threads at the same time, many times in each.
template <class Function>
void in_threads(const Function& function) {
  constexpr int count = 4;
  std::latch start(count);
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&] {
      start.arrive_and_wait();
      for (int round = 0; round < 300; ++round) function();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Threads, CopiesOfSharedValuesAreChangedAndDestroyed) {
  const Text text("shared"_t);
  const List list{text, List{1, text}};
  const Object object{{"list"_t, list}, {text, 2}};
  in_threads([&] {
    List own_list = list;
    own_list.append(text);
    own_list.set(0, object);
    own_list[1].list()->append(0);
    Object own_object = object;
    own_object.set(text, std::move(own_list));
    EXPECT_EQ(written(own_object),
              R"({"list":["shared",[1,"shared"]],"shared":[{"list":["shared",[1,"shared"]],)"
              R"("shared":2},[1,"shared"],"shared"]})");
  });
  EXPECT_EQ(written(object), R"({"list":["shared",[1,"shared"]],"shared":2})");
}

TEST(Threads, TheLastOwnerDestroysAValue) {
  for (int round = 0; round < 300; ++round) {
    Value value = List{Text("x"_t), Object{{"key"_t, List{Text("y"_t)}}}};
    std::latch start(2);
    std::thread other([&start, copy = value]() mutable {
      start.arrive_and_wait();
      EXPECT_EQ(copy.size(), 2U);
      copy = {};
    });
    start.arrive_and_wait();
    EXPECT_EQ(value.size(), 2U);
    value = {};
    other.join();
  }
}

TEST(Threads, AWorkTreeIsReadByAll) {
  const models::LinkTree files;
  const WorkTree tree(files.root());
  const std::vector<Place> places{
      {"a.py"_t, 1}, {"dir/b.py"_t, 1}, {"sub/deep/c.py"_t, 1}, {"out"_t, 1}, {"gone"_t, 1}};
  in_threads([&] {
    std::string lines;
    for (const CodeLine& line : code_lines(tree, places)) lines += line.text.utf8() + " ";
    EXPECT_EQ(lines, "root/a.py root/sub/b.py root/sub/deep/c.py ");
  });
}

}  // namespace
}  // namespace mcp_responses
