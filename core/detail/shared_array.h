// SharedArray: the storage of lists and objects, shared by its owners and copied on write.
#pragma once

#include <concepts>
#include <memory>
#include <utility>
#include <vector>

#include "detail/ref_count.h"

namespace mcp_responses {

struct Member;

namespace detail {

/// The part of an array that does not depend on the type of its elements.
struct ArrayHeader {
  RefCount owners;
  bool has_members;             // its elements are the members of an object
  ArrayHeader* next = nullptr;  // in a list of arrays without owners
};

template <class T>
struct SharedArray : ArrayHeader {
  explicit SharedArray(std::vector<T> elements = {})
      : ArrayHeader{.owners = {}, .has_members = std::same_as<T, Member>},
        items(std::move(elements)) {}

  /// An array with one owner, the caller: `array` itself, or a copy that replaces the caller's share of
  /// it. A null pointer is an empty array. If it throws std::bad_alloc, `array` is unchanged.
  static SharedArray* writable(SharedArray* array) {
    if (array == nullptr) return new SharedArray;
    if (array->owners.is_one()) return array;
    auto copy = std::make_unique<SharedArray>(array->items);
    // Another owner may have given up its share in the meantime.
    if (array->owners.remove()) delete array;
    return copy.release();
  }

  std::vector<T> items;
};

}  // namespace detail
}  // namespace mcp_responses
