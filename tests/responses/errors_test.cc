// The texts of the errors that a caller's arguments cause, as the service's programmers read them.
#include "errors.h"

#include <gtest/gtest.h>

#include <functional>

#include "ask_citations.h"
#include "ask_response.h"
#include "outline_rows.h"
#include "pagination.h"
#include "reference_rows.h"
#include "symbol_rows.h"
#include "values.h"
#include "wiki_pages.h"

namespace mcp_responses {
namespace {

std::string error_of(const std::function<void()>& call) {
  try {
    call();
    return "none";
  } catch (const KindError& error) {
    return std::string("TypeError: ") + error.what();
  } catch (const AttributeMissing& error) {
    return std::string("AttributeError: ") + error.what();
  }
}

Value cited(const Value& citations) { return Object{{"citations"_t, citations}}; }

TEST(Errors, SayWhatWasMetAndWhere) {
  const auto ask = [](Value sections, Value citations = {}, Value budget = {}) {
    build_wiki_ask_response({.sections = std::move(sections),
                             .citations = std::move(citations),
                             .token_budget = std::move(budget)});
  };
  const auto page = [](const Value& items, const Value& total, const Value& offset) {
    build_paginated_response(items, total, offset, "items"_t,
                             [](Object whole, std::int64_t) { return whole; });
  };
  const std::pair<std::string, std::function<void()>> rows[] = {
      {"TypeError: sections must be list, not None", [&] { ask({}); }},
      {"TypeError: sections[1] must be dict, not str",
       [&] {
         ask(List{Object(), "s"_t});
       }},
      {"TypeError: sections[1]['citations'] must be list, not int",
       [&] {
         ask(List{Object(), cited(7)});
       }},
      {"TypeError: sections[0]['citations'][1] must be dict, not None",
       [&] {
         ask(List{cited(List{Object(), Value()})});
       }},
      {"TypeError: citations must be list or None, not dict",
       [&] {
         ask(List(), Object{{"a"_t, 1}});
       }},
      {"TypeError: citations[1] must be dict, not bool",
       [&] {
         ask(List(), List{Object(), true});
       }},
      {"TypeError: citations[0]['line_end'] must be str, a number or None, not list",
       [&] {
         ask(List(), List{Object{{"line_end"_t, List()}}});
       }},
      {"TypeError: token_budget must be int or None, not float", [&] { ask(List(), {}, 1.5); }},
      {"TypeError: sections[0] must be dict, not str", [] { _ask_citations({"s"_t}, {}); }},
      {"TypeError: extra[0] must be dict, not str", [] { _ask_citations({}, {"s"_t}); }},
      {"TypeError: items must be list, not dict", [&] { page(Object(), 1, 1); }},
      {"TypeError: total_count must be int, not str", [&] { page(List(), "1"_t, 1); }},
      {"TypeError: offset must be int, not None", [&] { page(List(), 1, {}); }},
      {"TypeError: pages must be list, not None", [] { build_wiki_list_response({}, 0); }},
      {"TypeError: total must be int, not None", [] { build_wiki_list_response(List(), {}); }},
      {"TypeError: symbol.docstring must be str or None, not int",
       [] {
         build_symbol_search_result(PlainRecord{{Field::fqn, 1},
                                                {Field::name, 1},
                                                {Field::kind, 1},
                                                {Field::start_line, 1},
                                                {Field::signature, 1},
                                                {Field::docstring, 1}});
       }},
      {"TypeError: module must be str, not int",
       [] {
         build_file_symbol(PlainRecord{{Field::fqn, "a"_t}}, 1);
       }},
      {"AttributeError: 'int' object has no attribute 'startswith'",
       [] {
         build_file_symbol(PlainRecord{{Field::fqn, 1}}, "m"_t);
       }},
      {"AttributeError: 'str' object has no attribute 'get'",
       [] {
         build_reference(PlainRecord{{Field::caller_symbol, "c"_t}});
       }},
      {"AttributeError: 'PlainRecord' object has no attribute 'layer'",
       [] {
         build_component(PlainRecord{{Field::name, "c"_t}});
       }},
  };
  for (const auto& [text, call] : rows) EXPECT_EQ(error_of(call), text);
}

}  // namespace
}  // namespace mcp_responses
