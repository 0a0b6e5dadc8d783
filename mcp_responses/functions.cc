// The bodies of the native functions. namespace.py declares the functions, with their parameters and
// documentation. Arguments are numbered from 0, in the order of the parameters.
//
// If several arguments are invalid, the first one is reported. C++ does not define the order in which
// the arguments of a function call are evaluated, so each is read in a statement of its own, or in
// braces, which do define it.
#include <string>
#include <utility>

#include "ask_citations.h"
#include "ask_response.h"
#include "cuts.h"
#include "empty_responses.h"
#include "index_status.h"
#include "namespace_code.h"
#include "outline_rows.h"
#include "pagination.h"
#include "py_copy.h"
#include "py_encode.h"
#include "py_errors.h"
#include "py_value.h"
#include "reference_rows.h"
#include "symbol_rows.h"
#include "wiki_pages.h"

namespace mcp_responses {
namespace {

PyRef cut_argument(Call& call, Cut (*shorten)(const TextView&, std::int64_t) noexcept) {
  const Text text = call.text(0);
  const Cut cut = shorten(text.view(), call.integer(1));
  return cut.kept.size == text.size() ? string_of(text) : string_of(cut);
}

}  // namespace

PyRef functions::py_tool_result_text(Call& call) {
  return encoded_py_text(call[0], call.scratch());
}

PyRef functions::py_encoded_size(Call& call) {
  return checked(PyLong_FromSize_t, encoded_py_size(call[0]));
}

PyRef functions::py_first_sentence(Call& call) {
  if (call[0] == Py_None) return PyRef::borrow(Py_None);
  if (!PyUnicode_Check(call[0])) raise_wrong_type("docstring", "str or None", call[0]);
  return first_sentence_of(call[0]);
}

PyRef functions::py_cut(Call& call) { return cut_argument(call, cut); }

PyRef functions::py_trimmed(Call& call) { return cut_argument(call, trimmed); }

PyRef functions::py_without_nulls(Call& call) { return copy_without_nulls(call.dict(0)); }

PyRef functions::py_build_index_status_response(Call& call) {
  return call.answer(
      build_index_status_response(IndexStatusOf<PyRef>{.status = call.pass_through(0),
                                                       .health = call.pass_through(1),
                                                       .branch = call.pass_through(2),
                                                       .progress = call.pass_through(3),
                                                       .files_indexed = call.pass_through(4),
                                                       .symbols_indexed = call.pass_through(5),
                                                       .last_updated = call.pass_through(6),
                                                       .errors_count = call.pass_through(7),
                                                       .phase = call.value(8),
                                                       .phase_detail = call.value(9)}));
}

PyRef functions::py_build_symbol_search_result(Call& call) {
  PyRef file_path = call.pass_through(1);
  return call.answer(build_symbol_search_result(call.record(), std::move(file_path)));
}

PyRef functions::py_build_symbol_full_details(Call& call) {
  PyRef file_path = call.pass_through(1);
  return call.answer(build_symbol_full_details(call.record(), std::move(file_path)));
}

PyRef functions::py_outline_module(Call& call) {
  OutlineModule module;
  std::size_t position = 0;
  call.for_each_in(0, [&](PyRef fqn) {
    if (!PyUnicode_Check(fqn.get()))
      raise_wrong_type("fqns[" + std::to_string(position) + "]", "str", fqn.get());
    const Text text = to_text(std::move(fqn));
    count_work(text.size());
    module.add(text);
    ++position;
  });
  return string_of(module.text());
}

PyRef functions::py_build_file_symbol(Call& call) {
  const Value module = call.value(1);
  return call.answer(build_file_symbol(call.record(), module));
}

PyRef functions::py_build_api_endpoint(Call& call) {
  Value file_path = call.value(1);
  PyRef component = call.pass_through(2);
  return call.answer(build_api_endpoint(call.record(), std::move(file_path), std::move(component)));
}

PyRef functions::py_build_reference(Call& call) {
  PyRef code = call.pass_through(1);
  return call.answer(build_reference(call.record(), std::move(code)));
}

PyRef functions::py_build_component(Call& call) {
  return call.answer(build_component(call.record()));
}

PyRef functions::py_build_paginated_response(Call& call) {
  PyRef hinted;
  const auto add_pagination_hint = [&](const Object& response, std::int64_t item_count) -> Value {
    const PyRef page = call.answer(response);
    const PyRef count = checked(PyLong_FromLongLong, item_count);
    PyObject* const arguments[] = {page.get(), count.get()};
    hinted = checked(PyObject_Vectorcall, call[4], arguments, std::size_t{2}, nullptr);
    return {};  // the caller gets `hinted`, which may be any object
  };
  const Value items = call.value(0);
  const Value total_count = call.value(1);
  const Value offset = call.value(2);
  const Text items_key = call.text(3);
  build_paginated_response(items, total_count, offset, items_key, add_pagination_hint);
  return hinted;
}

PyRef functions::py_build_test_coverage(Call& call) {
  PyRef test_file = call.pass_through(0);
  PyRef source_file = call.pass_through(1);
  const Value symbols = call.value(2);
  return call.answer(build_test_coverage(std::move(test_file), std::move(source_file), symbols));
}

PyRef functions::py_build_empty_paginated_response(Call& call) {
  return call.answer(build_empty_paginated_response(call.text(0)));
}

PyRef functions::py_build_wiki_status_response(Call& call) {
  return call.answer(
      build_wiki_status_response(WikiStatusOf<PyRef>{.built = call.pass_through(0),
                                                     .branch = call.pass_through(1),
                                                     .pages = call.pass_through(2),
                                                     .files_covered = call.pass_through(3),
                                                     .total_sources = call.pass_through(4),
                                                     .coverage_pct = call.pass_through(5),
                                                     .last_built = call.pass_through(6),
                                                     .model = call.pass_through(7),
                                                     .stale_pages = call.value(8),
                                                     .enabled = call.pass_through(9),
                                                     .configured = call.pass_through(10)}));
}

PyRef functions::py_build_wiki_list_response(Call& call) {
  const Value pages = call.value(0);
  const Value total = call.value(1);
  const Value offset = call.value(2);
  PyRef truncated = call.pass_through(3);
  return call.answer(build_wiki_list_response(pages, total, offset, std::move(truncated)));
}

PyRef functions::py_build_wiki_read_response(Call& call) {
  return call.answer(build_wiki_read_response(WikiPageOf<PyRef>{.page_id = call.pass_through(0),
                                                                .title = call.pass_through(1),
                                                                .content = call.pass_through(2),
                                                                .citations = call.value(3),
                                                                .source_files = call.value(4),
                                                                .related_pages = call.value(5)}));
}

PyRef functions::py_build_wiki_ask_response(Call& call) {
  AskAnswer answer{.mode = call.value(0),
                   .query = call.value(1),
                   .answer = call.value(2),
                   .sections = call.value(3),
                   .citations = call.value(4),
                   .model = call.value(5),
                   .tokens = call.value(6),
                   .note = call.value(7),
                   .decisions = call.value(8),
                   .code = call.value(9),
                   .memories = call.value(10),
                   .token_budget = call.value(11)};
  return call.answer(build_wiki_ask_response(std::move(answer)));
}

PyRef functions::py_ask_citations(Call& call) {
  const List sections = call.list(0);
  const List extra = call.sequence(1);
  return call.answer(Value(ask_citations(sections, extra)));
}

PyRef functions::py_get_empty_response(Call& call) {
  return call.answer(get_empty_response(call.text(0)));
}

}  // namespace mcp_responses
