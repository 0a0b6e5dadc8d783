// Helpers of the tests for values.
#pragma once

#include <string>

#include "encode.h"
#include "value.h"

namespace mcp_responses {

inline Text operator""_t(const char* utf8, std::size_t size) {
  return Text(std::string_view(utf8, size));
}

inline std::string written(const Value& value) { return tool_result_text(value).utf8(); }

/// A string, list or object that is stored outside of the library, like a Python object. Counts its
/// owners and materializations. Must outlive its handles.
class Foreign {
 public:
  explicit Foreign(Value content) : content_(std::move(content)) {}

  Value handle() {
    ++owners;
    const detail::Payload payload{.pointer = this};
    return content_.kind() == Kind::string ? Value(ops<Kind::string>(), payload)
           : content_.kind() == Kind::list ? Value(ops<Kind::list>(), payload)
                                           : Value(ops<Kind::object>(), payload);
  }

  int owners = 0;
  int materialized = 0;

 private:
  static Foreign& at(detail::Payload payload) { return *static_cast<Foreign*>(payload.pointer); }

  /// Also has functions that its kind does not need. They are never called.
  template <Kind held>
  static const detail::ValueOps& ops() {
    static constexpr detail::ValueOps ops{
        .kind = held,
        .retain = [](detail::Payload payload) noexcept { ++at(payload).owners; },
        .release = [](detail::Payload payload) noexcept { --at(payload).owners; },
        .text =
            [](detail::Payload payload) noexcept { return at(payload).content_.text()->view(); },
        .size = [](detail::Payload payload) noexcept { return *at(payload).content_.size(); },
        .materialized =
            [](detail::Payload payload) {
              return ++at(payload).materialized, at(payload).content_;
            },
        .get = [](detail::Payload payload,
                  const TextView& key) { return at(payload).content_.get(Text::copy_of(key)); }};
    return ops;
  }

  Value content_;
};

}  // namespace mcp_responses
