// Fitting a budget is arithmetic. The size of an answer is the sum of its parts: the head (the answer
// with empty lists), each section's row with an empty excerpt, each excerpt, the citation list of the
// kept sections, and commas. Each part is measured once, the sizes of all reduced answers are sums, and
// the answer is assembled once, at the end.
#include "ask_response.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "cuts.h"
#include "detail/citation_lists.h"
#include "detail/work.h"
#include "encode.h"
#include "errors.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

/// An excerpt that does not fit is cut to its length minus the excess in bytes minus this number. One of
/// the remaining characters is the ellipsis, of 3 bytes. So at least 9 bytes are removed beyond the excess,
/// and 3 added.
constexpr std::int64_t spare_chars = 8;

/// The size of an excerpt without its quotation marks, which are part of the row.
std::int64_t content_size(const Text& excerpt) {
  return static_cast<std::int64_t>(encoded_string_size(excerpt.view())) - 2;
}

Text excerpt_of(const Value& section) {
  const Value excerpt = section.get("excerpt"_key);
  if (!excerpt.truthy()) return {};
  const auto text = excerpt.text();
  return trimmed(text ? *text : tool_result_text(excerpt), ASK_EXCERPT_CHARS);
}

/// The row of a section, with an empty excerpt.
Object row_of(const Value& section) {
  return StaticObject{
      "page_id"_key = section.get("page_id"_key),
      "title"_key = section.get("title"_key),
      "heading"_key = section.get("heading"_key),
      "similarity"_key = section.get("similarity"_key),
      "stale"_key = section.get("stale"_key).truthy(),
      "excerpt"_key = Text(),
  };
}

Object answer_of(const AskAnswer& answer, List rows, List citations) {
  return StaticObject{
      "mode"_key = answer.mode,
      "query"_key = answer.query,
      "answer"_key = answer.answer,
      "sections"_key = std::move(rows),
      "citations"_key = std::move(citations),
      "model"_optional = answer.model,
      "tokens"_optional = answer.tokens,
      "note"_optional = answer.note,
      "decisions"_optional = answer.decisions,
      "code"_optional = answer.code,
      "memories"_optional = answer.memories,
  };
}

List list_of(const Value& sections) {
  const auto list = sections.list();
  if (!list) throw KindError("sections", {Kind::list}, sections.kind());
  return *list;
}

List extra_of(const Value& citations) {
  if (!citations.truthy()) return {};
  const auto list = citations.list();
  if (!list) throw KindError("citations", {Kind::list, Kind::null}, citations.kind());
  return *list;
}

/// An answer that is being reduced.
class Draft {
 public:
  explicit Draft(AskAnswer answer)
      : answer_(std::move(answer)),
        sections_(list_of(answer_.sections)),
        citations_(sections_, extra_of(answer_.citations), "citations"),
        kept_(sections_.size()) {
    rows_.reserve(kept_);
    excerpts_.reserve(kept_);
    for (const Value& section : sections_) {
      rows_.push_back(row_of(section));
      excerpts_.push_back(excerpt_of(section));
    }
  }

  /// Reduces the answer to `limit` bytes, if possible. Sections are dropped before excerpts are cut: a
  /// section is kept only if the bytes that are reserved for all kept excerpts suffice. So the first
  /// excerpts get the bytes that are left, and the last ones shrink first.
  void fit(std::int64_t limit) {
    measure();
    drop_sections(limit);
    cut_excerpts(limit);
    drop(answer_.memories, memories_size_, limit);
    drop(answer_.code, code_size_, limit);
  }

  Object assembled() {
    List rows;
    rows.reserve(kept_);
    for (std::size_t i = 0; i < kept_; ++i) {
      rows_[i].set("excerpt"_key, excerpts_[i]);
      rows.append(std::move(rows_[i]));
    }
    return answer_of(answer_, std::move(rows), citations_.for_first(kept_));
  }

 private:
  std::int64_t size_of(const Value& value) {
    const std::size_t size = encoded_size(value);
    detail::count_work(size);
    return static_cast<std::int64_t>(size);
  }

  /// The size of an optional member and the comma before it; 0 if it is null.
  std::int64_t member_size(const Text& key, const Value& value) {
    constexpr std::int64_t comma_and_colon = 2;
    return value.is_null() ? 0 : size_of(key) + size_of(value) + comma_and_colon;
  }

  /// Each member is measured by itself, so that a foreign one is not converted.
  void measure() {
    code_size_ = member_size("code"_key, answer_.code);
    memories_size_ = member_size("memories"_key, answer_.memories);
    head_size_ = size_of(answer_of({}, {}, {})) + member_size("model"_key, answer_.model) +
                 member_size("tokens"_key, answer_.tokens) + member_size("note"_key, answer_.note) +
                 member_size("decisions"_key, answer_.decisions) + code_size_ + memories_size_;
    for (const Value* required : {&answer_.mode, &answer_.query, &answer_.answer})
      head_size_ += size_of(*required) - size_of(Value());  // instead of null
    rows_size_.assign(1, 0);
    for (const Object& row : rows_) {
      const std::int64_t comma = rows_size_.size() == 1 ? 0 : 1;
      rows_size_.push_back(rows_size_.back() + comma + size_of(row));
    }
  }

  /// The size of the answer with the first `sections` sections and empty excerpts.
  std::int64_t size_without_excerpts(std::size_t sections) {
    return head_size_ + rows_size_[sections] + citations_.size_for_first(sections);
  }

  static std::int64_t reserved_for(std::size_t sections) {
    return static_cast<std::int64_t>(sections) * ASK_MIN_EXCERPT_CHARS;
  }

  void drop_sections(std::int64_t limit) {
    while (kept_ > 0 && size_without_excerpts(kept_) + reserved_for(kept_) > limit) --kept_;
  }

  /// Cuts excerpts, from the first section to the last. An excerpt that fits beside the bytes reserved
  /// for those below it stays whole. A cut removes enough: each character has at least one byte, and the
  /// spare characters make up for the ellipsis. So all kept sections fit.
  void cut_excerpts(std::int64_t limit) {
    size_ = size_without_excerpts(kept_);
    for (std::size_t i = 0; i < kept_; ++i) {
      const std::int64_t excess =
          size_ + content_size(excerpts_[i]) + reserved_for(kept_ - i - 1) - limit;
      if (excess > 0) {
        const auto length = static_cast<std::int64_t>(excerpts_[i].size());
        excerpts_[i] =
            trimmed(excerpts_[i], std::max<std::int64_t>(0, length - excess - spare_chars));
      }
      size_ += content_size(excerpts_[i]);
    }
  }

  void drop(Value& member, std::int64_t size, std::int64_t limit) {
    if (size_ <= limit) return;
    size_ -= size;
    member = {};
  }

  AskAnswer answer_;
  List sections_;
  detail::CitationLists citations_;
  std::vector<Object> rows_;  // with empty excerpts
  std::vector<Text> excerpts_;
  std::size_t kept_;  // the answer contains the first `kept_` sections

  // Sizes in bytes:
  std::int64_t head_size_ = 0;           // the answer with empty lists
  std::int64_t code_size_ = 0;           // part of the head
  std::int64_t memories_size_ = 0;       // part of the head
  std::vector<std::int64_t> rows_size_;  // prefix sums: the first n rows, with commas, by n
  std::int64_t size_ = 0;                // the answer so far
};

/// The budget in bytes, clamped to a bound that exceeds any answer, so that no sum overflows.
std::int64_t limit_of(const Value& token_budget) {
  constexpr std::int64_t bound = std::int64_t{1} << 56;
  const auto budget = token_budget.whole();
  if (!budget) throw KindError("token_budget", {Kind::integer, Kind::null}, token_budget.kind());
  return std::clamp(*budget, -bound, bound) * BYTES_PER_TOKEN;
}

}  // namespace

Object build_wiki_ask_response(AskAnswer answer) {
  const Value token_budget = answer.token_budget;
  Draft draft(std::move(answer));
  if (!token_budget.is_null()) draft.fit(limit_of(token_budget));
  return draft.assembled();
}

}  // namespace mcp_responses
