// The ask answer fitted the slow, obvious way: assembled and encoded anew at every step, nothing
// remembered.
#pragma once

#include <algorithm>
#include <vector>

#include "ask_response.h"
#include "cuts.h"
#include "encode.h"

namespace models {

using mcp_responses::AskAnswer;
using mcp_responses::List;
using mcp_responses::Object;
using mcp_responses::Text;
using mcp_responses::Value;

inline Text key(std::string_view name) { return Text(name); }

inline List slow_citations(const List& sections, const List& extra) {
  List candidates;
  for (const Value& section : sections) {
    const Value citations = section.object()->get(key("citations"));
    if (citations.truthy()) candidates.extend(citations.list()->first(3));
  }
  candidates.extend(extra);
  List chosen;
  const auto same_place = [](const Value& a, const Value& b) {
    return std::ranges::all_of(
        std::initializer_list<const char*>{"path", "line_start", "line_end"},
        [&](const char* part) { return a.object()->get(key(part)) == b.object()->get(key(part)); });
  };
  for (const Value& candidate : candidates) {
    if (chosen.size() == 24) break;
    if (std::ranges::none_of(
            chosen, [&](const Value& earlier) { return same_place(earlier, candidate); })) {
      chosen.append(candidate);
    }
  }
  return chosen;
}

inline Object assembled(const AskAnswer& answer, const std::vector<Text>& excerpts) {
  const List kept = answer.sections.list()->first(excerpts.size());
  List rows;
  for (std::size_t i = 0; i < excerpts.size(); ++i) {
    const Object section = *kept[i].object();
    Object row;
    for (const char* name : {"page_id", "title", "heading", "similarity"})
      row.set(key(name), section.get(key(name)));
    row.set(key("stale"), section.get(key("stale")).truthy());
    row.set(key("excerpt"), excerpts[i]);
    rows.append(row);
  }
  const List extra = answer.citations.truthy() ? *answer.citations.list() : List();
  Object response{{key("mode"), answer.mode},
                  {key("query"), answer.query},
                  {key("answer"), answer.answer},
                  {key("sections"), rows},
                  {key("citations"), slow_citations(kept, extra)}};
  const std::pair<const char*, Value> optional[] = {
      {"model", answer.model},         {"tokens", answer.tokens}, {"note", answer.note},
      {"decisions", answer.decisions}, {"code", answer.code},     {"memories", answer.memories}};
  for (const auto& [name, value] : optional) {
    if (!value.is_null()) response.set(key(name), value);
  }
  return response;
}

/// Requires excerpts that are strings, and a budget far from the ends of 64 bits.
inline Object slow_ask(AskAnswer answer) {
  std::vector<Text> full;
  const List sections = *answer.sections.list();
  for (const Value& section : sections) {
    const Value excerpt = section.object()->get(key("excerpt"));
    full.push_back(mcp_responses::_trimmed(excerpt.truthy() ? *excerpt.text() : Text(), 1200));
  }
  if (answer.token_budget.is_null()) return assembled(answer, full);

  const std::int64_t limit = *answer.token_budget.integer() * 4;
  const auto size = [&answer](const std::vector<Text>& excerpts) {
    return static_cast<std::int64_t>(mcp_responses::_encoded_size(assembled(answer, excerpts)));
  };
  std::size_t count = full.size();
  while (count > 0 &&
         size(std::vector<Text>(count)) + static_cast<std::int64_t>(count) * 200 > limit)
    --count;

  std::vector<Text> excerpts(count);
  for (std::size_t i = 0; i < count; ++i) {
    excerpts[i] = full[i];
    const std::int64_t over =
        size(excerpts) + static_cast<std::int64_t>(count - i - 1) * 200 - limit;
    const auto length = static_cast<std::int64_t>(full[i].size());
    if (over > 0)
      excerpts[i] = mcp_responses::_trimmed(full[i], std::max<std::int64_t>(0, length - over - 8));
  }
  while (size(excerpts) > limit && !excerpts.empty()) excerpts.pop_back();
  for (Value* droppable : {&answer.memories, &answer.code}) {
    if (size(excerpts) > limit) *droppable = {};
  }
  return assembled(answer, excerpts);
}

}  // namespace models
