#include "ask_citations.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "encode.h"
#include "errors.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

std::string at(const char* list, std::size_t position) {
  return std::string(list) + "[" + std::to_string(position) + "]";
}

/// The same number as an integer, where there is one of 64 bits.
std::optional<std::int64_t> integer_of(double real) noexcept {
  constexpr double limit = 0x1p63;
  if (real < -limit || real >= limit) return {};
  const auto integer = static_cast<std::int64_t>(real);
  return static_cast<double>(integer) == real ? std::optional(integer) : std::nullopt;
}

}  // namespace

List _ask_citations(const List& sections, const List& extra) {
  return CitationLists(sections, extra, "extra").for_first(sections.size());
}

CitationLists::CitationLists(const List& sections, List extra, const char* extra_name)
    : extra_(std::move(extra)), extra_name_(extra_name) {
  for (std::size_t i = 0; i < sections.size(); ++i) {
    if (sections[i].kind() != Kind::object)
      throw KindError(at("sections", i), "dict", sections[i].kind());
  }
  from_sections_.reserve(ASK_MAX_CITATIONS);
  for (std::size_t i = 0; i < sections.size(); ++i) add_section(sections[i], i);
}

template <class Where>
CitationLists::Place CitationLists::place_of(const Value& citation, const Where& where) const {
  if (citation.kind() != Kind::object) throw KindError(where(), "dict", citation.kind());
  const auto part = [&](const Text& key) {
    const Value value = citation.get(key);
    const bool is_container = value.kind() == Kind::list || value.kind() == Kind::object;
    if (!is_container) return part_of(value);
    throw KindError(where() + "['" + key.utf8() + "']", "str, a number or None", value.kind());
  };
  Part path = part("path"_key);
  return {part("line_start"_key), part("line_end"_key), std::move(path)};
}

CitationLists::Part CitationLists::part_of(const Value& value) const {
  if (auto text = value.text()) return *std::move(text);
  if (const auto whole = value.whole()) return *whole;
  const auto real = value.real();
  if (!real) return {};
  // A place with NaN is always a new one, so the places before it number it.
  if (std::isnan(*real)) return Nan(mentions_.size());
  if (const auto integer = integer_of(*real)) return *integer;
  return *real;
}

void CitationLists::add_section(const Value& section, std::size_t position) {
  const Value citations = section.get("citations"_key);
  if (!citations.truthy()) return;
  const auto list = citations.list();
  const auto where = [position] { return at("sections", position) + "['citations']"; };
  if (!list) throw KindError(where(), "list", citations.kind());
  for (std::size_t i = 0; i < std::min(list->size(), ASK_CITATIONS_PER_SECTION); ++i) {
    // A full list takes no more, whichever sections are kept: the first ones are always among them.
    if (from_sections_.size() == ASK_MAX_CITATIONS) return;
    const Value& citation = (*list)[i];
    Place place = place_of(citation, [&] { return at(where().c_str(), i); });
    if (mentions_.try_emplace(std::move(place), Mention{.section = position}).second) {
      from_sections_.push_back({citation, position});
    }
  }
}

CitationLists::Candidate* CitationLists::extra_at(std::size_t position) {
  while (position >= from_extra_.size() && extra_read_ < extra_.size()) {
    const Value& citation = extra_[extra_read_];
    Place place = place_of(citation, [this] { return at(extra_name_, extra_read_); });
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
  for (std::size_t i = 0; count < ASK_MAX_CITATIONS; ++i) {
    Candidate* extra = extra_at(i);
    if (extra == nullptr) break;
    if (extra->section < sections) continue;  // one of these sections cites it already
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
      candidate.size = static_cast<std::int64_t>(_encoded_size(candidate.citation));
    size += candidate.size;
    ++count;
  });
  return size + std::max<std::int64_t>(0, count - 1);  // the commas between them
}

}  // namespace mcp_responses
