// The text of a tool's result, and its size: compact JSON (RFC 8259) without any white space,
// non-ASCII characters as themselves, and NaN, Infinity and -Infinity as bare words.
#pragma once

#include <cstddef>

#include "value.h"

namespace mcp_responses {

/// The text of any value, in code points. Throws `NestingError`.
Text tool_result_text(const Value& result);

/// The bytes of `tool_result_text(result)` in UTF-8. Throws `SurrogateError` when a string has
/// none, and `NestingError`.
std::size_t _encoded_size(const Value& result);

/// Bytes of a string in the text, quotation marks and escapes included. Throws `SurrogateError`.
std::size_t encoded_string_size(const TextView& string);

}  // namespace mcp_responses
