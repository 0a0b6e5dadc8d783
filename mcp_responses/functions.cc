#include "functions.h"

#include <string>
#include <utility>
#include <vector>

#include "ask_citations.h"
#include "ask_response.h"
#include "cuts.h"
#include "empty_responses.h"
#include "host_copy.h"
#include "host_encode.h"
#include "host_errors.h"
#include "host_value.h"
#include "index_status.h"
#include "outline_rows.h"
#include "pagination.h"
#include "reference_rows.h"
#include "symbol_rows.h"
#include "wiki_pages.h"

namespace mcp_responses::functions {
namespace {

HostRef shortened(Call& call, Cut (*shorten)(const TextView&, std::int64_t) noexcept) {
  const Text text = call.text(0);
  const Cut cut = shorten(text.view(), call.integer(1));
  return cut.kept.size == text.size() ? string_of(text) : string_of(cut);
}

}  // namespace

HostRef tool_result_text(Call& call) { return encoded_host_text(call[0], call.text_buffer()); }

HostRef encoded_size(Call& call) { return checked(PyLong_FromSize_t(encoded_host_size(call[0]))); }

HostRef first_sentence(Call& call) {
  if (call[0] == Py_None) return HostRef::borrow(Py_None);
  if (!PyUnicode_Check(call[0])) raise_wrong_type("docstring", "str or None", call[0]);
  return first_sentence_of(call[0]);
}

HostRef cut(Call& call) { return shortened(call, cut_of); }

HostRef trimmed(Call& call) { return shortened(call, trimmed_of); }

HostRef without_nulls(Call& call) { return plain_copy_without_nulls(call.dict(0)); }

HostRef build_index_status_response(Call& call) {
  return call.answer(index_status(IndexStatusOf<HostRef>{.status = call.handed_on(0),
                                                         .health = call.handed_on(1),
                                                         .branch = call.handed_on(2),
                                                         .progress = call.handed_on(3),
                                                         .files_indexed = call.handed_on(4),
                                                         .symbols_indexed = call.handed_on(5),
                                                         .last_updated = call.handed_on(6),
                                                         .errors_count = call.handed_on(7),
                                                         .phase = call.looked_into(8),
                                                         .phase_detail = call.looked_into(9)}));
}

HostRef build_symbol_search_result(Call& call) {
  return call.answer(symbol_search_result(call.record(), call.handed_on(1)));
}

HostRef build_symbol_full_details(Call& call) {
  return call.answer(symbol_full_details(call.record(), call.handed_on(1)));
}

HostRef outline_module(Call& call) {
  std::vector<Text> fqns;
  call.for_each_in(0, [&fqns](HostRef fqn) {
    if (!PyUnicode_Check(fqn.get()))
      raise_wrong_type("fqns[" + std::to_string(fqns.size()) + "]", "str", fqn.get());
    fqns.push_back(to_text(std::move(fqn)));
  });
  return string_of(mcp_responses::outline_module(fqns));
}

HostRef build_file_symbol(Call& call) {
  return call.answer(file_symbol(call.record(), call.looked_into(1)));
}

HostRef build_api_endpoint(Call& call) {
  Value file_path = call.looked_into(1);
  HostRef component = call.handed_on(2);
  return call.answer(api_endpoint(call.record(), std::move(file_path), std::move(component)));
}

HostRef build_reference(Call& call) {
  return call.answer(reference_row(call.record(), call.handed_on(1)));
}

HostRef build_component(Call& call) { return call.answer(component_row(call.record())); }

HostRef build_paginated_response(Call& call) {
  HostRef hinted;
  const auto add_pagination_hint = [&](const Object& response, std::int64_t item_count) -> Value {
    const HostRef page = call.answer(response);
    const HostRef count = checked(PyLong_FromLongLong(item_count));
    const HostRef function = call.global(word<"add_pagination_hint">);
    PyObject* const arguments[] = {page.get(), count.get()};
    hinted = checked(
        in_host([&] { return PyObject_Vectorcall(function.get(), arguments, 2, nullptr); }));
    return {};  // the host's answer goes to the caller as it is, whatever it is
  };
  const Value items = call.looked_into(0);
  const Value total_count = call.looked_into(1);
  const Value offset = call.looked_into(2);
  mcp_responses::build_paginated_response(items, total_count, offset, call.text(3),
                                          add_pagination_hint);
  return hinted;
}

HostRef build_test_coverage(Call& call) {
  HostRef test_file = call.handed_on(0);
  HostRef source_file = call.handed_on(1);
  const Value symbols = call.looked_into(2);
  return call.answer(test_coverage(std::move(test_file), std::move(source_file), symbols));
}

HostRef build_empty_paginated_response(Call& call) {
  return call.answer(mcp_responses::build_empty_paginated_response(call.text(0)));
}

HostRef build_wiki_status_response(Call& call) {
  return call.answer(wiki_status(WikiStatusOf<HostRef>{.built = call.handed_on(0),
                                                       .branch = call.handed_on(1),
                                                       .pages = call.handed_on(2),
                                                       .files_covered = call.handed_on(3),
                                                       .total_sources = call.handed_on(4),
                                                       .coverage_pct = call.handed_on(5),
                                                       .last_built = call.handed_on(6),
                                                       .model = call.handed_on(7),
                                                       .stale_pages = call.looked_into(8),
                                                       .enabled = call.handed_on(9),
                                                       .configured = call.handed_on(10)}));
}

HostRef build_wiki_list_response(Call& call) {
  const Value pages = call.looked_into(0);
  const Value total = call.looked_into(1);
  const Value offset = call.looked_into(2);
  return call.answer(wiki_list(pages, total, offset, call.handed_on(3)));
}

HostRef build_wiki_read_response(Call& call) {
  return call.answer(wiki_page(WikiPageOf<HostRef>{.page_id = call.handed_on(0),
                                                   .title = call.handed_on(1),
                                                   .content = call.handed_on(2),
                                                   .citations = call.looked_into(3),
                                                   .source_files = call.looked_into(4),
                                                   .related_pages = call.looked_into(5)}));
}

HostRef build_wiki_ask_response(Call& call) {
  return call.answer(
      mcp_responses::build_wiki_ask_response({.mode = call.looked_into(0),
                                              .query = call.looked_into(1),
                                              .answer = call.looked_into(2),
                                              .sections = call.looked_into(3),
                                              .citations = call.looked_into(4),
                                              .model = call.looked_into(5),
                                              .tokens = call.looked_into(6),
                                              .note = call.looked_into(7),
                                              .decisions = call.looked_into(8),
                                              .code = call.looked_into(9),
                                              .memories = call.looked_into(10),
                                              .token_budget = call.looked_into(11)}));
}

HostRef ask_citations(Call& call) {
  const List sections = call.list(0);
  return call.answer(Value(mcp_responses::_ask_citations(sections, call.sequence(1))));
}

HostRef get_empty_response(Call& call) {
  return call.answer(mcp_responses::get_empty_response(call.text(0)));
}

}  // namespace mcp_responses::functions
