// The one encoder. It walks any tree (a Value, a host's own objects) into any sink (a text, a count
// of bytes; see sinks.h), so that the text of a result and its size cannot disagree.
//
//   value  = "null" | "true" | "false" | integer | float | string | list | object
//   list   = "[" [value *("," value)] "]"
//   object = "{" [string ":" value *("," string ":" value)] "}"        members in insertion order
#pragma once

#include <vector>

#include "detail/handle.h"

namespace mcp_responses {

/// Writes a value that holds no others; false for a list or an object.
template <class Tree, class Sink>
bool encode_leaf(Tree& tree, Kind kind, typename Tree::Node node, Sink& sink) {
  switch (kind) {
    case Kind::null:
      sink.put("null");
      return true;
    case Kind::boolean:
      sink.put(tree.boolean(node) ? "true" : "false");
      return true;
    case Kind::integer:
      sink.put_number(tree.integer(node));
      return true;
    case Kind::real:
      sink.put_number(tree.real(node));
      return true;
    case Kind::string:
      sink.put_string(tree.text(node));
      return true;
    default:
      return false;
  }
}

/// Writes the tree at `node` into the sink, depth first. The containers that are open stand in a
/// list of their own, so that depth costs no stack.
///
/// A Tree has types Node and Cursor, and
///
///   kind(node, open)       the node's kind; `open` are the cursors of the containers around it.
///                          Throws where the tree must not be walked further
///   boolean(node), integer(node), real(node), text(node)
///                          the content of a leaf of that kind
///   open(node, kind)       a Cursor before the first element of a list or member of an object
///
/// A Cursor has next() (on to an element or member; false past the end), value(), is_object() and,
/// if so, key().
template <class Tree, class Sink>
void encode(Tree& tree, typename Tree::Node node, Sink& sink) {
  std::vector<typename Tree::Cursor> open;
  open.reserve(8);    // deeper answers are rare
  bool first = true;  // nothing stands in the innermost container yet
  for (;;) {
    const Kind kind = tree.kind(node, open);
    if (!encode_leaf(tree, kind, node, sink)) {
      sink.put(kind == Kind::object ? '{' : '[');
      open.push_back(tree.open(node, kind));
      first = true;
    }
    while (!open.empty() && !open.back().next()) {
      sink.put(open.back().is_object() ? '}' : ']');
      open.pop_back();
      first = false;
    }
    if (open.empty()) return;
    if (open.back().is_object()) {
      sink.put_key(open.back().key(), first);
    } else if (!first) {
      sink.put(',');
    }
    first = false;
    node = open.back().value();
  }
}

}  // namespace mcp_responses
