// The answers of the wiki tool's actions "status", "list" and "read". All keys are always present;
// a missing list is an empty list, a null stays null. Contents are passed through unseen.
#pragma once

#include "text.h"
#include "value.h"

namespace mcp_responses {

/// Arguments of `build_wiki_status_response`. `coverage_pct` is a percentage, as a float.
struct WikiStatus {
  Value built;
  Value branch;
  Value pages = 0;
  Value files_covered = 0;
  Value total_sources = 0;
  Value coverage_pct = 0.0;
  Value last_built;
  Value model;
  Value stale_pages;
  Value enabled = false;
  Value configured = false;
};

/// "built", "branch", "enabled", "configured", "pages", "files_covered", "total_sources",
/// "coverage_pct", "last_built", "model", "stale_pages".
Object build_wiki_status_response(WikiStatus status);

/// "pages", "total_count", "offset", "truncated" (the caller's flag) and "has_more" (whether pages
/// remain past these). Throws `KindError` when `pages` is not a list, or `total` or `offset` not a
/// number.
Object build_wiki_list_response(Value pages, Value total, Value offset = 0,
                                Value truncated = false);

/// Arguments of `build_wiki_read_response`.
struct WikiPage {
  Value page_id;
  Value title;
  Value content;
  Value citations;
  Value source_files;
  Value related_pages;
};

/// "page_id", "title", "content", "citations", "source_files", "related_pages".
Object build_wiki_read_response(WikiPage page);

}  // namespace mcp_responses
