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

  template <class Content>
  void put(Content content) {
    offset_ = sink_.put(offset_, content);
  }
  template <class Number>
  void put_number(Number number) {
    offset_ = sink_.put_number(offset_, number);
  }
  void put_string(const TextView& text) { offset_ = sink_.put_string(offset_, text); }
  void put_key(const TextView& key, bool is_first) {
    offset_ = sink_.put_key(offset_, key, is_first);
  }
  std::size_t size() const noexcept { return offset_; }

 private:
  Sink& sink_;
  std::size_t offset_ = 0;
};

/// Writes a leaf. Does nothing for a list or an object.
///
/// The default case is not a leaf, because the compiler would then test the kinds in another order: a
/// page took 8 % longer.
template <class Tree, class Sink>
void encode_leaf(Tree& tree, Kind kind, typename Tree::Node node, Writer<Sink>& out) {
  switch (kind) {
    case Kind::null:
      return out.put(std::string_view("null"));
    case Kind::boolean:
      return out.put(std::string_view(tree.boolean(node) ? "true" : "false"));
    case Kind::integer:
      return out.put_number(tree.integer(node));
    case Kind::real:
      return out.put_number(tree.real(node));
    case Kind::string:
      return out.put_string(tree.text(node));
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
///   open(node, kind)       a Cursor before the first element of a list or member of an object
///   key(cursor)            the key of a member
///
/// A Cursor has next() (moves to an element or member; false after the last), value() and is_object().
template <class Tree, class Sink>
std::size_t encode(Tree& tree, typename Tree::Node node, Sink& sink) {
  Writer out(sink);
  std::vector<typename Tree::Cursor> path;
  path.reserve(8);       // deeper answers are rare
  bool is_first = true;  // no element of the innermost container is written yet
  for (;;) {
    const Kind kind = tree.kind(node, path);
    if (kind == Kind::list || kind == Kind::object) {
      check_nesting(path.size(), tree.max_nesting());
      out.put(kind == Kind::object ? '{' : '[');
      path.push_back(tree.open(node, kind));
      is_first = true;
    } else {
      encode_leaf(tree, kind, node, out);
    }
    while (!path.empty() && !path.back().next()) {
      out.put(path.back().is_object() ? '}' : ']');
      path.pop_back();
      is_first = false;
    }
    if (path.empty()) return out.size();
    if (path.back().is_object()) {
      out.put_key(tree.key(path.back()), is_first);
    } else if (!is_first) {
      out.put(',');
    }
    is_first = false;
    node = path.back().value();
  }
}

}  // namespace mcp_responses::detail
