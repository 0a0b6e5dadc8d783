// What a module object keeps for as long as it lives: nothing but names and dicts that would
// otherwise be made anew for every call. Each interpreter, and each import, has its own.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host_ref.h"
#include "keys.h"
#include "records.h"
#include "value.h"

namespace mcp_responses {

/// What all answers of one layout start as.
struct LayoutDict {
  std::vector<PyObject*> keys;  // in order, borrowed from the state
  HostRef dict;                 // of these keys, every value None; null where none is needed
};

struct LayoutHash {
  std::size_t operator()(const Layout& layout) const noexcept {
    return reinterpret_cast<std::uintptr_t>(layout.shape) ^ layout.kept;
  }
};

class State {
 public:
  /// Throws `HostError`.
  State();

  PyObject* field_name(Field field) const noexcept {
    return field_names_[static_cast<std::size_t>(field)].get();
  }
  /// The interned str of a fixed name.
  PyObject* word(const Word& word);
  /// Requires a layout with a shape.
  const LayoutDict& start_of(const Layout& layout) {
    if (layout != last_) {
      last_start_ = &found_start(layout);
      last_ = layout;
    }
    return *last_start_;
  }

 private:
  const LayoutDict& found_start(const Layout& layout);

  std::array<HostRef, field_names.size()> field_names_;
  std::unordered_map<const Word*, HostRef> words_;
  std::unordered_map<Layout, LayoutDict, LayoutHash> starts_;
  Layout last_;  // the rows of a page are alike as a rule
  const LayoutDict* last_start_ = nullptr;
};

/// A new host object for a value that a builder made: lists and dicts are new at every depth,
/// strings and integers of the host's the very same objects.
HostRef to_host(State& state, const Value& value);
HostRef to_host(State& state, const Object& object);

/// A dict of the keys of a shape, without those whose object is null. It takes the objects as they
/// are.
HostRef to_host(State& state, const Shape& shape, std::span<const HostRef> objects);

/// The host's object for a member; null for one that is left out.
template <class Member>
HostRef to_host_member(State& state, Member& member) {
  HostRef object;
  if constexpr (std::is_same_v<decltype(member.value), HostRef>) {
    object = std::move(member.value);
  } else {
    object = to_host(state, member.value);
  }
  if (Member::optional && object.get() == Py_None) return {};
  return object;
}

/// A dict of members that are host objects already, or values.
template <class... Members>
HostRef to_host(State& state, Shaped<Members...> fields) {
  const HostRef objects[] = {to_host_member(state, static_cast<Members&>(fields))...};
  return to_host(state, fields.shape, objects);
}

}  // namespace mcp_responses
