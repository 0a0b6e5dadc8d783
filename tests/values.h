// What the tests write values with.
#pragma once

#include <string>

#include "encode.h"
#include "value.h"

namespace mcp_responses {

inline Text operator""_t(const char* utf8, std::size_t size) {
  return Text(std::string_view(utf8, size));
}

inline std::string written(const Value& value) { return tool_result_text(value).utf8(); }

/// A value that somebody else holds, as a host interpreter would, and that counts what is asked of
/// it. Must outlive its handles.
class Foreign {
 public:
  explicit Foreign(Value content) : content_(std::move(content)) {}

  Value handle() {
    ++owners;
    const Payload payload{.pointer = this};
    return content_.kind() == Kind::string ? Value(text_holder, payload)
           : content_.kind() == Kind::list ? Value(list_holder, payload)
                                           : Value(object_holder, payload);
  }

  int owners = 0;
  int opened = 0;

 private:
  static Foreign& at(Payload payload) {
    return *static_cast<Foreign*>(const_cast<void*>(payload.pointer));
  }
  static void retain(Payload payload) noexcept { ++at(payload).owners; }
  static void release(Payload payload) noexcept { --at(payload).owners; }
  static TextView text(Payload payload) noexcept { return at(payload).content_.text()->view(); }
  static std::size_t size(Payload payload) noexcept { return *at(payload).content_.size(); }
  static Value open(Payload payload) {
    ++at(payload).opened;
    return at(payload).content_;
  }

  static Value get(Payload payload, const TextView& key) {
    return at(payload).content_.get(Text::copy_of(key));
  }

  static constexpr Holder text_holder{
      .kind = Kind::string, .retain = retain, .release = release, .text = text};
  static constexpr Holder list_holder{
      .kind = Kind::list, .retain = retain, .release = release, .size = size, .opened = open};
  static constexpr Holder object_holder{.kind = Kind::object,
                                        .retain = retain,
                                        .release = release,
                                        .size = size,
                                        .opened = open,
                                        .get = get};

  Value content_;
};

}  // namespace mcp_responses
