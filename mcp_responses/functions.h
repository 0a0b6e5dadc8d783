// The bodies of the module's functions. Each reads its arguments from the call, calls one function of
// the library, and returns the answer as a new reference. signatures.cc documents the arguments and
// the answers. Arguments are numbered from 0, in the order of the parameters.
//
// If several arguments are invalid, the first one is reported. C++ does not define the order in which
// the arguments of a function call are evaluated, so each is read in a statement of its own, or in
// braces, which do define it.
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
