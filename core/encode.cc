#include "encode.h"

#include <span>
#include <vector>

#include "detail/encoder.h"
#include "detail/sinks.h"
#include "errors.h"

namespace mcp_responses {
namespace {

/// A Tree for the encoder. A foreign list or object is converted when it is reached.
class ValueTree {
 public:
  using Node = const Value*;

  class Cursor {
   public:
    Cursor() noexcept = default;
    explicit Cursor(const Value& container) : is_object_(container.kind() == Kind::object) {
      if (container.is_foreign()) converted_ = container.ops().materialized(container.payload());
      const Value& own = container.is_foreign() ? converted_ : container;
      if (is_object_) {
        members_ = own.members();
      } else {
        elements_ = own.elements();
      }
    }

    bool is_object() const noexcept { return is_object_; }
    bool next() noexcept { return ++next_ <= (is_object_ ? members_.size() : elements_.size()); }
    TextView key() const noexcept { return members_[next_ - 1].key.view(); }
    Node value() const noexcept {
      return is_object_ ? &members_[next_ - 1].value : &elements_[next_ - 1];
    }

   private:
    bool is_object_ = false;
    Value converted_;  // owns the elements or members of a foreign container
    std::span<const Value> elements_;
    std::span<const Member> members_;
    std::size_t next_ = 0;
  };

  static Kind kind(Node node, const std::vector<Cursor>& /*path*/) { return node->kind(); }
  static std::size_t max_nesting() noexcept { return NestingError::max_levels; }
  static bool boolean(Node node) noexcept { return *node->boolean(); }
  static std::int64_t integer(Node node) noexcept { return *node->integer(); }
  static double real(Node node) noexcept { return *node->real(); }
  static TextView text(Node node) noexcept { return *node->view(); }
  static Cursor open(Node node, Kind, const std::vector<Cursor>&) { return Cursor(*node); }
  static TextView key(const Cursor& cursor) noexcept { return cursor.key(); }
};

}  // namespace

Text tool_result_text(const Value& result) {
  detail::TextSink sink;
  ValueTree tree;
  const std::size_t size = detail::encode(tree, &result, sink);
  return Text::copy_of(sink.view(size));
}

std::size_t encoded_size(const Value& result) {
  const auto foreign_size = result.ops().encoded_size;
  if (foreign_size != nullptr) return foreign_size(result.payload());
  detail::CountSink sink;
  ValueTree tree;
  return detail::encode(tree, &result, sink);
}

std::size_t encoded_string_size(const TextView& string) {
  return detail::CountSink::put_string(0, string, ',') - 1;
}

}  // namespace mcp_responses
