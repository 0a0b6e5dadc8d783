#include "encode.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <tuple>
#include <vector>

#include "errors.h"
#include "models/slow_encode.h"
#include "values.h"

namespace mcp_responses {
namespace {

// Compared as code points and counted as bytes.
void expect_as_the_model(const Value& value) {
  const Text text = tool_result_text(value);
  ASSERT_EQ(models::code_points_of(text), models::slow_text(value));
  ASSERT_EQ(_encoded_size(value), text.utf8().size()) << text.utf8();
}

TEST(Encode, Examples) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::pair<Value, std::string> rows[] = {
      {Object{{"a"_t, 1}, {"b"_t, List{true, Value(), 2.5}}, {"c"_t, "é"_t}},
       R"({"a":1,"b":[true,null,2.5],"c":"é"})"},
      {Object{{"b"_t, 1}, {"a"_t, 2}}, R"({"b":1,"a":2})"},
      {Object(), "{}"},
      {List(), "[]"},
      {List{List(), List{List()}, Object(), Object{{""_t, List()}}}, R"([[],[[]],{},{"":[]}])"},
      {"\n\t\"\\\x01/\x7f\u2028\ufeff"_t, "\"\\n\\t\\\"\\\\\\u0001/\x7f\u2028\ufeff\""},
      {Object{{"k\"é"_t, "café 😀"_t}}, R"({"k\"é":"café 😀"})"},
      {List{7, 7.0, true, std::nan(""), inf, -inf, false},
       "[7,7.0,true,NaN,Infinity,-Infinity,false]"},
  };
  for (const auto& [value, text] : rows) {
    EXPECT_EQ(written(value), text);
    EXPECT_EQ(_encoded_size(value), text.size()) << text;
  }
}

TEST(Encode, EveryCharacterBelowTheSurrogates) {
  for (char32_t c = 0; c < 0xD800; c = c < 0x900 ? c + 1 : c + 0x101) {
    expect_as_the_model(models::text_of({U'a', c, U'\U0001F600'}));
    expect_as_the_model(models::text_of({c}));
  }
}

TEST(Encode, AnEscapeAtEveryPlaceOfEveryLengthInEveryWidth) {
  for (const char32_t filler : {U'a', U'\xE9', U'\u4E00', U'\U0001F600'}) {
    for (std::size_t size = 0; size <= 70; ++size) {
      std::u32string plain(size, filler);
      expect_as_the_model(models::text_of(plain));
      for (std::size_t position = 0; position < size; ++position) {
        for (const char32_t escaped : {U'"', U'\n', U'\x1f'}) {
          plain[position] = escaped;
          expect_as_the_model(models::text_of(plain));
        }
        plain[position] = filler;
      }
    }
  }
}

// The sink starts in one width and goes on in the next, or back in a narrower string; below and
// above its first room.
TEST(Encode, WidensInTheMiddle) {
  const char32_t widest[] = {U'a', U'\xE9', U'\u4E00', U'\U0001F600'};
  for (const std::size_t size : {0U, 1U, 3U, 9U, 1500U, 4094U, 9000U}) {
    for (const char32_t first : widest) {
      for (const char32_t second : widest) {
        const Value a = models::text_of(std::u32string(size, 'x') + first);
        const Value b = models::text_of(second + std::u32string(size, '\\'));
        expect_as_the_model(List{a, 1.5, b, a, Object{{*b.text(), *a.text()}}});
      }
    }
  }
}

TEST(Encode, ASurrogateHasATextButNoSize) {
  for (const std::size_t before : {0U, 31U, 32U, 200U}) {
    for (const char32_t surrogate : {0xD800U, 0xDBFFU, 0xDC00U, 0xDFFFU}) {
      for (const char32_t wide : {U'x', U'\U0001F600'}) {
        const Text text = models::text_of(std::u32string(before, wide) + surrogate + U'"');
        const Value value = Object{{"k"_t, List{text}}};
        EXPECT_EQ(models::code_points_of(tool_result_text(value)), models::slow_text(value));
        try {
          _encoded_size(value);
          ADD_FAILURE() << "no error";
        } catch (const SurrogateError& error) {
          EXPECT_EQ(error.position(), before);
          EXPECT_EQ(error.text(), text);
        }
      }
    }
  }
}

/// `levels` containers inside each other, around `inside`.
Value nested(std::size_t levels, bool in_objects, Value inside) {
  for (; levels > 0; --levels) {
    inside =
        in_objects ? Value(Object{{"k"_t, std::move(inside)}}) : Value(List{std::move(inside)});
  }
  return inside;
}

TEST(Encode, NestingHasALimitThatAllWalksShare) {
  constexpr std::size_t most = NestingError::most_levels;
  EXPECT_EQ(written(nested(most, false, 7)), std::string(most, '[') + "7" + std::string(most, ']'));
  EXPECT_EQ(_encoded_size(nested(most, true, 7)), most * 6 + 1);
  EXPECT_EQ(nested(most, true, 7), nested(most, true, 7));
  for (const bool in_objects : {false, true}) {
    for (const Value& inside : {Value(7), Value(List()), Value(Object())}) {
      const std::size_t levels = inside.size() ? most : most + 1;
      const Value deep = nested(levels, in_objects, inside);
      EXPECT_THROW(tool_result_text(deep), NestingError);
      EXPECT_THROW(_encoded_size(deep), NestingError);
      EXPECT_THROW(std::ignore = (deep == nested(levels, in_objects, inside)), NestingError);
    }
  }
}

}  // namespace
}  // namespace mcp_responses
