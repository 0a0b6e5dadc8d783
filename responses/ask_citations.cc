#include "ask_citations.h"

#include "detail/citation_lists.h"

namespace mcp_responses {

List ask_citations(const List& sections, const List& extra) {
  return detail::CitationLists(sections, extra, "extra").for_first(sections.size());
}

}  // namespace mcp_responses
