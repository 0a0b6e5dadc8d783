// The answers of the wiki tool's actions "status", "list" and "read". All keys are always present;
// a missing list is an empty list, a null stays null. Contents are passed through unseen.
#pragma once

#include <utility>

#include "keys.h"
#include "text.h"
#include "value.h"

namespace mcp_responses {

/// Arguments of `build_wiki_status_response`. `coverage_pct` is a percentage, as a float. All but
/// the stale pages are only handed on, whatever a host's own kind of value is.
template <class Passed>
struct WikiStatusOf {
  Passed built;
  Passed branch;
  Passed pages = 0;
  Passed files_covered = 0;
  Passed total_sources = 0;
  Passed coverage_pct = 0.0;
  Passed last_built;
  Passed model;
  Value stale_pages;
  Passed enabled = false;
  Passed configured = false;
};
using WikiStatus = WikiStatusOf<Value>;

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

inline Value or_empty_list(Value list) { return list.truthy() ? std::move(list) : Value(List()); }

/// The members of `build_wiki_status_response`.
template <class Passed>
auto wiki_status(WikiStatusOf<Passed> status) {
  return Shaped{
      "built"_key = std::move(status.built),
      "branch"_key = std::move(status.branch),
      "enabled"_key = std::move(status.enabled),
      "configured"_key = std::move(status.configured),
      "pages"_key = std::move(status.pages),
      "files_covered"_key = std::move(status.files_covered),
      "total_sources"_key = std::move(status.total_sources),
      "coverage_pct"_key = std::move(status.coverage_pct),
      "last_built"_key = std::move(status.last_built),
      "model"_key = std::move(status.model),
      "stale_pages"_key = or_empty_list(std::move(status.stale_pages)),
  };
}

}  // namespace mcp_responses
