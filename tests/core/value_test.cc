#include "value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <type_traits>
#include <vector>

#include "shaped.h"
#include "values.h"

namespace mcp_responses {
namespace {

constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();

TEST(Value, MembersKeepTheirPlaces) {
  Object object{{"a"_t, 1}, {"b"_t, 2}, {"a"_t, 3}};
  EXPECT_EQ(written(object), R"({"a":3,"b":2})");
  object.set("c"_t, Value());
  object.update({{"b"_t, 4}, {"d"_t, 5}});
  EXPECT_EQ(written(object), R"({"a":3,"b":4,"c":null,"d":5})");
  EXPECT_EQ(written(object.keys()), R"(["a","b","c","d"])");
  EXPECT_EQ(written(object.get("c"_t, "x"_t)), "null");
  EXPECT_EQ(written(object.get("e"_t, "x"_t)), R"("x")");
  EXPECT_TRUE(object.get("e"_t).is_null());
  EXPECT_TRUE(object.contains("c"_t));
  EXPECT_FALSE(object.contains("e"_t));
}

/// A change by name, and what it makes of a container.
template <class Container>
using Change = std::tuple<const char*, std::function<void(Container&)>, const char*>;

// Each change is made to a container of its own, to a copy that shares its storage, and to the
// original while the copy is watched, with and without room to spare.
template <class Container>
void expect_changes_stay(const std::function<Container()>& make,
                         const std::vector<Change<Container>>& changes) {
  for (const auto& [name, apply, result] : changes) {
    for (const std::size_t room : {0U, 20U}) {
      SCOPED_TRACE(testing::Message() << name << ", room for " << room);
      Container original = make();
      original.reserve(room);
      const std::string before = written(original);
      Container copy = original;
      apply(copy);
      EXPECT_EQ(written(copy), result);
      EXPECT_EQ(written(original), before);
      copy = original;
      apply(original);
      EXPECT_EQ(written(original), result);
      EXPECT_EQ(written(copy), before);
      Container alone = make();
      alone.reserve(room);
      apply(alone);
      EXPECT_EQ(written(alone), result);
    }
  }
}

TEST(Value, AChangeToAListShowsNowhereElse) {
  const auto make = [] { return List{"a"_t, List{1}}; };
  expect_changes_stay<List>(
      make, {{"append", [](List& list) { list.append(2); }, R"(["a",[1],2])"},
             {"append itself", [](List& list) { list.append(list); }, R"(["a",[1],["a",[1]]])"},
             {"append its own", [](List& list) { list.append(list[0]); }, R"(["a",[1],"a"])"},
             {"extend by itself", [](List& list) { list.extend(list); }, R"(["a",[1],"a",[1]])"},
             {"extend by nothing", [](List& list) { list.extend({}); }, R"(["a",[1]])"},
             {"set its own", [](List& list) { list.set(0, list[1]); }, "[[1],[1]]"},
             {"set itself", [](List& list) { list.set(1, list); }, R"(["a",["a",[1]]])"},
             {"remove", [](List& list) { list.remove_last(); }, R"(["a"])"},
             {"assign itself", [](List& list) { list = *&list; }, R"(["a",[1]])"},
             {"change inside", [](List& list) { list[1].list()->append(2); }, R"(["a",[1]])"},
             {"first", [](List& list) { list = list.first(1); }, R"(["a"])"},
             {"first of too many", [](List& list) { list = list.first(9); }, R"(["a",[1]])"}});
}

TEST(Value, AChangeToAnObjectShowsNowhereElse) {
  const auto make = [] { return Object{{"a"_t, List{1}}, {"b"_t, 2}}; };
  const auto add_its_own = [](Object& object) {
    Object other;
    other.add(object.items()[0].key, object);
    object = other;
  };
  expect_changes_stay<Object>(
      make,
      {{"set", [](Object& o) { o.set("b"_t, 3); }, R"({"a":[1],"b":3})"},
       {"set a new one", [](Object& o) { o.set("c"_t, 3); }, R"({"a":[1],"b":2,"c":3})"},
       {"set its own", [](Object& o) { o.set(o.items()[1].key, o.items()[0].value); },
        R"({"a":[1],"b":[1]})"},
       {"add its own", add_its_own, R"({"a":{"a":[1],"b":2}})"},
       {"set itself", [](Object& o) { o.set("b"_t, o); }, R"({"a":[1],"b":{"a":[1],"b":2}})"},
       {"update by itself", [](Object& o) { o.update(o); }, R"({"a":[1],"b":2})"},
       {"update",
        [](Object& o) {
          o.update(Object{{"c"_t, 3}, {"a"_t, 0}});
        },
        R"({"a":0,"b":2,"c":3})"},
       {"change inside", [](Object& o) { o.get("a"_t).list()->append(2); }, R"({"a":[1],"b":2})"},
       {"move away and back", [](Object& o) { o = Object(std::move(o)); }, R"({"a":[1],"b":2})"}});
}

TEST(Value, OfAMovedHandleNothingStays) {
  List list{1, 2};
  Value value = std::move(list);
  EXPECT_EQ(written(value), "[1,2]");
  list = List{3};
  EXPECT_EQ(written(list), "[3]");
  const Value other = std::move(value);
  EXPECT_TRUE(value.is_null());  // NOLINT(*-use-after-move,*.Move): that is asked
  EXPECT_EQ(written(other), "[1,2]");
}

/// Makes a value of one million lists and objects in each other.
Value nested(const Value& innermost) {
  Value value = innermost;
  for (int i = 0; i < 500'000; ++i) value = List{Object{{"k"_t, std::move(value)}}, 0};
  return value;
}

TEST(Value, DepthCostsNoStackWhenItGoes) {
  Foreign innermost(List{1});
  Value outside = nested(innermost.handle());
  // What somebody else owns too stays whole, where it stands in the middle as well.
  const Value kept = *outside.list()->items()[0].object()->get("k"_t).list();
  outside = {};
  EXPECT_EQ(innermost.owners, 1);
  EXPECT_EQ(kept.size(), 2U);
}

// A text that took a list's value, or any handle on its own, would be a crash in waiting.
static_assert(!std::is_swappable_with_v<Text&, Value&> && !std::is_assignable_v<Text&, Value>);
static_assert(!std::is_assignable_v<Handle&, Value> && !std::is_copy_constructible_v<Handle>);
static_assert(std::is_nothrow_swappable_v<Value> && std::is_nothrow_move_assignable_v<Text>);

TEST(Value, TakesAndGivesBackReferences) {
  Foreign foreign(List{1, 2});
  {
    Value value = foreign.handle();
    List around = List::repeated(3, value);
    const List copy = around;
    around.set(1, 0);
    value = std::move(around);
    EXPECT_EQ(written(value), "[[1,2],0,[1,2]]");
    EXPECT_EQ(foreign.owners, 5);
    EXPECT_THROW(List::repeated(std::numeric_limits<std::size_t>::max() / 16, value),
                 std::bad_alloc);
  }
  EXPECT_EQ(foreign.owners, 0);
}

TEST(Value, EqualityIsByContentAndNumbersByValue) {
  const double real_limit = 9223372036854775808.0;
  Foreign text("a"_t);
  Foreign list(List{1});
  // Equal to all in the same row, unequal to all in every other row.
  const std::vector<std::vector<Value>> rows{
      {Value()},
      {false, 0, 0.0, -0.0},
      {true, 1, 1.0},
      {0.5},
      {std::int64_t{1} << 53, 9007199254740992.0},
      {(std::int64_t{1} << 53) + 1},
      {least, -real_limit},
      {least + 1},
      {most},
      {real_limit},
      {std::numeric_limits<double>::infinity()},
      {""_t, word<"">},
      {"a"_t, word<"a">, text.handle()},
      {"é"_t},
      {"\u00e9\u4e00"_t},
      {List()},
      {List{1}, List{1.0}, List{true}, list.handle()},
      {List{1, 1}},
      {List{Value()}},
      {Object(), Shaped{}},
      {Object{{"a"_t, 1}, {"b"_t, List{2}}}, Shaped{"b"_key = List{2.0}, "a"_key = true}},
      {Object{{"a"_t, 1}, {"b"_t, List{3}}}},
      {Object{{"a"_t, 1}}},
      {Object{{"a"_t, Value()}}},
      {Object{{"b"_t, Value()}}},
  };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < rows.size(); ++j) {
      for (const Value& a : rows[i]) {
        for (const Value& b : rows[j])
          EXPECT_EQ(a == b, i == j) << written(a) << " and " << written(b);
      }
    }
  }
  const Value nan = std::nan("");
  EXPECT_NE(nan, nan);
  EXPECT_NE(Value(List{nan}), Value(List{nan}));
}

TEST(Value, Truth) {
  Foreign nothing{List()};
  Foreign something(Object{{"a"_t, 1}});
  for (const Value& falsy : {Value(), Value(false), Value(0), Value(0.0), Value(-0.0), Value(""_t),
                             Value(List()), Value(Object()), nothing.handle()}) {
    EXPECT_FALSE(falsy.truthy()) << written(falsy);
  }
  for (const Value& truthy :
       {Value(true), Value(least), Value(-1), Value(5e-324), Value(std::nan("")), Value(" "_t),
        Value(List{Value()}), Value(Object{{""_t, Value()}}), something.handle()}) {
    EXPECT_TRUE(truthy.truthy()) << written(truthy);
  }
}

}  // namespace
}  // namespace mcp_responses
