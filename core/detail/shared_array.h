// SharedArray: the storage of lists and objects, shared by its owners and copied on write.
#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "detail/ref_count.h"

namespace mcp_responses {

struct Member;

namespace detail {

/// The members of an array that do not depend on the type of its elements.
struct ArrayHeader {
  ArrayHeader(std::size_t elements, bool are_members) noexcept
      : capacity(elements), has_members(are_members) {}

  RefCount owners;
  std::size_t size = 0;
  std::size_t capacity;
  bool has_members;             // its elements are the members of an object
  ArrayHeader* next = nullptr;  // in a list of arrays without owners
};

/// Memory for `capacity` elements, of which the first `size` exist. Requires an element type whose
/// copies and moves do not throw.
template <class T>
class SharedArray : public ArrayHeader {
 public:
  T* items() noexcept { return reinterpret_cast<T*>(this + 1); }
  const T* items() const noexcept { return reinterpret_cast<const T*>(this + 1); }

  /// Appends an element. Requires spare capacity, and that the caller is the only owner.
  template <class... Arguments>
  void add(Arguments&&... arguments) {
    assert(size < capacity && owners.is_one());
    ::new (static_cast<void*>(items() + size)) T{std::forward<Arguments>(arguments)...};
    ++size;
  }
  /// Requires a non-empty array, and that the caller is the only owner.
  void remove_last() noexcept {
    assert(size > 0 && owners.is_one());
    std::destroy_at(items() + --size);
  }

  /// An array with one owner, the caller, and capacity for `more` elements: `array` itself, or a copy
  /// that replaces the caller's share of it. A null pointer is an empty array. If it throws
  /// std::bad_alloc, `array` is unchanged.
  static SharedArray* writable(SharedArray* array, std::size_t more) {
    if (more > max_size) throw std::bad_alloc();  // so that the sums below do not overflow
    const std::size_t size = array == nullptr ? 0 : array->size;
    const bool is_only_owner = array != nullptr && array->owners.is_one();
    if (is_only_owner && size + more <= array->capacity) return array;
    SharedArray* const copy = with_capacity(more == 0 ? size : size + more + size / 2);
    for (std::size_t i = 0; i < size; ++i) {
      is_only_owner ? copy->add(std::move(array->items()[i]))
                    : copy->add(std::as_const(*array).items()[i]);
    }
    if (array != nullptr && array->owners.remove()) destroy(array);
    return copy;
  }

  /// Destroys the elements and the array. Requires an array without owners.
  static void destroy(SharedArray* array) noexcept {
    std::destroy_n(array->items(), array->size);
    std::destroy_at(array);
    ::operator delete(array);
  }

 private:
  static constexpr std::size_t max_size = (static_cast<std::size_t>(-1) / 2 - 256) / sizeof(T);

  explicit SharedArray(std::size_t elements) noexcept
      : ArrayHeader(elements, std::same_as<T, Member>) {}

  static SharedArray* with_capacity(std::size_t elements) {
    static_assert(alignof(T) <= alignof(SharedArray) && sizeof(SharedArray) % alignof(T) == 0);
    if (elements > max_size) throw std::bad_alloc();
    return ::new (::operator new(sizeof(SharedArray) + elements * sizeof(T))) SharedArray(elements);
  }
};

}  // namespace detail
}  // namespace mcp_responses
