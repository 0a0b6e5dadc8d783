// What a module object keeps for as long as it lives: names, dicts, places and memory that would
// otherwise be made anew for every call. Each interpreter, and each import, has its own.
#pragma once

#include "cpython_layout.h"
#include "detail/sinks.h"
#include "py_dict.h"
#include "py_names.h"

namespace mcp_responses {

struct State {
  InternedStrings names;
  AnswerConverter dicts{names};
  AttributePlaces places;
  TextBuffer text_buffer;
};

/// The state that a module object keeps; null before it is loaded.
State* state_of(PyObject* module) noexcept;

}  // namespace mcp_responses
