// SharedArray: the storage of lists and objects, shared by its owners and copied on write.
//
// An empty array is a null pointer, which is the payload of its handle. So the functions that accept
// an empty array are static.
#pragma once

#include <cassert>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "detail/ref_count.h"

namespace mcp_responses::detail {

/// Memory for `capacity` elements, of which the first `size` exist. Requires an element type whose
/// copies and moves do not throw.
template <class T>
class SharedArray {
 public:
  std::size_t size() const noexcept { return size_; }
  T* items() noexcept { return reinterpret_cast<T*>(this + 1); }
  const T* items() const noexcept { return reinterpret_cast<const T*>(this + 1); }

  /// Appends an element. Requires spare capacity, and that the caller is the only owner.
  template <class... Arguments>
  void add(Arguments&&... arguments) {
    assert(size_ < capacity_ && owners_.is_one());
    ::new (static_cast<void*>(items() + size_)) T{std::forward<Arguments>(arguments)...};
    ++size_;
  }

  /// Requires a non-empty array, and that the caller is the only owner.
  T& last() noexcept {
    assert(size_ > 0 && owners_.is_one());
    return items()[size_ - 1];
  }
  void remove_last() noexcept {
    assert(size_ > 0);
    std::destroy_at(items() + --size_);
  }

  /// Adds an owner.
  static void retain(SharedArray* array) noexcept {
    if (array != nullptr) array->owners_.add();
  }

  /// Removes an owner. Returns true if it was the last one: the caller then removes the elements
  /// and calls `free`.
  static bool release(SharedArray* array) noexcept {
    return array != nullptr && array->owners_.remove();
  }

  /// Requires an array without elements and owners.
  void free() noexcept {
    assert(size_ == 0);
    this->~SharedArray();
    ::operator delete(this);
  }

  /// An array with one owner, the caller, and capacity for `more` elements: `array` itself, or a copy
  /// that replaces the caller's share of it. If it throws std::bad_alloc, `array` is unchanged.
  static SharedArray* writable(SharedArray* array, std::size_t more) {
    const std::size_t size = array == nullptr ? 0 : array->size_;
    const bool is_only_owner = array != nullptr && array->owners_.is_one();
    if (is_only_owner && size + more <= array->capacity_) return array;
    SharedArray* const copy = with_capacity(more == 0 ? size : size + more + size / 2);
    for (std::size_t i = 0; i < size; ++i) {
      is_only_owner ? copy->add(std::move(array->items()[i]))
                    : copy->add(std::as_const(*array).items()[i]);
    }
    if (release(array)) {
      std::destroy_n(array->items(), std::exchange(array->size_, 0));
      array->free();
    }
    return copy;
  }

 private:
  explicit SharedArray(std::size_t capacity) noexcept : capacity_(capacity) {}

  static SharedArray* with_capacity(std::size_t capacity) {
    static_assert(alignof(T) <= alignof(SharedArray) && sizeof(SharedArray) % alignof(T) == 0);
    if (capacity > (static_cast<std::size_t>(-1) / 2 - sizeof(SharedArray)) / sizeof(T))
      throw std::bad_alloc();
    return ::new (::operator new(sizeof(SharedArray) + capacity * sizeof(T))) SharedArray(capacity);
  }

  RefCount owners_;
  std::size_t size_ = 0;
  std::size_t capacity_;
};

}  // namespace mcp_responses::detail
