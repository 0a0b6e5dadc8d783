// Keys: the fixed names of response objects, written where an object is built.
//
//   return Shaped{"built"_key = built, "branch"_key = branch, "pages"_key = pages};
//
// builds an object with these three members in this order. The names are part of the type, so all
// objects built by one such line share one static Shape, and a key costs no allocation, no copy and
// no look-up.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
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

template <Name name>
struct NamedValue {
  Value value;
};

template <Name name>
struct Key {
  // NOLINTNEXTLINE(google-explicit-constructor): a key is meant to become a text.
  operator Text() const noexcept { return Text(word<name>); }

  // NOLINTBEGIN(misc-unconventional-assign-operator): it pairs the key with a value.
  template <class Content>
  NamedValue<name> operator=(Content&& content) const {
    return {Value(std::forward<Content>(content))};
  }
  // NOLINTEND(misc-unconventional-assign-operator)
};

template <Name name>
constexpr Key<name> operator""_key() {
  return {};
}

template <Name... names>
inline constexpr std::array<const Word*, sizeof...(names)> shape_words{&word<names>...};
template <Name... names>
inline constexpr Shape shape_of{shape_words<names...>};

/// An object of fixed keys. Requires that they differ. Braces, not parentheses: they fix the order
/// of evaluation.
class Shaped : public Object {
 public:
  template <Name... names>
  explicit Shaped(NamedValue<names>&&... members) : Object(shape_of<names...>) {
    static_assert(sizeof...(names) < 32);
    started().note.kept = (1U << sizeof...(names)) - 1;
    (started().add(Text(word<names>), std::move(members.value)), ...);
  }
};

/// The same without the members whose value is null: a row carries only what it knows.
class Known : public Object {
 public:
  template <Name... names>
  explicit Known(NamedValue<names>&&... members) : Object(shape_of<names...>) {
    static_assert(sizeof...(names) < 32);
    std::uint32_t bit = 1;
    (keep(word<names>, std::move(members.value), std::exchange(bit, bit << 1)), ...);
  }

 private:
  void keep(const Word& key, Value&& value, std::uint32_t bit) {
    if (value.is_null()) return;
    started().add(Text(key), std::move(value));
    started().note.kept |= bit;
  }
};

}  // namespace mcp_responses
