// The bodies of the module's functions: each takes its arguments from the call, calls one function
// of the library and gives the answer as a new reference to a host object. What the arguments and
// answers are is told where callers read it, in signatures.cc. Arguments are named by their
// position among the parameters there, counted from 0. A body throws what crosses to the host as
// its error (see host_errors.h); when no value can stand for an argument, the call's edge says
// which. Of several arguments that cannot be taken, the first counts: each is asked for in a
// statement of its own, for C++ leaves open which argument of a call comes first.
#pragma once

#include "call.h"
#include "host_ref.h"

namespace mcp_responses::functions {

HostRef tool_result_text(Call& call);
HostRef first_sentence(Call& call);
HostRef code_lines(Call& call);
HostRef cut(Call& call);
HostRef without_nulls(Call& call);
HostRef build_index_status_response(Call& call);
HostRef build_symbol_search_result(Call& call);
HostRef build_symbol_full_details(Call& call);
HostRef outline_module(Call& call);
HostRef build_file_symbol(Call& call);
HostRef build_api_endpoint(Call& call);
HostRef build_reference(Call& call);
HostRef build_component(Call& call);
HostRef build_paginated_response(Call& call);
HostRef build_test_coverage(Call& call);
HostRef build_empty_paginated_response(Call& call);
HostRef build_wiki_status_response(Call& call);
HostRef build_wiki_list_response(Call& call);
HostRef build_wiki_read_response(Call& call);
HostRef build_wiki_ask_response(Call& call);
HostRef ask_citations(Call& call);
HostRef trimmed(Call& call);
HostRef encoded_size(Call& call);
HostRef get_empty_response(Call& call);

}  // namespace mcp_responses::functions
