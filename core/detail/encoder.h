// The encoder. It traverses any tree (a Value, a Python object) and writes to any sink (a text, a count
// of bytes; see sinks.h), so the size of a result cannot disagree with its text.
//
//   value  = "null" | "true" | "false" | integer | float | string | list | object
//   list   = "[" [value *("," value)] "]"
//   object = "{" [string ":" value *("," string ":" value)] "}"        members in insertion order
#pragma once

#include <cstddef>
#include <vector>

#include "errors.h"
#include "handle.h"

namespace mcp_responses {

/// Writes a leaf; for a list or an object, nothing. Returns the offset after it.
///
/// The switch has no leaf as its default, because the compiler then tests the kinds in another order:
/// a page took 8 % longer.
template <class Tree, class Sink>
std::size_t encode_leaf(Tree& tree, Kind kind, typename Tree::Node node, Sink& sink,
                        std::size_t offset) {
  switch (kind) {
    case Kind::null:
      return sink.put(offset, "null");
    case Kind::boolean:
      return sink.put(offset, tree.boolean(node) ? "true" : "false");
    case Kind::integer:
      return sink.put_number(offset, tree.integer(node));
    case Kind::real:
      return sink.put_number(offset, tree.real(node));
    case Kind::string:
      return sink.put_string(offset, tree.text(node));
    default:
      return offset;
  }
}

/// Writes the tree from `node` on, depth first, and returns the size of its text. An explicit stack
/// holds the path of open containers, because trees may be nested deeply. Throws `NestingError`.
///
/// A Tree has types Node and Cursor, and
///
///   kind(node, path)       the node's kind; `path` holds the cursors of the containers around it.
///                          Throws if the node cannot be encoded
///   max_nesting()          the limit of the length of the path
///   boolean(node), integer(node), real(node), text(node)
///                          the content of a leaf of that kind
///   open(node, kind)       a Cursor before the first element of a list or member of an object
///
/// A Cursor has next() (moves to an element or member; false after the last), value(), is_object(),
/// and key() for an object.
template <class Tree, class Sink>
std::size_t encode(Tree& tree, typename Tree::Node node, Sink& sink) {
  std::size_t offset = 0;
  std::vector<typename Tree::Cursor> path;
  path.reserve(8);       // deeper answers are rare
  bool is_first = true;  // the innermost container has no element yet
  for (;;) {
    const Kind kind = tree.kind(node, path);
    if (kind == Kind::list || kind == Kind::object) {
      check_nesting(path.size(), tree.max_nesting());
      offset = sink.put(offset, kind == Kind::object ? '{' : '[');
      path.push_back(tree.open(node, kind));
      is_first = true;
    } else {
      offset = encode_leaf(tree, kind, node, sink, offset);
    }
    while (!path.empty() && !path.back().next()) {
      offset = sink.put(offset, path.back().is_object() ? '}' : ']');
      path.pop_back();
      is_first = false;
    }
    if (path.empty()) return offset;
    if (path.back().is_object()) {
      offset = sink.put_key(offset, path.back().key(), is_first);
    } else if (!is_first) {
      offset = sink.put(offset, ',');
    }
    is_first = false;
    node = path.back().value();
  }
}

}  // namespace mcp_responses
