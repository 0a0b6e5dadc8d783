// Builds an answer, fits it to a budget and prints its text, whole and fitted.
#include <mcp_responses/ask_response.h>
#include <mcp_responses/encode.h>
#include <mcp_responses/static_object.h>

#include <initializer_list>
#include <iostream>
#include <string>

using mcp_responses::List;
using mcp_responses::Object;
using mcp_responses::StaticObject;
using mcp_responses::Value;
using namespace mcp_responses::literals;

namespace {

Object section(const char* page, const char* sentence, std::int64_t line) {
  std::string excerpt;
  for (int i = 0; i < 10; ++i) excerpt += sentence;
  const Object place = StaticObject{"path"_key = "cart.py", "line_start"_key = line};
  return StaticObject{"page_id"_key = page, "similarity"_key = 0.5, "excerpt"_key = excerpt,
                      "citations"_key = List{place}};
}

}  // namespace

int main() {
  const List sections{section("paying", "Pay with “pay”, once. ", 9),
                      section("carts", "Naïve carts hold 漢字 and 😀. ", 3)};
  for (const Value& budget : {Value(), Value(220)}) {
    const Value answer =
        mcp_responses::build_wiki_ask_response({.mode = Value("retrieval"),
                                                .query = Value("How do I pay?"),
                                                .answer = {},
                                                .sections = sections,
                                                .note = Value("Taxes are not included."),
                                                .token_budget = budget});
    std::cout << mcp_responses::encoded_size(answer) << ' '
              << mcp_responses::tool_result_text(answer).utf8() << '\n';
  }
}
