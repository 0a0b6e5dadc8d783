// The common functions of the fuzz targets. A target throws when the library breaks its contract, so
// that the fuzzer, the debugger and the replay in the tests all stop there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include "models/random_input.h"

// NOLINTNEXTLINE(readability-identifier-naming): the name that a fuzzer calls
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace contract {

inline std::string_view bytes_of(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline void require(bool holds, const std::string& what) {
  if (!holds) throw std::logic_error(what);
}

inline void require_equal(const std::string& actual, const std::string& expected,
                          const std::string& what) {
  require(actual == expected, what + "\n  actual: " + actual + "\nexpected: " + expected);
}

/// Texts are compared before they are encoded: they may hold surrogates.
inline void require_equal(const mcp_responses::Text& actual, const std::u32string& expected,
                          const std::string& what) {
  if (models::code_points_of(actual) == expected) return;
  require_equal(actual.utf8(), models::text_of(expected).utf8(), what);
}

}  // namespace contract
