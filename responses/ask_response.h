// The answer of the wiki tool's action "ask", fitted to a token budget.
#pragma once

#include <cstdint>

#include "value.h"

namespace mcp_responses {

/// The maximum length of an excerpt in characters, with or without a budget.
inline constexpr std::int64_t ASK_EXCERPT_CHARS = 1200;
/// While an answer is fitted to a budget, the bytes (not characters, as in the name that Python code uses)
/// that are reserved for each excerpt below the current one.
inline constexpr std::int64_t ASK_MIN_EXCERPT_CHARS = 200;
/// The size of a token, in bytes of the encoded answer.
inline constexpr std::int64_t BYTES_PER_TOKEN = 4;

/// The arguments of `build_wiki_ask_response`. `sections` is a list of objects, best first, each with
/// any of "page_id", "title", "heading", "similarity", "stale", "excerpt" and "citations";
/// `citations` a list of citation objects or null; `token_budget` an integer or null.
struct AskAnswer {
  Value mode = {};
  Value query = {};
  Value answer = {};
  Value sections = {};
  Value citations = {};
  Value model = {};
  Value tokens = {};
  Value note = {};
  Value decisions = {};
  Value code = {};
  Value memories = {};
  Value token_budget = {};
};

/// {"mode", "query", "answer", "sections", "citations"}, then those of "model", "tokens", "note",
/// "decisions", "code" and "memories" that are not null.
///
/// With a budget, the answer is reduced until its text has at most `token_budget` times
/// `BYTES_PER_TOKEN` bytes. Excerpts shrink, from the last section to the first, to about
/// `ASK_MIN_EXCERPT_CHARS` bytes. Then whole sections are dropped from the end, then the memories,
/// then the code. The other members, the citations of kept sections and `citations` are never cut, and
/// may exceed the budget.
///
/// Throws `KindError`, and with a budget `SurrogateError`, because a lone surrogate cannot be
/// encoded as UTF-8.
Object build_wiki_ask_response(AskAnswer answer);

}  // namespace mcp_responses
