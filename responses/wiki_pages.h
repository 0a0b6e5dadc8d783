// The answers of the wiki tool's actions "status", "list" and "read". All keys are always present: a
// missing list is an empty list, null stays null.
#pragma once

#include <utility>

#include "pagination.h"
#include "static_object.h"
#include "text.h"
#include "value.h"

namespace mcp_responses {

/// The arguments of `build_wiki_status_response`. `coverage_pct` is a percentage, as a float. The type
/// `Passed` is Value, or a foreign object: only the lists are inspected.
template <class Passed>
struct WikiStatusOf {
  Passed built = {};
  Passed branch = {};
  Passed pages = 0;
  Passed files_covered = 0;
  Passed total_sources = 0;
  Passed coverage_pct = 0.0;
  Passed last_built = {};
  Passed model = {};
  Value stale_pages = {};
  Passed enabled = false;
  Passed configured = false;
};
using WikiStatus = WikiStatusOf<Value>;

/// The arguments of `build_wiki_read_response`. The lists may be null.
template <class Passed>
struct WikiPageOf {
  Passed page_id = {};
  Passed title = {};
  Passed content = {};
  Value citations = {};
  Value source_files = {};
  Value related_pages = {};
};
using WikiPage = WikiPageOf<Value>;

/// The list, or an empty one if it is falsy.
inline Value or_empty_list(Value list) { return list.truthy() ? std::move(list) : Value(List()); }

/// "built", "branch", "enabled", "configured", "pages", "files_covered", "total_sources",
/// "coverage_pct", "last_built", "model", "stale_pages".
template <class Passed = Value>
auto build_wiki_status_response(WikiStatusOf<Passed> status) {
  return StaticObject{
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

/// "pages", "total_count", "offset", "truncated" (the caller's flag) and "has_more" (true if pages
/// remain after these). Throws `KindError` if `pages` is not a list, or `total` or `offset` not a
/// number.
template <class Passed = Value>
auto build_wiki_list_response(Value pages, Value total, Value offset = 0,
                              Passed truncated = false) {
  const bool has_more = rows_remain(offset, row_count(pages, "pages"), total, "total");
  return StaticObject{
      "pages"_key = std::move(pages),   "total_count"_key = std::move(total),
      "offset"_key = std::move(offset), "truncated"_key = std::move(truncated),
      "has_more"_key = has_more,
  };
}

/// "page_id", "title", "content", "citations", "source_files", "related_pages".
template <class Passed = Value>
auto build_wiki_read_response(WikiPageOf<Passed> page) {
  return StaticObject{
      "page_id"_key = std::move(page.page_id),
      "title"_key = std::move(page.title),
      "content"_key = std::move(page.content),
      "citations"_key = or_empty_list(std::move(page.citations)),
      "source_files"_key = or_empty_list(std::move(page.source_files)),
      "related_pages"_key = or_empty_list(std::move(page.related_pages)),
  };
}

}  // namespace mcp_responses
