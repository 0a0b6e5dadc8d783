// Copies of trees of Python objects, without a conversion to Values.
#pragma once

#include <utility>

#include "py_object.h"
#include "py_ref.h"

namespace mcp_responses {

/// A deep copy: lists and dicts are new at every depth, tuples become lists, keys become strings,
/// and instances of subclasses become instances of the base type. Other leaves are shared. Throws
/// `UnsupportedObject`, `NestingError` and `PythonError`.
PyRef plain_copy(PyObject* root);

/// The same for a dict, without the members whose value is None. Converting to an Object for
/// `without_nulls` and back takes four times as long.
PyRef copy_without_nulls(PyObject* dict);

/// The object that an answer contains for one that a builder passes through: the object itself if it
/// can be shared, otherwise a copy.
inline PyRef pass_through(PyRef object) {
  return is_shareable(object.get()) ? std::move(object) : plain_copy(object.get());
}

/// True if all keys of a dict are exactly str.
bool all_keys_are_strings(PyObject* dict) noexcept;

/// True if all keys of a dict are exactly str, and it iterates in the order of its entries.
inline bool has_string_keys(PyObject* dict) noexcept {
  if (has_own_order(dict)) return false;
  return unicode_keys_of(dict) != nullptr || all_keys_are_strings(dict);
}

/// The dict itself if it has such keys, otherwise a copy in which each other key is the string that the
/// encoding writes for it. Of several keys with the same string, the first determines the position and
/// the last the value. An OrderedDict is copied in its own order.
PyRef with_string_keys(PyObject* dict);

/// A key as a str: the text that the encoding writes for it. Throws `UnsupportedObject`.
PyRef key_string(PyObject* key);

}  // namespace mcp_responses
