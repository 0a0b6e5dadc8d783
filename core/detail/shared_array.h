// SharedArray: the storage of lists and objects. Many handles may own one; whoever writes to an
// array that others own too gets a copy first.
//
// An empty array is a null pointer, and the functions that have to take one are static: the pointer
// itself is the payload of a handle.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace mcp_responses {

/// A block with room for `capacity` elements, of which the first `size` are alive, and a count of
/// its owners. Requires an element that is copied and moved without a throw.
template <class T>
class SharedArray {
 public:
  std::size_t size() const noexcept { return size_; }
  T* items() noexcept { return reinterpret_cast<T*>(this + 1); }
  const T* items() const noexcept { return reinterpret_cast<const T*>(this + 1); }

  /// Appends an element made of the arguments. Requires room, and that the caller is the only
  /// owner.
  template <class... Arguments>
  void add(Arguments&&... arguments) {
    ::new (static_cast<void*>(items() + size_)) T{std::forward<Arguments>(arguments)...};
    ++size_;
  }

  /// Requires an element, and that nobody else owns the array.
  T& last() noexcept { return items()[size_ - 1]; }
  void remove_last() noexcept { std::destroy_at(items() + --size_); }

  /// Adds an owner.
  static void retain(const SharedArray* array) noexcept {
    if (array != nullptr) array->owners_.fetch_add(1, std::memory_order_relaxed);
  }

  /// Takes an owner away. True when it was the last one, who then has to remove the elements and
  /// `free` the array.
  static bool give_up(const SharedArray* array) noexcept {
    if (array == nullptr) return false;
    // A sole owner needs no locked instruction: nobody else can come.
    return array->is_sole() || array->owners_.fetch_sub(1, std::memory_order_acq_rel) == 1;
  }

  /// Requires an array without elements and owners.
  void free() noexcept {
    this->~SharedArray();
    ::operator delete(this);
  }

  /// An array that the caller alone owns, with room for `more` elements: `array` itself, or a copy
  /// for which the caller's share of `array` is given up. Throws std::bad_alloc; then nothing has
  /// changed.
  static SharedArray* writable(SharedArray* array, std::size_t more) {
    const std::size_t size = array == nullptr ? 0 : array->size_;
    if (array != nullptr && array->is_sole() && size + more <= array->capacity_) return array;
    SharedArray* wider = with_capacity(more == 0 ? size : size + more + size / 2);
    const bool sole = array != nullptr && array->is_sole();
    for (std::size_t i = 0; i < size; ++i) {
      sole ? wider->add(std::move(array->items()[i]))
           : wider->add(std::as_const(*array).items()[i]);
    }
    if (give_up(array)) {
      std::destroy_n(array->items(), size);  // copied: no element is the last of its kind
      array->free();
    }
    return wider;
  }

 private:
  explicit SharedArray(std::size_t capacity) noexcept : capacity_(capacity) {}

  /// An empty block with one owner.
  static SharedArray* with_capacity(std::size_t capacity) {
    static_assert(alignof(T) <= alignof(SharedArray) && sizeof(SharedArray) % alignof(T) == 0);
    if (capacity > (static_cast<std::size_t>(-1) / 2 - sizeof(SharedArray)) / sizeof(T))
      throw std::bad_alloc();
    return ::new (::operator new(sizeof(SharedArray) + capacity * sizeof(T))) SharedArray(capacity);
  }

  bool is_sole() const noexcept { return owners_.load(std::memory_order_acquire) == 1; }

  mutable std::atomic<std::size_t> owners_ = 1;
  std::size_t size_ = 0;
  std::size_t capacity_;
};

}  // namespace mcp_responses
