// Objects whose keys are fixed when the program is written.
//
//   return StaticObject{"built"_key = built, "branch"_key = branch, "note"_optional = note};
//
// has these members in this order; one that is `_optional` is left out when its value is null. It
// becomes an Object where one is due. A host may make an object of its own of it instead: what the
// members hold then need not be Values, so that what an answer only hands on never becomes one. The
// names are part of the type: a key costs no allocation, no copy and no look-up.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "value.h"

namespace mcp_responses {

/// The characters of a string literal as a template argument.
template <std::size_t N>
struct FixedString {
  char chars[N];
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is meant to become one.
  consteval FixedString(const char (&literal)[N]) { std::copy_n(literal, N, chars); }
};

template <FixedString name>
inline constexpr StringLiteral literal{name.chars, sizeof(name.chars) - 1};

/// What a member holds: a Value wherever one can be made of the content, else the content itself.
template <class Content>
using Stored = std::conditional_t<std::constructible_from<Value, Content>, Value,
                                  std::remove_cvref_t<Content>>;

/// One member of a StaticObject.
template <FixedString key_name, bool is_optional, class Content>
struct StaticMember {
  static constexpr auto name = key_name;
  static constexpr bool optional = is_optional;
  Content value;
};

/// What `"name"_key` and `"name"_optional` are: a text, and with `=` a member.
template <FixedString name, bool is_optional>
struct Key {
  // NOLINTNEXTLINE(google-explicit-constructor): a key is meant to become a text.
  operator Text() const noexcept { return Text(literal<name>); }

  // NOLINTBEGIN(misc-unconventional-assign-operator): it pairs the key with a value.
  template <class Content>
  StaticMember<name, is_optional, Stored<Content>> operator=(Content&& content) const {
    return {Stored<Content>(std::forward<Content>(content))};
  }
  // NOLINTEND(misc-unconventional-assign-operator)
};

template <FixedString name>
constexpr Key<name, false> operator""_key() {
  return {};
}

template <FixedString name>
constexpr Key<name, true> operator""_optional() {
  return {};
}

/// The members, each a base of its own type, so no two may have the same key. Write braces, not
/// parentheses: they fix the order in which the values are made.
template <class... Members>
struct StaticObject : Members... {
  // Were this an aggregate, GCC 12 would leak the members made so far when one of them throws.
  explicit StaticObject(Members&&... members) noexcept : Members(std::move(members))... {}

  /// Requires members that hold Values.
  // NOLINTNEXTLINE(google-explicit-constructor): it is one already, but for the storage.
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
