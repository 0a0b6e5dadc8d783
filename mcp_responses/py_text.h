// Python strings as texts, in place, and texts as Python strings.
#pragma once

#include "cpython_layout.h"
#include "cuts.h"
#include "detail/handle.h"
#include "py_ref.h"
#include "text.h"

namespace mcp_responses {

/// The characters of a str, or of a subclass, in place. Requires a str on which `ensure_ready` was
/// called. Valid while the str lives.
inline TextView view_of(PyObject* string) noexcept {
  const Py_UCS4 highest = PyUnicode_MAX_CHAR_VALUE(string);
  const Repertoire repertoire = highest < 0x80      ? Repertoire::ascii
                                : highest < 0x100   ? Repertoire::latin1
                                : highest < 0x10000 ? Repertoire::bmp
                                                    : Repertoire::full;
  return {PyUnicode_DATA(string), static_cast<std::size_t>(PyUnicode_GET_LENGTH(string)),
          repertoire};
}

/// A text that refers to a str: the str itself if it is exactly one, otherwise a copy of its base
/// type. Requires a str or an instance of a subclass. Throws `PythonError`.
Text to_text(PyRef string);

/// The object that a payload refers to, borrowed, and the operations of its references.
inline PyObject* object_in(detail::Payload payload) noexcept {
  return static_cast<PyObject*>(payload.pointer);
}
inline void retain_object(detail::Payload payload) noexcept { Py_INCREF(object_in(payload)); }
inline void release_object(detail::Payload payload) noexcept { decref(object_in(payload)); }

/// The operations of texts that refer to a str.
extern const detail::ValueOps py_string_ops;

/// A str with the characters of a text: the str that the text refers to, or else a new one. Throws
/// `PythonError`.
PyRef string_of(const Text& text);

/// A new str of a text that was cut. Throws `PythonError`.
PyRef string_of(const Cut& cut);

/// A new str of these characters. Requires an exact repertoire, because CPython requires the narrowest
/// representation. Throws `PythonError`.
PyRef new_string(const TextView& characters);

/// The first sentence of a str, as `first_sentence` defines it, or None. Throws `PythonError`.
PyRef first_sentence_of(PyObject* docstring);

}  // namespace mcp_responses
