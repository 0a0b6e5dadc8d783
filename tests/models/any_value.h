// Values made of choices.
#pragma once

#include <bit>
#include <limits>

#include "texts.h"
#include "value.h"

namespace models {

inline double any_real(Choices& choices) {
  if (choices.below(2) == 0) return std::bit_cast<double>(choices.bits());
  return choices.one_of({0.0, -0.0, 1.0, 0.1, 1e15, 1e16, 1e-4, 1e-5, 5e-324,
                         1.7976931348623157e308, std::numeric_limits<double>::infinity(),
                         -std::numeric_limits<double>::infinity(),
                         std::numeric_limits<double>::quiet_NaN()});
}

inline mcp_responses::Value any_value(Choices& choices, int depth, bool with_surrogates) {
  switch (choices.below(depth > 0 ? 9 : 5)) {
    case 0:
      return {};
    case 1:
      return choices.below(2) == 1;
    case 2:
      return std::bit_cast<std::int64_t>(choices.bits(choices.below(9)));
    case 3:
      return any_real(choices);
    case 4:
      return text_of(any_text(choices, 80, with_surrogates));
    case 5:
    case 6: {
      mcp_responses::List list;
      for (auto n = choices.below(6); n > 0; --n)
        list.append(any_value(choices, depth - 1, with_surrogates));
      return list;
    }
    default: {
      mcp_responses::Object object;
      for (auto n = choices.below(6); n > 0; --n) {
        const mcp_responses::Text key = text_of(any_text(choices, 4, with_surrogates));
        object.set(key, any_value(choices, depth - 1, with_surrogates));
      }
      return object;
    }
  }
}

}  // namespace models
