// The encoder. It traverses any tree (a Value, a Python object) and writes to any sink (a text, a count
// of bytes; see sinks.h), so the size of a result cannot disagree with its text.
//
//   value  = "null" | "true" | "false" | integer | float | string | list | object
//   list   = "[" [value *("," value)] "]"
//   object = "{" [string ":" value *("," string ":" value)] "}"        members in insertion order
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "errors.h"
#include "handle.h"
#include "text.h"

namespace mcp_responses::detail {

/// Appends to a sink. The encoder holds it by value, so that the offset stays in a register: a member
/// of the sink would be stored and loaded again at each call.
template <class Sink>
class Writer {
 public:
  explicit Writer(Sink& sink) noexcept : sink_(sink) {}

  void put(std::string_view ascii) { offset_ = sink_.put(offset_, ascii); }
  template <class Number>
  void put_number(Number number) {
    offset_ = sink_.put_number(offset_, number);
  }
  void put_string(const TextView& text, char delimiter) {
    offset_ = sink_.put_string(offset_, text, delimiter);
  }
  /// Removes the comma after the last value. Requires one.
  void drop_comma() noexcept { --offset_; }
  std::size_t size() const noexcept { return offset_; }

 private:
  Sink& sink_;
  std::size_t offset_ = 0;
};

/// Writes a leaf and a comma. Does nothing for a list or an object.
///
/// Each leaf has its own case: with a leaf as the default case, the compiler tests the kinds in another
/// order, and a page took 8 % longer.
template <class Tree, class Sink>
void encode_leaf(Tree& tree, Kind kind, typename Tree::Node node, Writer<Sink>& out) {
  switch (kind) {
    case Kind::null:
      return out.put("null,");
    case Kind::boolean:
      return tree.boolean(node) ? out.put("true,") : out.put("false,");
    case Kind::integer:
      return out.put_number(tree.integer(node));
    case Kind::real:
      return out.put_number(tree.real(node));
    case Kind::string:
      return out.put_string(tree.text(node), ',');
    default:
      return;
  }
}

/// Writes the tree with the root `node`, depth first, and returns the size of its text. An explicit
/// stack holds the path of open containers, because trees may be nested deeply. Throws
/// `NestingError`.
///
/// A Tree has types Node and Cursor, and
///
///   kind(node, path)       the node's kind; `path` holds the cursors of the containers around it.
///                          Throws if the node cannot be encoded
///   max_nesting()          the limit of the length of the path
///   boolean(node), integer(node), real(node), text(node)
///                          the content of a leaf of that kind
///   open(node, kind, path) a Cursor before the first element of a list or member of an object
///   key(cursor)            the key of a member
///
/// A Cursor has next() (moves to an element or member; false after the last), value() and is_object().
/// It can be copied, and created without a container.
///
/// A comma is written after each value, and removed after the last one of its container: this costs
/// less than a test before each value.
template <class Tree, class Sink>
std::size_t encode(Tree& tree, typename Tree::Node node, Sink& sink) {
  Writer out(sink);
  std::vector<typename Tree::Cursor> path;
  path.reserve(8);           // deeper answers are rare
  typename Tree::Cursor at;  // the innermost container's; of a PyTree, it stays in registers
  bool is_empty = false;     // no element of that container is written yet
  for (;;) {
    const Kind kind = tree.kind(node, path);
    if (kind == Kind::list || kind == Kind::object) [[unlikely]] {
      check_nesting(path.size(), tree.max_nesting());
      out.put(kind == Kind::object ? "{" : "[");
      if (!path.empty()) path.back() = at;
      at = tree.open(node, kind, path);
      path.push_back(at);
      is_empty = true;
    } else {
      encode_leaf(tree, kind, node, out);
      is_empty = false;
    }
    while (!path.empty() && !at.next()) {
      if (!is_empty) out.drop_comma();
      out.put(at.is_object() ? "}," : "],");
      is_empty = false;
      path.pop_back();
      if (!path.empty()) at = path.back();
    }
    if (path.empty()) [[unlikely]]
      break;
    if (at.is_object()) out.put_string(tree.key(at), ':');
    node = at.value();
  }
  out.drop_comma();
  return out.size();
}

}  // namespace mcp_responses::detail
