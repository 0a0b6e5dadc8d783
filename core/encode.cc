#include "encode.h"

#include <vector>

#include "detail/encoder.h"
#include "detail/sinks.h"
#include "errors.h"

namespace mcp_responses {
namespace {

/// A Value as the encoder walks it. A list or object held elsewhere is opened when it is met.
class ValueTree {
 public:
  using Node = const Value*;

  class Cursor {
   public:
    explicit Cursor(const Value& container)
        : list_(container.list()), object_(container.object()) {}

    bool is_object() const noexcept { return object_.has_value(); }
    bool next() noexcept { return ++past_ <= (is_object() ? object_->size() : list_->size()); }
    TextView key() const noexcept { return member().key.view(); }
    Node value() const noexcept { return is_object() ? &member().value : &(*list_)[past_ - 1]; }

   private:
    const Member& member() const noexcept { return object_->items()[past_ - 1]; }

    std::optional<List> list_;
    std::optional<Object> object_;
    std::size_t past_ = 0;
  };

  /// A value held elsewhere may stand in itself.
  static Kind kind(Node node, const std::vector<Cursor>& open) {
    const Kind kind = node->kind();
    if (open.size() == NestingError::most_levels && (kind == Kind::list || kind == Kind::object)) {
      throw NestingError();
    }
    return kind;
  }
  static bool boolean(Node node) noexcept { return *node->boolean(); }
  static std::int64_t integer(Node node) noexcept { return *node->integer(); }
  static double real(Node node) noexcept { return *node->real(); }
  static TextView text(Node node) noexcept { return *node->view(); }
  static Cursor open(Node node, Kind) { return Cursor(*node); }
};

}  // namespace

Text tool_result_text(const Value& result) {
  TextSink sink;
  ValueTree tree;
  encode(tree, &result, sink);
  return Text::copy_of(sink.view());
}

std::size_t _encoded_size(const Value& result) {
  CountSink sink;
  ValueTree tree;
  encode(tree, &result, sink);
  return sink.bytes();
}

std::size_t encoded_string_size(const TextView& string) {
  CountSink sink;
  sink.put_string(string);
  return sink.bytes();
}

}  // namespace mcp_responses
