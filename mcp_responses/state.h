// What a module object keeps for as long as it lives: nothing but names and dicts that would
// otherwise be made anew for every call. Each interpreter, and each import, has its own.
#pragma once

#include <array>
#include <cstdint>
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
    return (reinterpret_cast<std::uintptr_t>(layout.shape) / sizeof(Shape)) ^ layout.kept;
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
    auto& [recent, start] = recent_[LayoutHash()(layout) % recent_.size()];
    if (layout != recent) {
      start = &found_start(layout);
      recent = layout;
    }
    return *start;
  }

 private:
  const LayoutDict& found_start(const Layout& layout);

  std::array<HostRef, field_names.size()> field_names_;
  std::unordered_map<const Word*, HostRef> words_;
  std::unordered_map<Layout, LayoutDict, LayoutHash> starts_;
  std::array<std::pair<Layout, const LayoutDict*>, 16> recent_;  // by hash
};

/// A new host object for a value that a builder made: lists and dicts are new at every depth,
/// strings and integers of the host's the very same objects.
HostRef to_host(State& state, const Value& value);
HostRef to_host(State& state, const Object& object);

/// A dict of one layout, while its members are being set in the layout's order.
class StartedDict {
 public:
  explicit StartedDict(const LayoutDict& start);
  void set_next(PyObject* object) {
    PyObject* const key = *next_key_++;
    if (object != Py_None || !has_nulls_) check(PyDict_SetItem(dict_.get(), key, object));
  }
  HostRef finished() && { return std::move(dict_); }

 private:
  PyObject* const* next_key_;
  bool has_nulls_;  // under every key that is not set yet
  HostRef dict_;
};

inline bool is_null(const HostRef& object) { return object.get() == Py_None; }
inline bool is_null(const Value& value) { return value.is_null(); }

inline const HostRef& to_host(State&, const HostRef& object) { return object; }

/// A dict of members that are host objects already, or values.
template <class... Members>
HostRef to_host(State& state, const Shaped<Members...>& fields) {
  std::uint32_t kept = 0;
  std::uint32_t bit = 1;
  ((kept |= Members::optional && is_null(fields.Members::value) ? 0 : bit, bit <<= 1), ...);
  StartedDict dict(state.start_of({&fields.shape, kept}));
  const auto set = [&]<class Member>(const Member& member) {
    if (Member::optional && is_null(member.value)) return;
    dict.set_next(to_host(state, member.value).get());
  };
  (set(static_cast<const Members&>(fields)), ...);
  return std::move(dict).finished();
}

}  // namespace mcp_responses
