// Value, List, Object: the arguments and results of builders. Their seven kinds are those that JSON
// text can contain (see encode.h).
//
// Values have value semantics: a change of one value never affects another. Copies are cheap, because
// storage is shared until it is changed. Boolean, integer and float (`real`) are different kinds: true, 1
// and 1.0 have different texts.
#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "detail/handle.h"
#include "text.h"

namespace mcp_responses {

class List;
class Object;
struct Member;
template <class... Members>
struct StaticObject;
namespace detail {

/// The operations of booleans and numbers, which are stored in the handle.
inline constexpr ValueOps boolean_ops{.kind = Kind::boolean};
inline constexpr ValueOps integer_ops{.kind = Kind::integer};
inline constexpr ValueOps real_ops{.kind = Kind::real};
}  // namespace detail

/// The number types that become an integer without loss: signed ones of up to 64 bits, unsigned ones
/// of up to 32. bool and the character types are not numbers.
template <class Number>
concept Integer = std::integral<Number> && requires(Number number) {
  std::int64_t{number};
} && !std::same_as<Number, bool> && !std::same_as<Number, char> && !std::same_as<Number, wchar_t> &&
    !std::same_as<Number, char8_t> && !std::same_as<Number, char16_t> &&
    !std::same_as<Number, char32_t>;

/// The number types that become a float without loss.
template <class Number>
concept Real = std::same_as<Number, double> || std::same_as<Number, float>;

/// The number types that may lose digits, and the character types.
template <class Number>
concept OtherNumber = (std::integral<Number> || std::floating_point<Number>)&&!Integer<Number> &&
                      !Real<Number> && !std::same_as<Number, bool>;

class Value : public detail::Handle {
 public:
  /// Null.
  Value() noexcept = default;
  Value(std::same_as<bool> auto boolean) noexcept
      : Handle(detail::boolean_ops, detail::Payload{.boolean = boolean}) {}
  Value(Integer auto integer) noexcept
      : Handle(detail::integer_ops, detail::Payload{.integer = integer}) {}
  Value(Real auto real) noexcept : Handle(detail::real_ops, detail::Payload{.real = real}) {}
  template <OtherNumber Number>
  Value(Number) = delete;  // it may not fit: write static_cast<std::int64_t>(rows.size())
  Value(Text text) noexcept : Handle(std::move(text)) {}
  Value(const StringLiteral& literal) noexcept : Value(Text(literal)) {}
  Value(const StringLiteral&&) = delete;
  explicit Value(std::string_view utf8) : Value(Text(utf8)) {}
  explicit Value(const char* utf8) : Value(std::string_view(utf8)) {}
  Value(std::same_as<const char*> auto) = delete;  // it is copied: write Value("text")
  Value(std::nullptr_t) = delete;
  Value(List list) noexcept;
  Value(Object object) noexcept;
  /// An object of these members (see static_object.h).
  template <class... Members>
  Value(StaticObject<Members...> members);
  /// Takes over one reference to a value in any representation.
  Value(const detail::ValueOps& ops, detail::Payload payload) noexcept : Handle(ops, payload) {}

  Kind kind() const noexcept { return ops().kind; }
  bool is_null() const noexcept { return kind() == Kind::null; }

  /// False for null, false, 0, 0.0, -0.0, "", [] and {}; true for every other value, NaN included.
  bool truthy() const noexcept;

  /// The content, if the value is of that kind. A foreign list or object is converted one level deep,
  /// which may throw std::bad_alloc or an error of the foreign runtime.
  std::optional<bool> boolean() const noexcept {
    return kind() == Kind::boolean ? std::optional(payload().boolean) : std::nullopt;
  }
  std::optional<std::int64_t> integer() const noexcept {
    return kind() == Kind::integer ? std::optional(payload().integer) : std::nullopt;
  }
  /// An integer, or a boolean as 0 or 1.
  std::optional<std::int64_t> whole() const noexcept;
  std::optional<double> real() const noexcept {
    return kind() == Kind::real ? std::optional(payload().real) : std::nullopt;
  }
  std::optional<Text> text() const noexcept;
  /// The characters of a string. Valid while this value, or a copy of it, lives.
  std::optional<TextView> view() const noexcept {
    return kind() == Kind::string ? std::optional(ops().text(payload())) : std::nullopt;
  }
  std::optional<List> list() const;
  std::optional<Object> object() const;
  /// The value of a key in an object, which is not converted. Null if there is none, and for other
  /// kinds.
  Value get(const Text& key) const;
  /// The number of elements of a list, or of members of an object, which are not converted.
  std::optional<std::size_t> size() const noexcept;

  /// True for a list or object that a foreign runtime stores.
  bool is_foreign() const noexcept { return ops().materialized != nullptr; }
  /// The elements of a list, or the members of an object. Requires one that is not foreign. Valid
  /// while this value, or a copy of it, lives unchanged.
  std::span<const Value> elements() const noexcept;
  std::span<const Member> members() const noexcept;

  /// True if kind and content are equal. Booleans, integers and floats are equal across kinds if
  /// their numeric values are exactly equal. Objects are equal in any order of their members. NaN
  /// equals nothing. Throws `NestingError`.
  friend bool operator==(const Value& a, const Value& b);
};

/// The base of List and Object: elements in order. A copy shares the storage until one of the two is
/// changed. If copying the storage throws std::bad_alloc, the container is not changed.
template <class Element>
class Container : public detail::Handle {
 public:
  std::size_t size() const noexcept { return items().size(); }
  bool empty() const noexcept { return size() == 0; }
  /// Valid while this container, or a copy of it, lives unchanged.
  std::span<const Element> items() const noexcept;
  auto begin() const noexcept { return items().begin(); }
  auto end() const noexcept { return items().end(); }
  /// Reserves capacity for `more` elements.
  void reserve(std::size_t more);

 protected:
  friend class Value;
  struct FromHandle {};
  Container(FromHandle, const Handle& container) noexcept : Handle(container) {}
  using Handle::Handle;

  /// The storage, with this container as its only owner.
  std::vector<Element>& writable();
};

/// Any type that converts to a Value, except List.
template <class Element>
concept OnlyElement =
    std::convertible_to<Element, Value> && !std::derived_from<std::remove_cvref_t<Element>, List>;

class List : public Container<Value> {
 public:
  /// The empty list.
  List() noexcept;
  /// The elements, in order. `List(other)` and `List{other}` copy a list; `List::repeated(1, other)`
  /// is a list that contains one.
  explicit List(OnlyElement auto element) : List() { append(std::move(element)); }
  template <std::convertible_to<Value> First, std::convertible_to<Value> Second,
            std::convertible_to<Value>... Rest>
  List(First&& first, Second&& second, Rest&&... rest) : List() {
    reserve(2 + sizeof...(Rest));
    append(std::forward<First>(first));
    append(std::forward<Second>(second));
    (append(std::forward<Rest>(rest)), ...);
  }
  /// `count` elements that are equal to `element`.
  static List repeated(std::size_t count, const Value& element);

  /// Requires `position < size()`.
  const Value& operator[](std::size_t position) const noexcept {
    assert(position < size());
    return items()[position];
  }
  /// Replaces an element. Requires `position < size()`.
  void set(std::size_t position, Value element);
  void append(Value element);
  /// Appends all elements of a list, which may be this one.
  void extend(const List& other);
  /// Requires a non-empty list.
  void remove_last();
  /// The first `count` elements, or all if there are fewer.
  List first(std::size_t count) const;

 private:
  friend class Value;
  using Container::Container;
};

struct Member {
  Text key;
  Value value;
};

/// An ordered map from texts to values. A look-up is a linear search: meant for the dozen keys of a
/// response.
class Object : public Container<Member> {
 public:
  /// The empty object.
  Object() noexcept;
  /// The members, in order. A key that is given twice keeps its first position and gets the later
  /// value.
  Object(std::initializer_list<Member> members);

  bool contains(const Text& key) const noexcept { return find(key) != nullptr; }
  /// The value of `key`, which may be null. `fallback` if there is none.
  Value get(const Text& key, const Value& fallback = {}) const noexcept;
  List keys() const;
  Object copy() const noexcept { return *this; }

  /// Replaces the value of an existing key, which keeps its position; otherwise appends a member.
  void set(const Text& key, Value value);
  /// Appends a member. Requires a new key.
  void add(Text key, Value value);
  /// Sets each member of `other`, in its order.
  void update(const Object& other);

 private:
  friend class Value;
  using Container::Container;

  const Member* find(const Text& key) const noexcept;
};

}  // namespace mcp_responses
