// Handle: what Text and Value have in common, 16 bytes that own one value however it is held.
//
// A value may be held in place (a number), by this library (reference-counted storage), by the
// program (a fixed word) or by a host interpreter (its own object, kept alive). Each way of holding
// is one static table of functions, the Holder; a handle is a pointer to it and a payload. So
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
struct Holder {
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
  Value (*opened)(Payload) = nullptr;
  /// The value under a key of an object held elsewhere, or null. Null with `opened`.
  Value (*get)(Payload, const TextView& key) = nullptr;
  /// The bytes of the text of a list or an object held elsewhere. Null with `opened`.
  std::size_t (*encoded_size)(Payload) = nullptr;
};

extern const Holder null_holder;

/// Only what is derived from it can be made, copied, assigned or destroyed: a handle that took
/// another one's value without asking what kind it is would be a Text that holds a list.
class Handle {
 public:
  const Holder& holder() const noexcept { return *holder_; }
  const Payload& payload() const noexcept { return payload_; }

 protected:
  Handle() noexcept : holder_(&null_holder), payload_{.pointer = nullptr} {}
  /// Takes over one reference.
  Handle(const Holder& holder, Payload payload) noexcept : holder_(&holder), payload_(payload) {}
  Handle(const Handle& other) noexcept : holder_(other.holder_), payload_(other.payload_) {
    if (holder_->retain != nullptr) holder_->retain(payload_);
  }
  /// `other` becomes null; a Text, List or Object that was moved from may only be assigned to or
  /// destroyed.
  Handle(Handle&& other) noexcept
      : holder_(std::exchange(other.holder_, &null_holder)),
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
    if (holder_->release != nullptr) holder_->release(payload_);
  }

  void set_payload(Payload payload) noexcept { payload_ = payload; }
  void swap(Handle& other) noexcept {
    std::swap(holder_, other.holder_);
    std::swap(payload_, other.payload_);
  }

 private:
  const Holder* holder_;
  Payload payload_;
};

}  // namespace mcp_responses
