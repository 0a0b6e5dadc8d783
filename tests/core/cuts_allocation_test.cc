// What cuts allocate. A program of its own, because it replaces operator new.
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>

#include "cuts.h"
#include "models/random_input.h"

namespace {
thread_local std::size_t allocations = 0;
thread_local std::size_t bytes_allocated = 0;
}  // namespace

// Counts the allocations of each thread. Not inlined, because the compiler would warn that `free` gets
// memory from `new`.
[[gnu::noinline]] void* operator new(std::size_t size) {
  ++allocations;
  bytes_allocated += size;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace mcp_responses {
namespace {

TEST(CutsAllocation, OnlyTheResultIsAllocated) {
  constexpr std::int64_t chars = 100'000;
  constexpr std::size_t header = 64;
  for (const char32_t character : {U'w', U'\xE9', U'\u0151', U'\U00010151'}) {
    const Text text = models::text_of(std::u32string(2 * chars, character));
    for (Text (*const shortened)(Text, std::int64_t) : {_cut, _trimmed}) {
      allocations = bytes_allocated = 0;
      const Text result = shortened(text, chars);
      const std::pair counted{allocations, bytes_allocated};
      const std::string name = models::text_of({character}).utf8();
      EXPECT_EQ(counted.first, 1U) << name;
      EXPECT_LE(counted.second, result.size() * unit_size(result.view().repertoire) + header)
          << name;
      EXPECT_EQ(result.size(), static_cast<std::size_t>(chars));
    }
  }
}

}  // namespace
}  // namespace mcp_responses
