// The bodies of the module's functions. Each reads its arguments from the call, calls one function of
// the library, and returns the answer as a new reference. namespace.py declares the functions, with
// their parameters and documentation. Arguments are numbered from 0, in the order of the parameters.
//
// If several arguments are invalid, the first one is reported. C++ does not define the order in which
// the arguments of a function call are evaluated, so each is read in a statement of its own, or in
// braces, which do define it.
#pragma once

#include <array>

#include "call.h"
#include "py_ref.h"

namespace mcp_responses {

struct FunctionBody {
  const char* name;
  PyRef (*body)(Call& call);
};

/// One for each function of namespace.py.
extern const std::array<FunctionBody, 24> function_bodies;

/// The body of `code_lines`, in code_lines_function.cc.
PyRef code_lines_body(Call& call);

}  // namespace mcp_responses
