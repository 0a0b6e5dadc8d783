// Surrogates, capacities and nesting. fuzz_encode compares random values with another library.
#include "encode.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <tuple>
#include <utility>

#include "detail/sinks.h"
#include "errors.h"
#include "models/random_input.h"
#include "values.h"

namespace mcp_responses {
namespace {

TEST(Encode, ASurrogateHasATextButNoSize) {
  for (const std::size_t before : {0U, 1U, 31U, 32U, 200U}) {
    for (const char32_t surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
      for (const char32_t wide : {U'x', U'\U0001F600'}) {
        const std::u32string odd = std::u32string(before, wide) + surrogate;
        const std::u32string more(150, wide);
        const Text text = models::text_of(odd + U'"' + more);
        EXPECT_EQ(models::code_points_of(tool_result_text(text)),
                  U'"' + odd + U"\\\"" + more + U'"');
        for (const bool as_size : {false, true}) {
          try {
            const std::size_t size = as_size ? encoded_size(List{text}) : text.utf8().size();
            ADD_FAILURE() << "no error, but " << size << " bytes";
          } catch (const SurrogateError& error) {
            EXPECT_EQ(error.position(), before);
            EXPECT_EQ(error.text(), text);
          }
        }
      }
    }
  }
}

// With AddressSanitizer, a write beyond the capacity is an error.
TEST(Encode, ATextOfAnyCapacityGrowsAndWidens) {
  std::mt19937 random(7);
  for (int i = 0; i < 3000; ++i) {
    std::string bytes(200, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    models::Choices choices(bytes);
    detail::TextBuffer buffer;
    buffer.capacity = choices.below(200) + 1;
    buffer.bytes.reset(std::malloc(buffer.capacity));
    detail::TextSink sink(std::move(buffer));
    std::u32string expected;
    std::size_t size = 0;
    while (!choices.used_up()) {
      const auto number = static_cast<std::int64_t>(choices.bits() >> choices.below(64));
      const std::string digits = std::to_string(number) + ",";
      const Text string = models::text_of(any_text(choices, 80));
      switch (choices.below(3)) {
        case 0:
          size = sink.put(size, digits);
          expected.append(digits.begin(), digits.end());
          break;
        case 1:
          size = sink.put_number(size, number);
          expected.append(digits.begin(), digits.end());
          break;
        default:
          size = sink.put_string(size, string.view(), ':');
          expected += models::code_points_of(tool_result_text(string)) + U':';
      }
    }
    EXPECT_EQ(models::code_points_of(Text::copy_of(sink.view(size))), expected) << i;
  }
}

/// `levels` containers inside each other, around `inside`.
Value nested(std::size_t levels, bool in_objects, Value inside) {
  for (; levels > 0; --levels)
    inside = in_objects ? Value(Object{{"k"_t, inside}}) : Value(List{inside});
  return inside;
}

TEST(Encode, NestingHasALimitThatAllWalksShare) {
  constexpr std::size_t most = NestingError::max_levels;
  EXPECT_EQ(written(nested(most, false, 7)), std::string(most, '[') + "7" + std::string(most, ']'));
  EXPECT_EQ(encoded_size(nested(most, true, 7)), most * 6 + 1);
  EXPECT_EQ(nested(most, true, 7), nested(most, true, 7));
  for (const bool in_objects : {false, true}) {
    for (const Value& inside : {Value(7), Value(List()), Value(Object())}) {
      const std::size_t levels = inside.size() ? most : most + 1;
      const Value deep = nested(levels, in_objects, inside);
      EXPECT_THROW(tool_result_text(deep), NestingError);
      EXPECT_THROW(encoded_size(deep), NestingError);
      EXPECT_THROW(std::ignore = (deep == nested(levels, in_objects, inside)), NestingError);
    }
  }
}

}  // namespace
}  // namespace mcp_responses
