// RefCount: a thread-safe count of the owners of shared storage.
#pragma once

#include <atomic>
#include <cstddef>

namespace mcp_responses::detail {

/// Starts with one owner.
class RefCount {
 public:
  void add() noexcept { owners_.fetch_add(1, std::memory_order_relaxed); }

  /// Removes an owner. Returns true if it was the last one: the caller then frees the storage.
  bool remove() noexcept {
    // The only owner needs no locked instruction: no other thread can add one.
    return is_one() || owners_.fetch_sub(1, std::memory_order_acq_rel) == 1;
  }

  bool is_one() const noexcept { return owners_.load(std::memory_order_acquire) == 1; }

 private:
  std::atomic<std::size_t> owners_ = 1;
};

}  // namespace mcp_responses::detail
