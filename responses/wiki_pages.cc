#include "wiki_pages.h"

#include "pagination.h"

namespace mcp_responses {

Object build_wiki_status_response(WikiStatus status) { return wiki_status(std::move(status)); }

Object build_wiki_list_response(Value pages, Value total, Value offset, Value truncated) {
  const bool has_more = rows_remain(offset, row_count(pages, "pages"), total, "total");
  return Shaped{
      "pages"_key = std::move(pages),   "total_count"_key = std::move(total),
      "offset"_key = std::move(offset), "truncated"_key = std::move(truncated),
      "has_more"_key = has_more,
  };
}

Object build_wiki_read_response(WikiPage page) {
  return Shaped{
      "page_id"_key = std::move(page.page_id),
      "title"_key = std::move(page.title),
      "content"_key = std::move(page.content),
      "citations"_key = or_empty_list(std::move(page.citations)),
      "source_files"_key = or_empty_list(std::move(page.source_files)),
      "related_pages"_key = or_empty_list(std::move(page.related_pages)),
  };
}

}  // namespace mcp_responses
