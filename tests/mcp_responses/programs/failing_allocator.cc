// Preloaded by inject_memory_errors.py. Fails chosen allocations of the extension, which calls operator
// new and realloc. The interpreter's allocations are not affected; `_testcapi.set_nomemory` fails them.
#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

int first, end, count;  // allocations are numbered from 0; [first, end) fail
long live_objects;      // of operator new

bool fails() { return end > 0 && count++ >= first && count <= end; }

bool is_extension(void* caller) {
  Dl_info info{};
  return dladdr(caller, &info) != 0 &&
         std::strstr(info.dli_fname, "mcp_responses.cpython") != nullptr;
}

}  // namespace

extern "C" {

void fail_between(int from, int to) {
  first = from;
  end = to;
  count = 0;
}

void fail_no_more() { end = 0; }

long live_object_count() { return live_objects; }

void* realloc(void* memory, std::size_t size) {
  static const auto next_realloc =
      reinterpret_cast<void* (*)(void*, std::size_t)>(dlsym(RTLD_NEXT, "realloc"));
  if (end > 0 && is_extension(__builtin_return_address(0)) && fails()) return nullptr;
  return next_realloc(memory, size);
}

}  // extern "C"

void* operator new(std::size_t size) {
  void* memory = fails() ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++live_objects;
  return memory;
}
void operator delete(void* memory) noexcept {
  live_objects -= memory != nullptr;
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }
