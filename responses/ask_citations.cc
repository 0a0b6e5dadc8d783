#include "ask_citations.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "encode.h"
#include "errors.h"
#include "shaped.h"

namespace mcp_responses {
namespace {

std::string at(const char* list, std::size_t position) {
  return std::string(list) + "[" + std::to_string(position) + "]";
}

/// `where` answers where the citation stands among the caller's arguments; only an error asks.
template <class Where>
CitationPlace place_of(const Value& citation, const Where& where) {
  if (citation.kind() != Kind::object) throw KindError(where(), "dict", citation.kind());
  const auto part = [&](const Text& key) {
    Value value = citation.get(key);
    if (!value.size()) return value;
    throw KindError(where() + "['" + key.utf8() + "']", "str, a number or None", value.kind());
  };
  return {part("path"_key), part("line_start"_key), part("line_end"_key)};
}

/// Numbers that are equal across kinds have equal hashes.
std::size_t hash_of(const Value& value) noexcept {
  switch (value.kind()) {
    case Kind::boolean:
      return std::hash<double>()(*value.boolean() ? 1.0 : 0.0);
    case Kind::integer:
      return std::hash<double>()(static_cast<double>(*value.integer()));
    case Kind::real:
      return std::hash<double>()(*value.real());
    case Kind::string:
      return mcp_responses::hash_of(value.text()->view());
    default:
      return 0;
  }
}

}  // namespace

std::size_t CitationPlaceHash::operator()(const CitationPlace& place) const noexcept {
  constexpr std::size_t prime = 1000003;
  return (hash_of(place.path) * prime + hash_of(place.line_start)) * prime +
         hash_of(place.line_end);
}

List _ask_citations(const List& sections, const List& extra) {
  return CitationLists(sections, extra, "extra").for_first(sections.size());
}

CitationLists::CitationLists(const List& sections, List extra, const char* extra_name)
    : extra_(std::move(extra)), extra_name_(extra_name) {
  for (std::size_t i = 0; i < sections.size(); ++i) {
    if (sections[i].kind() != Kind::object)
      throw KindError(at("sections", i), "dict", sections[i].kind());
  }
  for (std::size_t i = 0; i < sections.size(); ++i) add_section(sections[i], i);
}

void CitationLists::add_section(const Value& section, std::size_t position) {
  const Value citations = section.get("citations"_key);
  if (!citations.truthy()) return;
  const auto list = citations.list();
  const auto where = [position] { return at("sections", position) + "['citations']"; };
  if (!list) throw KindError(where(), "list", citations.kind());
  for (std::size_t i = 0; i < std::min(list->size(), _ASK_CITATIONS_PER_SECTION); ++i) {
    // A full list takes no more, whichever sections are kept: the first ones are always among them.
    if (from_sections_.size() == _ASK_MAX_CITATIONS) return;
    const Value& citation = (*list)[i];
    CitationPlace place = place_of(citation, [&] { return at(where().c_str(), i); });
    if (mentions_.try_emplace(std::move(place), Mention{.section = position}).second) {
      from_sections_.push_back({citation, position});
    }
  }
}

CitationLists::Candidate* CitationLists::extra_at(std::size_t position) {
  while (position >= from_extra_.size() && extra_read_ < extra_.size()) {
    const Value& citation = extra_[extra_read_];
    CitationPlace place = place_of(citation, [this] { return at(extra_name_, extra_read_); });
    ++extra_read_;
    Mention& mention = mentions_.try_emplace(std::move(place)).first->second;
    if (!std::exchange(mention.in_extra, true)) from_extra_.push_back({citation, mention.section});
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
  for (std::size_t i = 0; count < _ASK_MAX_CITATIONS; ++i) {
    Candidate* extra = extra_at(i);
    if (extra == nullptr) break;
    if (extra->section < sections) continue;  // one of these sections cites it already
    visitor(*extra);
    ++count;
  }
}

List CitationLists::for_first(std::size_t sections) {
  List list;
  list.reserve(_ASK_MAX_CITATIONS);
  visit(sections, [&list](const Candidate& candidate) { list.append(candidate.citation); });
  return list;
}

std::int64_t CitationLists::size_for_first(std::size_t sections) {
  std::int64_t size = 0;
  std::int64_t count = 0;
  visit(sections, [&](Candidate& candidate) {
    if (candidate.size < 0)
      candidate.size = static_cast<std::int64_t>(_encoded_size(candidate.citation));
    size += candidate.size;
    ++count;
  });
  return size + std::max<std::int64_t>(0, count - 1);  // the commas between them
}

}  // namespace mcp_responses
