// Handle: what Text and Value have in common, 16 bytes that own one value however it is held.
//
// A value may be held in place (a number), by this library (reference-counted storage), by the
// program (a fixed word) or by a host interpreter (its own object, kept alive). Each way of holding
// is one static table of functions, the ValueOps; a handle is a pointer to it and a payload. So
// `core` carries a host's objects without knowing what a host is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace mcp_responses {

class Value;
struct TextView;

enum class Kind : std::uint8_t { null, boolean, integer, real, string, list, object };

union Payload {
  bool boolean;
  std::int64_t integer;
  double real;
  const void* pointer;
};

/// One way of holding values of one kind. A function that makes no sense for the kind is null.
struct ValueOps {
  Kind kind;
  /// Adds an owner, and takes one away. Both null: there is nothing to count.
  void (*retain)(Payload) noexcept = nullptr;
  void (*release)(Payload) noexcept = nullptr;
  /// The content of an integer, and the characters of a string.
  std::int64_t (*integer)(Payload) noexcept = nullptr;
  TextView (*text)(Payload) noexcept = nullptr;
  /// The number of elements of a list or members of an object.
  std::size_t (*size)(Payload) noexcept = nullptr;
  /// A list or an object held elsewhere, as one of this library's own, one level deep. Null: it is
  /// one already.
  Value (*materialized)(Payload) = nullptr;
  /// The value under a key of an object held elsewhere, or null. Null with `materialized`.
  Value (*get)(Payload, const TextView& key) = nullptr;
  /// The bytes of the text of a list or an object held elsewhere. Null with `materialized`.
  std::size_t (*encoded_size)(Payload) = nullptr;
};

extern const ValueOps null_ops;

/// Only what is derived from it can be made, copied, assigned or destroyed: a handle that took
/// another one's value without asking what kind it is would be a Text that holds a list.
class Handle {
 public:
  const ValueOps& ops() const noexcept { return *ops_; }
  const Payload& payload() const noexcept { return payload_; }

 protected:
  Handle() noexcept : ops_(&null_ops), payload_{.pointer = nullptr} {}
  /// Takes over one reference.
  Handle(const ValueOps& ops, Payload payload) noexcept : ops_(&ops), payload_(payload) {}
  Handle(const Handle& other) noexcept : ops_(other.ops_), payload_(other.payload_) {
    if (ops_->retain != nullptr) ops_->retain(payload_);
  }
  /// `other` becomes null; a Text, List or Object that was moved from may only be assigned to or
  /// destroyed.
  Handle(Handle&& other) noexcept
      : ops_(std::exchange(other.ops_, &null_ops)),
        payload_(std::exchange(other.payload_, Payload{.pointer = nullptr})) {}
  Handle& operator=(const Handle& other) noexcept {
    Handle(other).swap(*this);
    return *this;
  }
  Handle& operator=(Handle&& other) noexcept {
    Handle(std::move(other)).swap(*this);
    return *this;
  }
  ~Handle() {
    if (ops_->release != nullptr) ops_->release(payload_);
  }

  void set_payload(Payload payload) noexcept { payload_ = payload; }
  void swap(Handle& other) noexcept {
    std::swap(ops_, other.ops_);
    std::swap(payload_, other.payload_);
  }

 private:
  const ValueOps* ops_;
  Payload payload_;
};

}  // namespace mcp_responses
