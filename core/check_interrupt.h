// CheckInterrupt: a function that long operations call, so that a program can handle signals.
#pragma once

#include <functional>

namespace mcp_responses {

/// Called before each system call that reads a file or a symlink, after each one that a signal
/// interrupts, and after each mebibyte of other work. An exception that it throws ends the
/// operation. An expensive check should do its work only at intervals.
using CheckInterrupt = std::function<void()>;

}  // namespace mcp_responses
