// Value, List, Object: what every builder takes and returns. The seven kinds are exactly those that
// the tool result text can write (see encode.h).
//
// Values have value semantics: no change through one value ever shows in another. Copies are cheap,
// because storage is shared until somebody writes to it. Boolean, integer and float are three
// kinds: true, 1 and 1.0 are written differently.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "handle.h"
#include "text.h"

namespace mcp_responses {

class List;
class Object;
struct Member;
template <class... Members>
struct StaticObject;
template <class T>
class SharedArray;

/// How numbers and truth values are held: in place.
inline constexpr ValueOps boolean_ops{.kind = Kind::boolean};
inline constexpr ValueOps integer_ops{
    .kind = Kind::integer, .integer = [](Payload payload) noexcept { return payload.integer; }};
inline constexpr ValueOps real_ops{.kind = Kind::real};

class Value : public Handle {
 public:
  /// Null.
  Value() noexcept = default;
  Value(std::same_as<bool> auto boolean) noexcept
      : Handle(boolean_ops, Payload{.boolean = boolean}) {}
  template <std::signed_integral Integer>
  Value(Integer integer) noexcept : Handle(integer_ops, Payload{.integer = integer}) {}
  Value(double real) noexcept : Handle(real_ops, Payload{.real = real}) {}
  Value(Text text) noexcept : Handle(std::move(text)) {}
  Value(const StringLiteral& word) noexcept : Value(Text(word)) {}
  explicit Value(std::string_view utf8) : Value(Text(utf8)) {}
  Value(List list) noexcept;
  Value(Object object) noexcept;
  /// An object of these members (see static_object.h).
  template <class... Members>
  Value(StaticObject<Members...> members);
  /// Takes over one reference to a value held elsewhere.
  Value(const ValueOps& ops, Payload payload) noexcept : Handle(ops, payload) {}

  Kind kind() const noexcept { return ops().kind; }
  bool is_null() const noexcept { return kind() == Kind::null; }

  /// False for null, false, 0, 0.0, -0.0, "", [] and {}; true for every other value, NaN included.
  bool truthy() const noexcept;

  /// The content when the value is of that kind, else nothing. A list or object that is held
  /// elsewhere is materialized one level deep, which may throw std::bad_alloc.
  std::optional<bool> boolean() const noexcept {
    return kind() == Kind::boolean ? std::optional(payload().boolean) : std::nullopt;
  }
  std::optional<std::int64_t> integer() const noexcept {
    return kind() == Kind::integer ? std::optional(ops().integer(payload())) : std::nullopt;
  }
  /// An integer, or a boolean as 0 or 1: what counts as a whole number.
  std::optional<std::int64_t> whole() const noexcept;
  std::optional<double> real() const noexcept {
    return kind() == Kind::real ? std::optional(payload().real) : std::nullopt;
  }
  std::optional<Text> text() const noexcept;
  /// The characters of a string where they lie. Valid while this value, or a copy of it, lives.
  std::optional<TextView> view() const noexcept {
    return kind() == Kind::string ? std::optional(ops().text(payload())) : std::nullopt;
  }
  std::optional<List> list() const;
  std::optional<Object> object() const;
  /// The value under a key of an object, without opening it; null where there is none, and for the
  /// other kinds.
  Value get(const Text& key) const;
  /// Elements of a list or members of an object, without opening it; nothing for the other kinds.
  std::optional<std::size_t> size() const noexcept;

  /// Same kind and same content; booleans, integers and floats compare by numeric value across
  /// kinds, exactly. Objects compare as maps: the order of members does not count. NaN equals
  /// nothing. Throws `NestingError`.
  friend bool operator==(const Value& a, const Value& b);
};

class List : public Handle {
 public:
  /// The empty list.
  List() noexcept;
  List(std::initializer_list<Value> elements);
  static List repeated(std::size_t count, const Value& element);

  std::size_t size() const noexcept { return items().size(); }
  bool empty() const noexcept { return size() == 0; }
  /// Requires `position < size()`, counted from 0.
  const Value& operator[](std::size_t position) const noexcept { return items()[position]; }
  std::span<const Value> items() const noexcept;
  auto begin() const noexcept { return items().begin(); }
  auto end() const noexcept { return items().end(); }

  // What changes a list copies its storage first when another one shares it. Throws std::bad_alloc,
  // and then nothing has changed.

  /// Replaces an element. Requires `position < size()`.
  void set(std::size_t position, Value element);
  /// Appends one, or all elements of a list, which may be this very one.
  void append(Value element);
  void extend(const List& other);
  /// Requires a list that is not empty.
  void remove_last();
  /// Makes room for so many more elements.
  void reserve(std::size_t more);

  /// The first `count` elements; all of them when there are fewer.
  List first(std::size_t count) const;

 private:
  friend class Value;
  using Storage = SharedArray<Value>;
  explicit List(const Handle& list) noexcept : Handle(list) {}

  Storage& writable(std::size_t more);
};

struct Member {
  Text key;
  Value value;
};

/// An ordered map from texts to values. Meant for the dozen keys of a response: a look-up is a
/// scan.
class Object : public Handle {
 public:
  /// The empty object.
  Object() noexcept;
  /// Members in order. Where a key is given twice, it keeps its first position and takes the later
  /// value.
  Object(std::initializer_list<Member> members);

  std::size_t size() const noexcept { return items().size(); }
  bool empty() const noexcept { return size() == 0; }
  bool contains(const Text& key) const noexcept { return find(key) != nullptr; }
  /// The value under `key`, even a null one; otherwise the default.
  Value get(const Text& key, const Value& otherwise = {}) const noexcept;
  /// Members and keys, in order.
  std::span<const Member> items() const noexcept;
  List keys() const;
  auto begin() const noexcept { return items().begin(); }
  auto end() const noexcept { return items().end(); }

  // What changes an object copies its storage first when another one shares it. Throws
  // std::bad_alloc, and then nothing has changed.

  /// Replaces the value and keeps the position when the key is there; otherwise appends.
  void set(const Text& key, Value value);
  /// Appends without looking. Requires a key that is not there yet.
  void add(Text key, Value value);
  /// An object of its own, at no cost until one of the two is changed.
  Object copy() const noexcept { return *this; }
  /// Sets each member of `other`, in its order.
  void update(const Object& other);
  /// Makes room for so many more members.
  void reserve(std::size_t more);

  /// Appends unless the value is null. Requires a key that is not there yet.
  void add_known(Text key, Value value);

 private:
  friend class Value;
  using Storage = SharedArray<Member>;
  explicit Object(const Handle& object) noexcept : Handle(object) {}

  const Member* find(const Text& key) const noexcept;
  Storage& writable(std::size_t more);
};

}  // namespace mcp_responses
