// The text of a tool's result, and its size: compact JSON (RFC 8259) without white space, with
// non-ASCII characters unescaped. NaN, Infinity and -Infinity are bare words, which are not JSON.
#pragma once

#include <cstddef>

#include "value.h"

namespace mcp_responses {

/// The text of a value. Throws `NestingError`.
Text tool_result_text(const Value& result);

/// The size of `tool_result_text(result)` in UTF-8, in bytes. Throws `SurrogateError` and
/// `NestingError`.
std::size_t encoded_size(const Value& result);

/// The size of a string in that text, quotation marks and escapes included, in bytes. Throws
/// `SurrogateError`.
std::size_t encoded_string_size(const TextView& string);

}  // namespace mcp_responses
