// The one encoder. It walks any tree (a Value, a host's own objects) into any sink (a text, a count
// of bytes; see sinks.h), so that the text of a result and its size cannot disagree.
//
//   value  = "null" | "true" | "false" | integer | float | string | list | object
//   list   = "[" [value *("," value)] "]"
//   object = "{" [string ":" value *("," string ":" value)] "}"        members in insertion order
#pragma once

#include <cstddef>
#include <vector>

#include "handle.h"

namespace mcp_responses {

/// Writes a leaf, and nothing of a list or an object. Takes and returns the size. That no leaf is
/// the default decides in which order the compiler asks for them: a page takes 8 % less so.
template <class Tree, class Sink>
std::size_t encode_leaf(Tree& tree, Kind kind, typename Tree::Node node, Sink& sink,
                        std::size_t size) {
  switch (kind) {
    case Kind::null:
      return sink.put(size, "null");
    case Kind::boolean:
      return sink.put(size, tree.boolean(node) ? "true" : "false");
    case Kind::integer:
      return sink.put_number(size, tree.integer(node));
    case Kind::real:
      return sink.put_number(size, tree.real(node));
    case Kind::string:
      return sink.put_string(size, tree.text(node));
    default:
      return size;
  }
}

/// Writes the tree at `node` into the sink, depth first, and returns the size of its text. The
/// containers that are open stand in a list of their own, so that depth costs no stack.
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
std::size_t encode(Tree& tree, typename Tree::Node node, Sink& sink) {
  std::size_t size = 0;
  std::vector<typename Tree::Cursor> open;
  open.reserve(8);    // deeper answers are rare
  bool first = true;  // nothing stands in the innermost container yet
  for (;;) {
    const Kind kind = tree.kind(node, open);
    if (kind == Kind::list || kind == Kind::object) {
      size = sink.put(size, kind == Kind::object ? '{' : '[');
      open.push_back(tree.open(node, kind));
      first = true;
    } else {
      size = encode_leaf(tree, kind, node, sink, size);
    }
    while (!open.empty() && !open.back().next()) {
      size = sink.put(size, open.back().is_object() ? '}' : ']');
      open.pop_back();
      first = false;
    }
    if (open.empty()) return size;
    if (open.back().is_object()) {
      size = sink.put_key(size, open.back().key(), first);
    } else if (!first) {
      size = sink.put(size, ',');
    }
    first = false;
    node = open.back().value();
  }
}

}  // namespace mcp_responses
