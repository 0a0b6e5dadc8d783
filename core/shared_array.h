// SharedArray: the reference-counted storage of lists and objects, copied only when a shared one is
// written to.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace mcp_responses {

/// A block of `capacity` elements of which `size` are alive, counted by its owners. An empty array
/// is a null pointer. The functions are static because the pointer itself lives in a handle's
/// payload. `note` is what the owner remembers about the elements as a whole; copies keep it.
template <class T, class Note = std::nullptr_t>
class SharedArray {
 public:
  Note note{};

  std::size_t size() const noexcept { return size_; }
  T* items() noexcept { return reinterpret_cast<T*>(this + 1); }
  const T* items() const noexcept { return reinterpret_cast<const T*>(this + 1); }

  /// An empty block with one owner. Throws std::bad_alloc.
  static SharedArray* with_capacity(std::size_t capacity) {
    static_assert(alignof(T) <= alignof(SharedArray) && sizeof(SharedArray) % alignof(T) == 0);
    if (capacity > (static_cast<std::size_t>(-1) / 2 - sizeof(SharedArray)) / sizeof(T))
      throw std::bad_alloc();
    return ::new (::operator new(sizeof(SharedArray) + capacity * sizeof(T))) SharedArray(capacity);
  }

  /// Requires room; the caller counted.
  template <class... Arguments>
  void add(Arguments&&... arguments) {
    ::new (static_cast<void*>(items() + size_)) T{std::forward<Arguments>(arguments)...};
    ++size_;
  }

  void remove_last() noexcept { std::destroy_at(items() + --size_); }

  static void retain(const SharedArray* array) noexcept {
    if (array != nullptr) array->owners_.fetch_add(1, std::memory_order_relaxed);
  }

  static void release(const SharedArray* array) noexcept {
    if (array == nullptr || !array->give_up()) return;
    auto* last = const_cast<SharedArray*>(array);
    std::destroy_n(last->items(), last->size_);
    last->~SharedArray();
    ::operator delete(last);
  }

  /// Gives a block that the caller alone owns, with room for `more` elements: `array` itself, or a
  /// copy of it, whose reference to `array` is given up then. Strong guarantee.
  static SharedArray* writable(SharedArray* array, std::size_t more) {
    const std::size_t size = array == nullptr ? 0 : array->size_;
    if (array != nullptr && array->is_sole() && size + more <= array->capacity_) return array;
    SharedArray* wider = with_capacity(more == 0 ? size : size + more + size / 2);
    // Handles are copied and moved without a throw, so nothing is lost half-way.
    const bool sole = array != nullptr && array->is_sole();
    for (std::size_t i = 0; i < size; ++i) {
      sole ? wider->add(std::move(array->items()[i]))
           : wider->add(std::as_const(*array).items()[i]);
    }
    wider->note = array == nullptr ? Note{} : array->note;
    release(array);
    return wider;
  }

 private:
  explicit SharedArray(std::size_t capacity) noexcept : capacity_(capacity) {}

  bool is_sole() const noexcept { return owners_.load(std::memory_order_acquire) == 1; }
  /// True for the last owner. A sole owner needs no locked instruction: nobody else can come.
  bool give_up() const noexcept {
    return is_sole() || owners_.fetch_sub(1, std::memory_order_acq_rel) == 1;
  }

  mutable std::atomic<std::size_t> owners_ = 1;
  std::size_t size_ = 0;
  std::size_t capacity_;
};

}  // namespace mcp_responses
