#include "encode.h"

#include <span>
#include <vector>

#include "detail/containers.h"
#include "detail/encoder.h"
#include "detail/sinks.h"
#include "errors.h"

namespace mcp_responses {
namespace {

/// A Value as the encoder walks it. A list or object held elsewhere is materialized when it is met.
class ValueTree {
 public:
  using Node = const Value*;

  class Cursor {
   public:
    Cursor(const Value& container, Kind kind) : is_object_(kind == Kind::object) {
      const ValueOps& ops = container.ops();
      if (ops.materialized != nullptr) materialized_ = ops.materialized(container.payload());
      const Value& own = ops.materialized == nullptr ? container : materialized_;
      if (is_object_) {
        members_ = members_of(own);
      } else {
        elements_ = elements_of(own);
      }
    }

    bool is_object() const noexcept { return is_object_; }
    bool next() noexcept { return ++past_ <= (is_object_ ? members_.size() : elements_.size()); }
    TextView key() const noexcept { return members_[past_ - 1].key.view(); }
    Node value() const noexcept {
      return is_object_ ? &members_[past_ - 1].value : &elements_[past_ - 1];
    }

   private:
    bool is_object_;
    Value materialized_;  // of a container that is held elsewhere: keeps what the spans show alive
    std::span<const Value> elements_;
    std::span<const Member> members_;
    std::size_t past_ = 0;
  };

  /// A value held elsewhere may stand in itself.
  static Kind kind(Node node, const std::vector<Cursor>& open) {
    const Kind kind = node->kind();
    if (open.size() == NestingError::max_levels && (kind == Kind::list || kind == Kind::object)) {
      throw NestingError();
    }
    return kind;
  }
  static bool boolean(Node node) noexcept { return *node->boolean(); }
  static std::int64_t integer(Node node) noexcept { return *node->integer(); }
  static double real(Node node) noexcept { return *node->real(); }
  static TextView text(Node node) noexcept { return *node->view(); }
  static Cursor open(Node node, Kind kind) { return {*node, kind}; }
};

}  // namespace

Text tool_result_text(const Value& result) {
  TextSink sink;
  ValueTree tree;
  const std::size_t size = encode(tree, &result, sink);
  return Text::copy_of(sink.view(size));
}

std::size_t _encoded_size(const Value& result) {
  const ValueOps& ops = result.ops();
  if (ops.encoded_size != nullptr) return ops.encoded_size(result.payload());
  CountSink sink;
  ValueTree tree;
  return encode(tree, &result, sink);
}

std::size_t encoded_string_size(const TextView& string) { return CountSink::put_string(0, string); }

}  // namespace mcp_responses
