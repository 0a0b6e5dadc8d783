// What a module object keeps for as long as it lives: nothing but names and dicts that would
// otherwise be made anew for every call. Each interpreter, and each import, has its own.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host_ref.h"
#include "records.h"
#include "value.h"

namespace mcp_responses {

/// The dict that all answers of one layout start as.
struct LayoutDict {
  HostRef dict;                 // every value None
  std::vector<PyObject*> keys;  // in order; the dict keeps them
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
  const LayoutDict& start_of(const Layout& layout);

 private:
  std::array<HostRef, field_names.size()> field_names_;
  std::unordered_map<const Word*, HostRef> words_;
  std::unordered_map<Layout, LayoutDict, LayoutHash> starts_;
};

/// A new host object for a value that a builder made: lists and dicts are new at every depth,
/// strings and integers of the host's the very same objects.
HostRef to_host(State& state, const Value& value);
HostRef to_host(State& state, const Object& object);

}  // namespace mcp_responses
