// InterruptScope: long operations call a function of the program, so that it can handle signals.
//
//   const CheckInterrupt check = [] { if (was_cancelled) throw Cancelled(); };
//   const InterruptScope scope(check);
//   const Object answer = build_wiki_ask_response(arguments);
#pragma once

#include <functional>

namespace mcp_responses {

/// An exception that it throws ends the operation. It may call the library.
using CheckInterrupt = std::function<void()>;

/// While this object lives, `check` is called on this thread after each 256 KiB of work of the library,
/// and after each system call that a signal interrupts. Work is counted by `code_lines`, `WorkTree`,
/// `build_wiki_ask_response`, `ask_citations`, `outline_module`, `without_nulls` and the comparison of
/// Values. Of nested scopes, the innermost is used; they end in reverse order.
class InterruptScope {
 public:
  /// `check` must outlive this object.
  explicit InterruptScope(const CheckInterrupt& check) noexcept;
  explicit InterruptScope(const CheckInterrupt&&) = delete;
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;
  ~InterruptScope();

 private:
  const CheckInterrupt* const outer_;
};

}  // namespace mcp_responses
