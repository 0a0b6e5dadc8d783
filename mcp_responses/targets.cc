#include "targets.h"

#include <optional>
#include <string>
#include <vector>

#include "ask_citations.h"
#include "ask_response.h"
#include "cuts.h"
#include "empty_responses.h"
#include "errors.h"
#include "host_copy.h"
#include "host_encode.h"
#include "host_record.h"
#include "host_value.h"
#include "index_status.h"
#include "outline_rows.h"
#include "pagination.h"
#include "reference_rows.h"
#include "row_pruning.h"
#include "state.h"
#include "symbol_rows.h"
#include "wiki_pages.h"

namespace mcp_responses::targets {
namespace {

Value value(const Call& call, std::size_t position) {
  return to_value(HostRef::borrow(call[position]));
}

/// An argument that the answer only hands on.
HostRef passed(const Call& call, std::size_t position) {
  return handed_on(HostRef::borrow(call[position]));
}

HostRecord record(const Call& call) { return {call.state(), call[0], call.name(0)}; }

[[noreturn]] void refuse_type(const std::string& where, const char* expected, PyObject* met) {
  PyErr_Format(PyExc_TypeError, "%s must be %s, not %s", where.c_str(), expected,
               Py_TYPE(met)->tp_name);
  throw HostError();
}

Text text(const Call& call, std::size_t position) {
  if (!PyUnicode_Check(call[position])) refuse_type(call.name(position), "str", call[position]);
  return text_of(HostRef::borrow(call[position]));
}

std::int64_t integer(const Call& call, std::size_t position) {
  if (!PyLong_Check(call[position])) refuse_type(call.name(position), "int", call[position]);
  return integer_in(call[position]);
}

List list(const Call& call, std::size_t position) {
  const Value argument = value(call, position);
  const auto list = argument.list();
  if (!list) throw KindError(call.name(position), "list", argument.kind());
  return *list;
}

HostRef answer(const Call& call, auto&& response) {
  return to_host(call.state(), std::forward<decltype(response)>(response));
}

}  // namespace

HostRef tool_result_text(const Call& call) { return encoded_host_text(call[0]); }

HostRef encoded_size(const Call& call) {
  return checked(PyLong_FromSize_t(encoded_host_size(call[0])));
}

HostRef first_sentence(const Call& call) {
  if (call[0] == Py_None) return HostRef::borrow(Py_None);
  if (!PyUnicode_Check(call[0])) refuse_type("docstring", "str or None", call[0]);
  return host_first_sentence(call[0]);
}

HostRef cut(const Call& call) { return to_host_string(_cut(text(call, 0), integer(call, 1))); }

HostRef trimmed(const Call& call) {
  return to_host_string(_trimmed(text(call, 0), integer(call, 1)));
}

HostRef without_nulls(const Call& call) {
  const Value row = value(call, 0);
  const auto object = row.object();
  if (!object) throw KindError("row", "dict", row.kind());
  return answer(call, mcp_responses::without_nulls(*object));
}

HostRef build_index_status_response(const Call& call) {
  return answer(call,
                index_status(passed(call, 0), passed(call, 1), passed(call, 2), passed(call, 3),
                             passed(call, 4), passed(call, 5), passed(call, 6), passed(call, 7),
                             value(call, 8), value(call, 9)));
}

HostRef build_symbol_search_result(const Call& call) {
  return answer(call, symbol_search_result(record(call), passed(call, 1)));
}

HostRef build_symbol_full_details(const Call& call) {
  return answer(call, symbol_full_details(record(call), passed(call, 1)));
}

HostRef outline_module(const Call& call) {
  const HostRef iterator = checked(in_host([&] { return PyObject_GetIter(call[0]); }));
  std::vector<Text> fqns;
  for (;;) {
    HostRef fqn = HostRef::steal(in_host([&] { return PyIter_Next(iterator.get()); }));
    if (!fqn) break;
    if (!PyUnicode_Check(fqn.get()))
      refuse_type("fqns[" + std::to_string(fqns.size()) + "]", "str", fqn.get());
    fqns.push_back(text_of(std::move(fqn)));
  }
  if (PyErr_Occurred() != nullptr) throw HostError();
  return to_host_string(mcp_responses::outline_module(fqns));
}

HostRef build_file_symbol(const Call& call) {
  const HostRecord symbol = record(call);
  return symbol.answered([&] { return answer(call, file_symbol(symbol, value(call, 1))); });
}

HostRef build_api_endpoint(const Call& call) {
  return answer(call, api_endpoint(record(call), value(call, 1), passed(call, 2)));
}

HostRef build_reference(const Call& call) {
  const HostRecord reference = record(call);
  HostRef code = passed(call, 1);
  return reference.answered(
      [&] { return answer(call, reference_row(reference, std::move(code))); });
}

HostRef build_component(const Call& call) { return answer(call, component_row(record(call))); }

HostRef build_paginated_response(const Call& call) {
  HostRef hinted;
  const auto add_pagination_hint = [&](const Object& response, std::int64_t item_count) -> Value {
    const HostRef page = answer(call, response);
    const HostRef count = checked(PyLong_FromLongLong(item_count));
    const HostRef function = call.global(word<"add_pagination_hint">);
    PyObject* const arguments[] = {page.get(), count.get()};
    hinted = checked(
        in_host([&] { return PyObject_Vectorcall(function.get(), arguments, 2, nullptr); }));
    return {};  // the host's answer goes to the caller as it is, whatever it is
  };
  mcp_responses::build_paginated_response(value(call, 0), value(call, 1), value(call, 2),
                                          text(call, 3), add_pagination_hint);
  return hinted;
}

HostRef build_test_coverage(const Call& call) {
  return answer(call,
                mcp_responses::build_test_coverage(value(call, 0), value(call, 1), value(call, 2)));
}

HostRef build_empty_paginated_response(const Call& call) {
  return answer(call, mcp_responses::build_empty_paginated_response(text(call, 0)));
}

HostRef build_wiki_status_response(const Call& call) {
  return answer(call, wiki_status(WikiStatusOf<HostRef>{.built = passed(call, 0),
                                                        .branch = passed(call, 1),
                                                        .pages = passed(call, 2),
                                                        .files_covered = passed(call, 3),
                                                        .total_sources = passed(call, 4),
                                                        .coverage_pct = passed(call, 5),
                                                        .last_built = passed(call, 6),
                                                        .model = passed(call, 7),
                                                        .stale_pages = value(call, 8),
                                                        .enabled = passed(call, 9),
                                                        .configured = passed(call, 10)}));
}

HostRef build_wiki_list_response(const Call& call) {
  return answer(call, mcp_responses::build_wiki_list_response(value(call, 0), value(call, 1),
                                                              value(call, 2), value(call, 3)));
}

HostRef build_wiki_read_response(const Call& call) {
  return answer(call, mcp_responses::build_wiki_read_response({.page_id = value(call, 0),
                                                               .title = value(call, 1),
                                                               .content = value(call, 2),
                                                               .citations = value(call, 3),
                                                               .source_files = value(call, 4),
                                                               .related_pages = value(call, 5)}));
}

HostRef build_wiki_ask_response(const Call& call) {
  return answer(call, mcp_responses::build_wiki_ask_response({.mode = value(call, 0),
                                                              .query = value(call, 1),
                                                              .answer = value(call, 2),
                                                              .sections = value(call, 3),
                                                              .citations = value(call, 4),
                                                              .model = value(call, 5),
                                                              .tokens = value(call, 6),
                                                              .note = value(call, 7),
                                                              .decisions = value(call, 8),
                                                              .code = value(call, 9),
                                                              .memories = value(call, 10),
                                                              .token_budget = value(call, 11)}));
}

HostRef ask_citations(const Call& call) {
  return answer(call, Value(mcp_responses::_ask_citations(list(call, 0), list(call, 1))));
}

HostRef get_empty_response(const Call& call) {
  return answer(call, mcp_responses::get_empty_response(text(call, 0)));
}

}  // namespace mcp_responses::targets
