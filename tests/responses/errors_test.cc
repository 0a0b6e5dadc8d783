// The texts of the errors that a caller's arguments cause, as the service's programmers read them:
// those that name a place inside an argument, and those of records.
#include "errors.h"

#include <gtest/gtest.h>

#include "ask_citations.h"
#include "ask_response.h"
#include "outline_rows.h"
#include "reference_rows.h"
#include "values.h"

namespace mcp_responses {
namespace {

template <class Call>
std::string error_of(const Call& call) {
  try {
    call();
    return "none";
  } catch (const KindError& error) {
    return std::string("TypeError: ") + error.what();
  } catch (const AttributeMissing& error) {
    return std::string("AttributeError: ") + error.what();
  }
}

TEST(Errors, SayWhereInTheArgumentsOfAnAskAnswer) {
  const auto cited = [](const Value& citations) { return Object{{"citations"_t, citations}}; };
  struct Row {
    List sections;
    Value citations;
    const char* error;
  };
  const Row rows[] = {
      {{Object(), "s"_t}, {}, "sections[1] must be dict, not str"},
      {{Object(), cited(7)}, {}, "sections[1]['citations'] must be list, not int"},
      {List{cited(List{Object(), Value()})},
       {},
       "sections[0]['citations'][1] must be dict, not None"},
      {{}, List{Object(), true}, "citations[1] must be dict, not bool"},
      {{},
       List{Object{{"line_end"_t, List()}}},
       "citations[0]['line_end'] must be str, a number or None, not list"},
  };
  for (const auto& [sections, citations, error] : rows) {
    const AskAnswer answer{.sections = sections, .citations = citations};
    EXPECT_EQ(error_of([&] { build_wiki_ask_response(answer); }),
              std::string("TypeError: ") + error);
  }
  EXPECT_EQ(error_of([] {
              _ask_citations({}, {Object(), 0.5});
            }),
            "TypeError: extra[1] must be dict, not float");
}

TEST(Errors, SayWhatARecordLacks) {
  const PlainRecord number{
      {Field::fqn, 1}, {Field::name, "n"_t}, {Field::docstring, 1}, {Field::caller_symbol, "c"_t}};
  EXPECT_EQ(error_of([&] { number.summary(Field::docstring); }),
            "TypeError: symbol.docstring must be str or None, not int");
  EXPECT_EQ(error_of([&] { build_file_symbol(number, "m"_t); }),
            "AttributeError: 'int' object has no attribute 'startswith'");
  EXPECT_EQ(error_of([&] { build_reference(number); }),
            "AttributeError: 'str' object has no attribute 'get'");
  EXPECT_EQ(error_of([&] { build_component(number); }),
            "AttributeError: 'PlainRecord' object has no attribute 'layer'");
}

}  // namespace
}  // namespace mcp_responses
