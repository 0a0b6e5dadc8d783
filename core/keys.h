// Keys: the fixed names of response objects, written where an object is built.
//
//   return Shaped{"built"_key = built, "branch"_key = branch, "note"_known = note};
//
// builds an object with these members in this order; one that is `_known` is left out when its
// value is null. The names are part of the type, so all objects built by one such line share one
// static Shape, and a key costs no allocation, no copy and no look-up.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "value.h"

namespace mcp_responses {

/// The characters of a string literal as a template argument.
template <std::size_t N>
struct Name {
  char chars[N];
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is meant to become one.
  consteval Name(const char (&literal)[N]) { std::copy_n(literal, N, chars); }
};

template <Name name>
inline constexpr Word word{name.chars, sizeof(name.chars) - 1};

/// How a value waits for its object: as a Value, or as it is when only a host knows its kind.
template <class Content>
using Waiting = std::conditional_t<std::constructible_from<Value, Content>, Value,
                                   std::remove_cvref_t<Content>>;

template <Name key_name, bool is_optional, class Content>
struct NamedValue {
  static constexpr auto name = key_name;
  static constexpr bool optional = is_optional;
  Content value;
};

template <Name name, bool is_optional>
struct Key {
  // NOLINTNEXTLINE(google-explicit-constructor): a key is meant to become a text.
  operator Text() const noexcept { return Text(word<name>); }

  // NOLINTBEGIN(misc-unconventional-assign-operator): it pairs the key with a value.
  template <class Content>
  NamedValue<name, is_optional, Waiting<Content>> operator=(Content&& content) const {
    return {Waiting<Content>(std::forward<Content>(content))};
  }
  // NOLINTEND(misc-unconventional-assign-operator)
};

template <Name name>
constexpr Key<name, false> operator""_key() {
  return {};
}

template <Name name>
constexpr Key<name, true> operator""_known() {
  return {};
}

template <Name... names>
inline constexpr std::array<const Word*, sizeof...(names)> shape_words{&word<names>...};
template <Name... names>
inline constexpr Shape shape_of{shape_words<names...>};

/// An object of a shape, while its members are being added in the shape's order.
class ShapedObject : public Object {
 public:
  explicit ShapedObject(const Shape& shape) : Object(shape) {}

  /// `bit` is that of the member in the shape.
  template <class Member>
  void take(Member& member, std::uint32_t bit) {
    if (Member::optional && member.value.is_null()) return;
    started().add(Text(word<Member::name>), std::move(member.value));
    started().note.kept |= bit;
  }
};

/// The members of an object that is not built yet; it becomes an Object where one is due, once. A
/// host makes an object of its own of it, which spares the one between. No two keys are the same:
/// each is a base. Write braces, not parentheses: they fix the order of evaluation.
template <class... Members>
struct Shaped : Members... {
  static_assert(sizeof...(Members) < 32);
  static constexpr const Shape& shape = shape_of<Members::name...>;

  // Were this an aggregate, GCC 12 would leak the members made so far when one of them throws.
  explicit Shaped(Members&&... members) noexcept : Members(std::move(members))... {}

  // NOLINTNEXTLINE(google-explicit-constructor): it is one already, but for the storage.
  operator Object() && {
    ShapedObject object(shape);
    std::uint32_t bit = 1;
    (object.take<Members>(static_cast<Members&>(*this), std::exchange(bit, bit << 1)), ...);
    return object;
  }
};

template <class... Members>
Shaped(Members...) -> Shaped<Members...>;

}  // namespace mcp_responses
