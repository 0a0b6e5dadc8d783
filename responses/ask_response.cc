// Fitting is arithmetic. The size of an answer is the sum of its parts: the head (everything but
// the lists' contents), each section row with an empty excerpt, each excerpt, the citation list of
// the sections kept, and the commas between them. Every part is measured once, every size that the
// rules ask for is added up from them, and the answer is put together once, at the end.
#include "ask_response.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ask_citations.h"
#include "cuts.h"
#include "encode.h"
#include "errors.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

/// Characters cut beyond the overflow when an excerpt shrinks.
constexpr std::int64_t spare_chars = 8;

std::int64_t size_of(const Value& value) { return static_cast<std::int64_t>(_encoded_size(value)); }

/// Bytes of an excerpt beyond the two quotation marks that its row has anyway.
std::int64_t content_size(const Text& excerpt) {
  return static_cast<std::int64_t>(encoded_string_size(excerpt.view())) - 2;
}

Text excerpt_of(const Value& section) {
  const Value excerpt = section.get("excerpt"_key);
  if (!excerpt.truthy()) return {};
  const auto text = excerpt.text();
  return _trimmed(text ? *text : tool_result_text(excerpt), ASK_EXCERPT_CHARS);
}

/// The row of a section, its excerpt empty.
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

List list_of(const Value& sections) {
  const auto list = sections.list();
  if (!list) throw KindError("sections", "list", sections.kind());
  return *list;
}

List extra_of(const Value& citations) {
  if (!citations.truthy()) return {};
  const auto list = citations.list();
  if (!list) throw KindError("citations", "list or None", citations.kind());
  return *list;
}

/// The answer as far as it is decided: what each step takes away or cuts.
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

  void fit(std::int64_t limit) {
    measure();
    settle_count(limit);
    place_excerpts(limit);
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
    Object response = required(std::move(rows), citations_.for_first(kept_));
    response.add_known("model"_key, answer_.model);
    response.add_known("tokens"_key, answer_.tokens);
    response.add_known("note"_key, answer_.note);
    response.add_known("decisions"_key, answer_.decisions);
    response.add_known("code"_key, answer_.code);
    response.add_known("memories"_key, answer_.memories);
    return response;
  }

 private:
  Object required(List rows, List citations) const {
    return StaticObject{
        "mode"_key = answer_.mode,
        "query"_key = answer_.query,
        "answer"_key = answer_.answer,
        "sections"_key = std::move(rows),
        "citations"_key = std::move(citations),
    };
  }

  void measure() {
    head_size_ = size_of(required({}, {}));
    add_to_head("model"_key, answer_.model);
    add_to_head("tokens"_key, answer_.tokens);
    add_to_head("note"_key, answer_.note);
    add_to_head("decisions"_key, answer_.decisions);
    code_size_ = add_to_head("code"_key, answer_.code);
    memories_size_ = add_to_head("memories"_key, answer_.memories);
    rows_size_.assign(1, 0);
    for (const Object& row : rows_) {
      const std::int64_t comma = rows_size_.size() == 1 ? 0 : 1;
      rows_size_.push_back(rows_size_.back() + comma + size_of(row));
    }
  }

  /// Measures a member that is there only when it is not null, and the comma before it.
  std::int64_t add_to_head(const Text& key, const Value& value) {
    if (value.is_null()) return 0;
    const std::int64_t size = size_of(key) + size_of(value) + 2;  // "," and ":"
    head_size_ += size;
    return size;
  }

  /// Of the answer with these sections, every excerpt empty.
  std::int64_t size_without_excerpts(std::size_t sections) {
    return head_size_ + rows_size_[sections] + citations_.size_for_first(sections);
  }

  static std::int64_t reserve_for(std::size_t sections) {
    return static_cast<std::int64_t>(sections) * ASK_MIN_EXCERPT_CHARS;
  }

  void settle_count(std::int64_t limit) {
    while (kept_ > 0 && size_without_excerpts(kept_) + reserve_for(kept_) > limit) --kept_;
  }

  /// From the top down: each excerpt whole while it fits beside what is held back for those below
  /// it. A cut takes more bytes than the overflow (a character has at least one, an ellipsis
  /// three), and what is held back for a section is enough for none of it, so that the sections
  /// that were kept fit in any case.
  void place_excerpts(std::int64_t limit) {
    size_ = size_without_excerpts(kept_);
    for (std::size_t i = 0; i < kept_; ++i) {
      const std::int64_t over =
          size_ + content_size(excerpts_[i]) + reserve_for(kept_ - i - 1) - limit;
      if (over > 0) {
        const auto length = static_cast<std::int64_t>(excerpts_[i].size());
        excerpts_[i] =
            _trimmed(excerpts_[i], std::max<std::int64_t>(0, length - over - spare_chars));
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
  CitationLists citations_;
  std::vector<Object> rows_;  // their excerpts apart
  std::vector<Text> excerpts_;
  std::size_t kept_;  // sections, the first ones

  // In bytes of text:
  std::int64_t head_size_ = 0;  // the answer with both lists empty
  std::int64_t code_size_ = 0;  // the member, within the head
  std::int64_t memories_size_ = 0;
  std::vector<std::int64_t> rows_size_;  // the first n rows with empty excerpts, and their commas
  std::int64_t size_ = 0;                // the answer as far as excerpts are placed
};

/// The byte limit. A budget beyond what any answer can reach is as good as one at that bound:
/// nothing wraps.
std::int64_t limit_of(const Value& token_budget) {
  constexpr std::int64_t beyond_any_answer = std::int64_t{1} << 56;
  const auto budget = token_budget.whole();
  if (!budget) throw KindError("token_budget", "int or None", token_budget.kind());
  return std::clamp(*budget, -beyond_any_answer, beyond_any_answer) * BYTES_PER_TOKEN;
}

}  // namespace

Object build_wiki_ask_response(AskAnswer answer) {
  const Value token_budget = answer.token_budget;
  Draft draft(std::move(answer));
  if (!token_budget.is_null()) draft.fit(limit_of(token_budget));
  return draft.assembled();
}

}  // namespace mcp_responses
