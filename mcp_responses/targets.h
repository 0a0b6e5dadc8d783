// What each function of the module does: takes its arguments, calls the library, hands the answer
// to the host.
#pragma once

#include "function_type.h"
#include "host_ref.h"

namespace mcp_responses::targets {

HostRef tool_result_text(const Call& call);
HostRef first_sentence(const Call& call);
HostRef code_lines(const Call& call);
HostRef cut(const Call& call);
HostRef without_nulls(const Call& call);
HostRef build_index_status_response(const Call& call);
HostRef build_symbol_search_result(const Call& call);
HostRef build_symbol_full_details(const Call& call);
HostRef outline_module(const Call& call);
HostRef build_file_symbol(const Call& call);
HostRef build_api_endpoint(const Call& call);
HostRef build_reference(const Call& call);
HostRef build_component(const Call& call);
HostRef build_paginated_response(const Call& call);
HostRef build_test_coverage(const Call& call);
HostRef build_empty_paginated_response(const Call& call);
HostRef build_wiki_status_response(const Call& call);
HostRef build_wiki_list_response(const Call& call);
HostRef build_wiki_read_response(const Call& call);
HostRef build_wiki_ask_response(const Call& call);
HostRef ask_citations(const Call& call);
HostRef trimmed(const Call& call);
HostRef encoded_size(const Call& call);
HostRef get_empty_response(const Call& call);

}  // namespace mcp_responses::targets
