// The answer of the wiki tool's action "ask", fitted to a token budget.
#pragma once

#include <cstdint>

#include "value.h"

namespace mcp_responses {

/// Every excerpt is first cut to at most this many characters, with or without a budget.
inline constexpr std::int64_t ASK_EXCERPT_CHARS = 1200;
/// While a budget is fitted, the bytes held back for each section whose excerpt is not placed yet.
inline constexpr std::int64_t ASK_MIN_EXCERPT_CHARS = 200;
/// A token is counted as this many bytes of the encoded answer.
inline constexpr std::int64_t BYTES_PER_TOKEN = 4;

/// Arguments of `build_wiki_ask_response`. `sections` is a list of objects, best first, each with
/// any of "page_id", "title", "heading", "similarity", "stale", "excerpt" and "citations";
/// `citations` a list of citation objects or null; `token_budget` an integer or null.
struct AskAnswer {
  Value mode;
  Value query;
  Value answer;
  Value sections;
  Value citations;
  Value model;
  Value tokens;
  Value note;
  Value decisions;
  Value code;
  Value memories;
  Value token_budget;
};

/// {"mode", "query", "answer", "sections", "citations"}, then those of "model", "tokens", "note",
/// "decisions", "code" and "memories" that are not null. With a budget the answer gives way until
/// its text has at most `token_budget` times `BYTES_PER_TOKEN` bytes: excerpts shrink, from the
/// bottom section up, to about `ASK_MIN_EXCERPT_CHARS` bytes, then whole sections go from the
/// bottom, then the memories, then the code. The other members, and the places in `citations`, are
/// never cut, and may take more by themselves. Throws `KindError`, and `SurrogateError`
/// when a budget asks for the size of a string that has none.
Object build_wiki_ask_response(AskAnswer answer);

}  // namespace mcp_responses
