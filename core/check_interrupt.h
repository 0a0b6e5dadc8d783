// The interruption check of a long operation: how a program handles signals meanwhile.
#pragma once

#include <functional>

namespace mcp_responses {

/// Called before each system call that reads a file or a symlink, after each one that a signal
/// interrupts, and after about every millisecond of other work. What it throws ends the operation.
/// A check that costs more than a clock reading should limit how often it does its work.
using CheckInterrupt = std::function<void()>;

}  // namespace mcp_responses
