#include "value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "static_object.h"
#include "values.h"

namespace mcp_responses {
namespace {

constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();

TEST(Value, AMemberIsFoundByItsKey) {
  const Object object{{"a"_t, 1}, {"b"_t, Value()}, {"a"_t, 3}};
  EXPECT_EQ(written(object), R"({"a":3,"b":null})");
  EXPECT_EQ(written(object.keys()), R"(["a","b"])");
  EXPECT_EQ(written(List{object.get("b"_t, "x"_t), object.get("c"_t, "x"_t), object.get("c"_t)}),
            R"([null,"x",null])");
  EXPECT_TRUE(object.contains("b"_t));
  EXPECT_FALSE(object.contains("c"_t));
}

/// A named change of a container, and the container's text after it.
template <class Container>
struct Change {
  const char* name;
  void (*apply)(Container&);
  const char* result;
};

// Each change is made to a copy that shares its storage, to the original of a copy, and to a container
// with storage of its own, with and without spare capacity.
template <class Container>
void expect_changes_stay(Container (*make)(), const std::vector<Change<Container>>& changes) {
  const std::string before = written(make());
  for (const Change<Container>& change : changes) {
    for (const std::size_t spare : {0U, 20U}) {
      const auto expect = [&](Container& changed, const Container& watched) {
        change.apply(changed);
        EXPECT_EQ(written(changed), change.result) << change.name << ", spare capacity " << spare;
        EXPECT_EQ(written(watched), before) << change.name << ", spare capacity " << spare;
      };
      Container original = make();
      original.reserve(spare);
      Container copy = original;
      expect(copy, original);
      copy = original;
      expect(original, copy);
      Container alone = make();
      alone.reserve(spare);
      expect(alone, copy);
    }
  }
}

TEST(Value, AChangeToAListShowsNowhereElse) {
  const auto make = [] { return List({"a"_t, List{1}}); };
  expect_changes_stay<List>(
      make, {{"append itself", [](List& list) { list.append(list); }, R"(["a",[1],["a",[1]]])"},
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
  const auto make = [] { return Object({{"a"_t, List{1}}, {"b"_t, 2}}); };
  const auto update = [](Object& o) { o.update(Object({{"c"_t, 3}, {"a"_t, 0}})); };
  const auto set_its_own = [](Object& o) { o.set(o.items()[1].key, o.items()[0].value); };
  expect_changes_stay<Object>(
      make,
      {{"set", [](Object& o) { o.set("b"_t, 3); }, R"({"a":[1],"b":3})"},
       {"set its own", set_its_own, R"({"a":[1],"b":[1]})"},
       {"set itself", [](Object& o) { o.set("c"_t, o); }, R"({"a":[1],"b":2,"c":{"a":[1],"b":2}})"},
       {"update", update, R"({"a":0,"b":2,"c":3})"},
       {"update by itself", [](Object& o) { o.update(o); }, R"({"a":[1],"b":2})"},
       {"change inside", [](Object& o) { o.get("a"_t).list()->append(2); }, R"({"a":[1],"b":2})"},
       {"move away and back", [](Object& o) { o = Object(std::move(o)); }, R"({"a":[1],"b":2})"}});
}

TEST(Value, AMovedHandleIsNull) {
  List list{1, 2};
  Value value = std::move(list);
  list = List{3};
  const Value other = std::move(value);
  EXPECT_TRUE(value.is_null());  // NOLINT(*-use-after-move,*.Move): it is tested
  EXPECT_EQ(written(list) + written(other), "[3][1,2]");
}

TEST(Value, RetainsAndReleasesForeignValues) {
  Foreign foreign(List{1, 2});
  {
    Value value = foreign.handle();
    List around = List::repeated(3, value);
    const List copy = around;
    around.set(1, 0);
    value = std::move(around);
    EXPECT_EQ(written(value), "[[1,2],0,[1,2]]");
    EXPECT_EQ(foreign.owners, 5);
    constexpr std::size_t limit = std::numeric_limits<std::size_t>::max();
    EXPECT_THROW(List::repeated(limit, value), std::length_error);
    List shared = copy;
    EXPECT_THROW(shared.reserve(limit - 3), std::length_error);
  }
  EXPECT_EQ(foreign.owners, 0);
}

/// A million nested lists and objects.
Value million_containers(const Value& innermost) {
  Value value = innermost;
  for (int i = 0; i < 500'000; ++i) value = List{Object{{"k"_t, std::move(value)}}, 0};
  return value;
}

TEST(Value, DestructionNeedsNoStack) {
  Foreign innermost(List{1});
  Value outside = million_containers(innermost.handle());
  // A container in the middle that has another owner is not destroyed.
  Value kept = *outside.list()->items()[0].object()->get("k"_t).list();
  outside = {};
  EXPECT_EQ(innermost.owners, 1);
  EXPECT_EQ(kept.size(), 2U);
  kept = {};
  EXPECT_EQ(innermost.owners, 0);
}

// Each of these would lose digits, or refer to an object that does not exist or is destroyed.
__extension__ using Wide = __int128;
static_assert(!std::is_constructible_v<Value, Wide> &&
              !std::is_constructible_v<Value, long double>);
static_assert(!std::is_constructible_v<Value, std::uint64_t> &&
              !std::is_constructible_v<Value, char>);
static_assert(!std::is_constructible_v<Value, std::nullptr_t>);
static_assert(!std::is_constructible_v<Text, std::nullptr_t>);
static_assert(!std::is_constructible_v<Value, StringLiteral>);
static_assert(!std::is_constructible_v<Text, StringLiteral>);

// A Text that could be assigned from a Value or a Handle could contain a list.
static_assert(!std::is_swappable_with_v<Text&, Value&> && !std::is_assignable_v<Text&, Value>);
static_assert(!std::is_assignable_v<detail::Handle&, Value> &&
              !std::is_copy_constructible_v<detail::Handle>);
static_assert(std::is_nothrow_swappable_v<Value> && std::is_nothrow_move_assignable_v<Text>);

TEST(Value, EqualityIsByContentAndNumbersByValue) {
  const double real_limit = 9223372036854775808.0;
  Foreign text("a"_t);
  Foreign list(List{1});
  Foreign empty(Object{});
  struct Row {
    bool truthy;
    std::vector<Value> values;
  };
  // Equal to all in the same row, unequal to all in every other row.
  const Row rows[] = {
      {false, {Value()}},
      {false, {false, 0, 0.0, -0.0}},
      {true, {true, 1, 1.0}},
      {true, {0.5}},
      {true, {-5e-324}},
      {true, {std::int64_t{1} << 53, 9007199254740992.0}},
      {true, {(std::int64_t{1} << 53) + 1}},
      {true, {least, -real_limit}},
      {true, {least + 1}},
      {true, {most}},
      {true, {real_limit}},
      {true, {std::numeric_limits<double>::infinity()}},
      {false, {""_t, literal<"">}},
      {true, {"a"_t, literal<"a">, text.handle()}},
      {true, {"é"_t}},
      {true, {"\u00e9\u4e00"_t}},
      {false, {List()}},
      {true, {List{1}, List{1.0}, List{true}, list.handle()}},
      {true, {List{1, 1}}},
      {true, {List{Value()}}},
      {false, {Object(), StaticObject{}, empty.handle()}},
      {true,
       {Object{{"a"_t, 1}, {"b"_t, List{2}}}, StaticObject{"b"_key = List{2.0}, "a"_key = true}}},
      {true, {Object{{"a"_t, 1}, {"b"_t, List{3}}}}},
      {true, {Object{{"a"_t, 1}}}},
      {true, {Object{{"a"_t, Value()}}}},
      {true, {Object{{"b"_t, Value()}}}},
  };
  for (const Row& row : rows) {
    for (const Value& a : row.values) {
      EXPECT_EQ(a.truthy(), row.truthy) << written(a);
      for (const Row& other : rows) {
        for (const Value& b : other.values)
          EXPECT_EQ(a == b, &row == &other) << written(a) << " and " << written(b);
      }
    }
  }
  const Value nan = std::nan("");
  EXPECT_TRUE(nan.truthy());
  EXPECT_NE(nan, nan);
  EXPECT_NE(Value(List{nan}), Value(List{nan}));
}

}  // namespace
}  // namespace mcp_responses
