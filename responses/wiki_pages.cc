#include "wiki_pages.h"

namespace mcp_responses {

Object build_wiki_status_response(WikiStatus status) { return wiki_status(std::move(status)); }

Object build_wiki_list_response(Value pages, Value total, Value offset, Value truncated) {
  return wiki_list(std::move(pages), std::move(total), std::move(offset), std::move(truncated));
}

Object build_wiki_read_response(WikiPage page) { return wiki_page(std::move(page)); }

}  // namespace mcp_responses
