// Objects whose keys are template arguments.
//
//   return StaticObject{"built"_key = built, "branch"_key = branch, "note"_optional = note};
//
// has these members in this order; an `_optional` one is omitted if its value is null. It converts to
// an Object. The extension converts it to a dict instead; then the members may hold Python objects,
// so that an argument that is only passed through is never converted to a Value. The keys are part of
// the type: they cost no allocation, copy or look-up.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "value.h"

namespace mcp_responses {

/// A string as a template argument.
template <std::size_t N>
struct FixedString {
  char chars[N];
  // NOLINTNEXTLINE(google-explicit-constructor): converts implicitly from a string literal.
  consteval FixedString(const char (&literal)[N]) { std::copy_n(literal, N, chars); }
};

template <FixedString string>
inline constexpr StringLiteral literal{string.chars, sizeof(string.chars) - 1};

/// The type in which a member is stored: a Value if the content converts to one, otherwise the type
/// of the content.
template <class Content>
using Stored = std::conditional_t<std::constructible_from<Value, Content>, Value,
                                  std::remove_cvref_t<Content>>;

/// A member of a StaticObject.
template <FixedString key_name, bool is_optional, class Content>
struct StaticMember {
  static constexpr auto name = key_name;
  static constexpr bool optional = is_optional;
  Content value;
};

/// The type of `"name"_key` and `"name"_optional`: converts to a Text; `=` makes a member.
template <FixedString name, bool is_optional>
struct Key {
  // NOLINTNEXTLINE(google-explicit-constructor): a key is used as a Text.
  operator Text() const noexcept { return Text(literal<name>); }

  // NOLINTBEGIN(misc-unconventional-assign-operator): it returns a member.
  template <class Content>
  StaticMember<name, is_optional, Stored<Content>> operator=(Content&& content) const {
    return {Stored<Content>(std::forward<Content>(content))};
  }
  // NOLINTEND(misc-unconventional-assign-operator)
};

/// A program that uses only these writes `using namespace mcp_responses::literals`.
inline namespace literals {

template <FixedString name>
constexpr Key<name, false> operator""_key() {
  return {};
}

template <FixedString name>
constexpr Key<name, true> operator""_optional() {
  return {};
}

}  // namespace literals

/// Each member is a base class, so the compiler rejects a key that occurs twice with the same type of
/// value. Write braces, not parentheses: they define the order in which the values are computed.
template <class... Members>
struct StaticObject : Members... {
  // GCC 12 leaks the members of an aggregate if the computation of a later one throws.
  explicit StaticObject(Members&&... members) noexcept : Members(std::move(members))... {}

  /// Requires members that hold Values.
  // NOLINTNEXTLINE(google-explicit-constructor): an object in another representation.
  operator Object() && {
    Object object;
    object.reserve(sizeof...(Members));
    (add<Members>(object, *this), ...);
    return object;
  }

 private:
  template <class Member>
  static void add(Object& object, Member& member) {
    if (Member::optional && member.value.is_null()) return;
    object.add(Text(literal<Member::name>), std::move(member.value));
  }
};

template <class... Members>
StaticObject(Members...) -> StaticObject<Members...>;

template <class... Members>
Value::Value(StaticObject<Members...> members) : Value(static_cast<Object>(std::move(members))) {}

}  // namespace mcp_responses
