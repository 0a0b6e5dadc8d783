// Each builder's answer, as text. Errors and the rules of a budget are tested elsewhere.
#include <gtest/gtest.h>

#include <string>

#include "mcp_responses.h"
#include "values.h"

namespace mcp_responses {
namespace {

const PlainRecord symbol{{Field::fqn, "shop.Cart"_t},
                         {Field::name, "Cart"_t},
                         {Field::kind, "class"_t},
                         {Field::start_line, 3},
                         {Field::end_line, 9},
                         {Field::signature, Value()},
                         {Field::docstring, "Lines. Taxes"_t},
                         {Field::is_export, true},
                         {Field::docstring_truncated, false}};

const PlainRecord reference{
    {Field::file_path, "a.py"_t},
    {Field::line, 7},
    {Field::caller_symbol, Object{{"fqn"_t, "shop.pay"_t}, {"kind"_t, Value()}}},
    {Field::usage_type, "call"_t}};

const PlainRecord component{{Field::name, "shop"_t},
                            {Field::layer, Value()},
                            {Field::path_pattern, "shop/*"_t},
                            {Field::file_count, 2},
                            {Field::symbol_count, 5}};

const List sections{Object{{"page_id"_t, "p"_t},
                           {"excerpt"_t, "Text."_t},
                           {"citations"_t, List::repeated(2, Object{{"path"_t, "a.py"_t}})}}};

Value with_count(Object page, std::int64_t item_count) {
  page.set("count"_key, item_count);
  return page;
}

TEST(Answers, OfEachBuilder) {
  const Value path = "shop.py"_t;
  const std::pair<Value, const char*> rows[] = {
      {build_index_status_response(
           {.status = "ready"_t, .health = "ok"_t, .progress = 100, .phase = "x"_t}),
       R"({"status":"ready","health":"ok","branch":null,"progress":100,"files_indexed":0,)"
       R"("symbols_indexed":0,"last_updated":null,"errors_count":0,"phase":"x"})"},
      {build_symbol_search_result(symbol, path),
       R"({"fqn":"shop.Cart","name":"Cart","kind":"class","file":"shop.py","line":3,"summary":"Lines."})"},
      {build_symbol_full_details(symbol),
       R"({"found":true,"fqn":"shop.Cart","name":"Cart","kind":"class","file":null,"start_line":3,)"
       R"("end_line":9,"signature":null,"is_export":true,"docstring":"Lines. Taxes",)"
       R"("docstring_truncated":false})"},
      {outline_module(std::vector{"shop.Cart"_t, "shop.Cart.total"_t}), R"("shop")"},
      {build_file_symbol(symbol, "shop"_t),
       R"({"name":"Cart","kind":"class","line":3,"end_line":9,"summary":"Lines."})"},
      {build_reference(reference, "pay"_t),
       R"({"file":"a.py","line":7,"code":"pay","caller":"shop.pay","usage_type":"call"})"},
      {build_api_endpoint(symbol, path, "web"_t),
       R"({"fqn":"shop.Cart","name":"Cart","kind":"class","file":"shop.py","line":3,"signature":null,)"
       R"("component":"web"})"},
      {build_component(component),
       R"({"name":"shop","layer":null,"path_pattern":"shop/*","file_count":2,"symbol_count":5})"},
      {build_test_coverage("t.py"_t, path, List{"Cart"_t}),
       R"({"test_file":"t.py","source_file":"shop.py","symbols_imported":["Cart"]})"},
      {without_nulls({{"a"_t, Value()}, {"b"_t, List{Value()}}}), R"({"b":[null]})"},
      {build_paginated_response(List{1, 2}, 9, 4, "rows"_t, with_count),
       R"({"rows":[1,2],"total_count":9,"truncated":true,"has_more":true,"offset":4,"count":2})"},
      {build_paginated_response(List{1, 2}, 6, 4, "rows"_t),
       R"({"rows":[1,2],"total_count":6,"truncated":false,"has_more":false,"offset":4})"},
      {build_empty_paginated_response("rows"_t),
       R"({"rows":[],"total_count":0,"truncated":false,"has_more":false,"offset":0})"},
      {build_wiki_status_response({.built = true, .branch = "main"_t, .pages = 3}),
       R"({"built":true,"branch":"main","enabled":false,"configured":false,"pages":3,"files_covered":0,)"
       R"("total_sources":0,"coverage_pct":0.0,"last_built":null,"model":null,"stale_pages":[]})"},
      {build_wiki_list_response(List{1}, 3, 1),
       R"({"pages":[1],"total_count":3,"offset":1,"truncated":false,"has_more":true})"},
      {build_wiki_read_response({.page_id = "p"_t, .title = "T"_t, .content = "C"_t}),
       R"({"page_id":"p","title":"T","content":"C","citations":[],"source_files":[],"related_pages":[]})"},
      {build_wiki_ask_response({.mode = "m"_t, .query = "q"_t, .sections = sections, .code = 7}),
       R"({"mode":"m","query":"q","answer":null,"sections":[{"page_id":"p","title":null,"heading":null,)"
       R"("similarity":null,"stale":false,"excerpt":"Text."}],"citations":[{"path":"a.py"}],"code":7})"},
      {ask_citations(sections, List{Object{{"path"_t, "b.py"_t}}}),
       R"([{"path":"a.py"},{"path":"b.py"}])"},
      {get_empty_response("tests"_t), R"({"tests":[],"total_count":0})"},
      {get_empty_response("gone"_t), R"({"error":"Repository not initialized"})"},
  };
  for (const auto& [answer, text] : rows) {
    EXPECT_EQ(written(answer), text);
    EXPECT_EQ(encoded_size(answer), std::string(text).size()) << text;
  }
}

}  // namespace
}  // namespace mcp_responses
