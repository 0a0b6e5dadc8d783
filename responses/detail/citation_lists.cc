#include "detail/citation_lists.h"

#include <algorithm>
#include <string>
#include <utility>

#include "ask_citations.h"
#include "detail/work.h"
#include "encode.h"
#include "errors.h"
#include "static_object.h"

namespace mcp_responses::detail {
namespace {

std::string element_path(const std::string& list, std::size_t position) {
  return list + "[" + std::to_string(position) + "]";
}

}  // namespace

CitationLists::CitationLists(const List& sections, List extra, const char* extra_name)
    : extra_(std::move(extra)), extra_name_(extra_name) {
  for (std::size_t i = 0; i < sections.size(); ++i) {
    count_work(element_work);
    if (sections[i].kind() != Kind::object)
      throw KindError(element_path("sections", i), {Kind::object}, sections[i].kind());
  }
  from_sections_.reserve(ASK_MAX_CITATIONS);
  for (std::size_t i = 0; i < sections.size(); ++i) add_section(sections[i], i);
}

bool CitationLists::CitationKey::operator==(const CitationKey& other) const {
  const bool is_same_line =
      line && other.line ? *line == *other.line : line_start == other.line_start;
  return is_same_line && line_end == other.line_end && path == other.path;
}

/// `path_of` returns the path of the citation in the arguments, for an error message.
template <class PathOf>
CitationLists::CitationKey CitationLists::key_of(const Value& citation, const PathOf& path_of) {
  if (citation.kind() != Kind::object) throw KindError(path_of(), {Kind::object}, citation.kind());
  const auto part = [&](const Text& key) {
    Value value = citation.get(key);
    if (value.kind() == Kind::list || value.kind() == Kind::object)
      throw KindError(path_of() + "['" + key.utf8() + "']",
                      {Kind::string, Kind::integer, Kind::real, Kind::null}, value.kind());
    return value;
  };
  CitationKey key;
  key.path = part("path"_key);
  key.line_start = part("line_start"_key);
  key.line_end = part("line_end"_key);
  key.line = key.line_start.whole();
  return key;
}

const CitationLists::Candidate* CitationLists::find(const Candidates& candidates,
                                                    const CitationKey& key) {
  const auto found =
      std::find_if(candidates.begin(), candidates.end(),
                   [&key](const Candidate& candidate) { return candidate.key == key; });
  return found == candidates.end() ? nullptr : &*found;
}

void CitationLists::add_section(const Value& section, std::size_t position) {
  const Value citations = section.get("citations"_key);
  if (!citations.truthy()) return;
  const auto list = citations.list();
  const auto list_path = [&] { return element_path("sections", position) + "['citations']"; };
  if (!list) throw KindError(list_path(), {Kind::list}, citations.kind());
  for (std::size_t i = 0; i < std::min(list->size(), ASK_CITATIONS_PER_SECTION); ++i) {
    // The list is full: an answer that keeps this section lists these citations, and no later one.
    if (from_sections_.size() == ASK_MAX_CITATIONS) return;
    const Value& citation = (*list)[i];
    CitationKey key = key_of(citation, [&] { return element_path(list_path(), i); });
    if (find(from_sections_, key) == nullptr)
      from_sections_.push_back({std::move(key), citation, position});
  }
}

CitationLists::Candidate* CitationLists::extra_at(std::size_t position) {
  while (position >= from_extra_.size() && extra_read_ < extra_.size()) {
    const Value& citation = extra_[extra_read_];
    count_work(element_work);
    CitationKey key = key_of(citation, [this] { return element_path(extra_name_, extra_read_); });
    ++extra_read_;
    if (find(from_extra_, key) != nullptr) continue;
    const Candidate* const in_section = find(from_sections_, key);
    const std::size_t section = in_section == nullptr ? no_section : in_section->section;
    from_extra_.push_back({std::move(key), citation, section});
  }
  return position < from_extra_.size() ? &from_extra_[position] : nullptr;
}

template <class Visitor>
void CitationLists::visit(std::size_t sections, Visitor visitor) {
  std::size_t count = 0;
  for (Candidate& candidate : from_sections_) {
    if (candidate.section >= sections) break;
    visitor(candidate);
    ++count;
  }
  for (std::size_t i = 0; count < ASK_MAX_CITATIONS; ++i) {
    Candidate* const extra = extra_at(i);
    if (extra == nullptr) break;
    if (extra->section < sections) continue;  // listed already
    visitor(*extra);
    ++count;
  }
}

List CitationLists::for_first(std::size_t sections) {
  List list;
  list.reserve(ASK_MAX_CITATIONS);
  visit(sections, [&list](const Candidate& candidate) { list.append(candidate.citation); });
  return list;
}

std::int64_t CitationLists::size_for_first(std::size_t sections) {
  std::int64_t size = 0;
  std::int64_t count = 0;
  visit(sections, [&](Candidate& candidate) {
    if (candidate.size < 0)
      candidate.size = static_cast<std::int64_t>(encoded_size(candidate.citation));
    size += candidate.size;
    ++count;
  });
  return size + std::max<std::int64_t>(0, count - 1);  // plus commas
}

}  // namespace mcp_responses::detail
