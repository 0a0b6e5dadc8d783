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
            "docstring must be str or None, not int");
  EXPECT_EQ(message_of<FieldKindError>([&] { build_file_symbol(record, "m"_t); }),
            "fqn must be str, not int");
  EXPECT_EQ(message_of<FieldKindError>([&] { build_reference(record); }),
            "caller_symbol must be dict or None, not str");
  EXPECT_EQ(message_of<FieldMissing>([&] { build_component(record); }),
            "the record has no field layer");
}

}  // namespace
}  // namespace mcp_responses
