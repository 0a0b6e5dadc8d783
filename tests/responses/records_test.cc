// Errors of records that are made in C++. Those of Python records are tested in tests/mcp_responses.
#include "records.h"

#include <gtest/gtest.h>

#include "errors.h"
#include "outline_rows.h"
#include "reference_rows.h"
#include "values.h"

namespace mcp_responses {
namespace {

template <class Error, class Call>
std::string message_of(const Call& call) {
  try {
    call();
  } catch (const Error& error) {
    return error.what();
  }
  return "no error";
}

TEST(PlainRecord, MissingAndWrongFields) {
  const PlainRecord record{
      {Field::fqn, 1}, {Field::name, "n"_t}, {Field::docstring, 1}, {Field::caller_symbol, "c"_t}};
  EXPECT_EQ(message_of<KindError>([&] { record.summary(Field::docstring); }),
            "symbol.docstring must be string or null, not integer");
  EXPECT_EQ(message_of<AttributeMissing>([&] { build_file_symbol(record, "m"_t); }),
            "'int' object has no attribute 'startswith'");
  EXPECT_EQ(message_of<AttributeMissing>([&] { build_reference(record); }),
            "'str' object has no attribute 'get'");
  EXPECT_EQ(message_of<AttributeMissing>([&] { build_component(record); }),
            "'PlainRecord' object has no attribute 'layer'");
}

}  // namespace
}  // namespace mcp_responses
