// The declarations of openat2, a system call of Linux 5.6 that older kernel headers do not have.
#pragma once

#include <sys/syscall.h>

#if __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#else
#include <cstdint>

struct open_how {
  std::uint64_t flags;
  std::uint64_t mode;
  std::uint64_t resolve;
};
#define RESOLVE_NO_MAGICLINKS 0x02
#define RESOLVE_NO_SYMLINKS 0x04
#define RESOLVE_BENEATH 0x08
#endif

// The number is the same on every architecture.
#ifndef SYS_openat2
#define SYS_openat2 437
#endif
