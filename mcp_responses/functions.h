// The bodies of the module's functions: each takes its arguments from the call, calls one function
// of the library and gives the answer as a new reference to a host object. What the arguments and
// answers are is told where callers read it, in signatures.cc. Arguments are named by their
// position among the parameters there, counted from 0. A body throws what crosses to the host as
// its error (see py_errors.h); when no value can stand for an argument, the call's edge says
// which. Of several arguments that cannot be taken, the first counts: each is asked for in a
// statement of its own, for C++ leaves open which argument of a call comes first.
#pragma once

#include "call.h"
#include "py_ref.h"

namespace mcp_responses::functions {

PyRef tool_result_text(Call& call);
PyRef first_sentence(Call& call);
PyRef code_lines(Call& call);
PyRef cut(Call& call);
PyRef without_nulls(Call& call);
PyRef build_index_status_response(Call& call);
PyRef build_symbol_search_result(Call& call);
PyRef build_symbol_full_details(Call& call);
PyRef outline_module(Call& call);
PyRef build_file_symbol(Call& call);
PyRef build_api_endpoint(Call& call);
PyRef build_reference(Call& call);
PyRef build_component(Call& call);
PyRef build_paginated_response(Call& call);
PyRef build_test_coverage(Call& call);
PyRef build_empty_paginated_response(Call& call);
PyRef build_wiki_status_response(Call& call);
PyRef build_wiki_list_response(Call& call);
PyRef build_wiki_read_response(Call& call);
PyRef build_wiki_ask_response(Call& call);
PyRef ask_citations(Call& call);
PyRef trimmed(Call& call);
PyRef encoded_size(Call& call);
PyRef get_empty_response(Call& call);

}  // namespace mcp_responses::functions
