// Handle: the base of Text and Value, 16 bytes that own one value in any representation.
//
// A representation is an inline number, reference-counted storage of this library, a literal of the
// program, or an object of a foreign runtime, such as Python, which the handle keeps alive. Each has
// one static table of functions, its ValueOps, like a vtable. A handle is a pointer to that table and
// a payload. So `core` carries foreign objects without depending on their runtime.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace mcp_responses {

class Value;
struct StringLiteral;
struct TextView;

enum class Kind : std::uint8_t { null, boolean, integer, real, string, list, object };

namespace detail {

union Payload {
  bool boolean;
  std::int64_t integer;
  double real;
  const StringLiteral* literal;
  void* pointer;  // storage of this library, or a foreign object
};

/// The operations of one representation of one kind. An operation is null where the table has a dash:
///
///                                  retain    text  size  materialized
///                                  release               get, encoded_size
///   null                           -         yes   -     -
///   boolean, integer, float        -         -     -     -
///   string                         counted   yes   -     -
///   list                           yes       -     yes   foreign (without get)
///   object                         yes       -     yes   foreign
///
/// "foreign": only for an object of a foreign runtime; "counted": for every string except a literal.
struct ValueOps {
  Kind kind;
  /// Adds an owner, or removes one.
  void (*retain)(Payload) noexcept = nullptr;
  void (*release)(Payload) noexcept = nullptr;
  /// The characters of a string. Empty for null, because a Text that was moved from is null.
  TextView (*text)(Payload) noexcept = nullptr;
  /// The number of elements of a list, or of members of an object.
  std::size_t (*size)(Payload) noexcept = nullptr;
  /// A foreign list or object, converted to storage of this library, one level deep.
  Value (*materialized)(Payload) = nullptr;
  /// The value of a key in a foreign object; null if there is none.
  Value (*get)(Payload, const TextView& key) = nullptr;
  /// The size of a foreign list's or object's JSON text in UTF-8, in bytes. Optional: without it, the
  /// encoder converts the container.
  std::size_t (*encoded_size)(Payload) = nullptr;
};

extern const ValueOps null_ops;

/// Only derived classes can create, copy, assign or destroy a handle: a Text that was assigned from
/// any handle could hold a list.
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
  /// `other` becomes null. A Text, List or Object that was moved from may only be assigned to or
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

}  // namespace detail
}  // namespace mcp_responses
