// The citation lists of ask answers that keep fewer and fewer sections.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "value.h"

namespace mcp_responses::detail {

/// The lists of all answers that keep the first n of the same sections, for any n. Each citation is
/// read once and measured once.
class CitationLists {
 public:
  /// `extra_name` is the name of `extra` in error messages. Throws `KindError`.
  CitationLists(const List& sections, List extra, const char* extra_name);

  /// The list for the first `sections` sections. Throws `KindError`.
  List for_first(std::size_t sections);
  /// The size of that list's text without its brackets, in bytes. Throws `KindError` and
  /// `SurrogateError`.
  std::int64_t size_for_first(std::size_t sections);

 private:
  static constexpr std::size_t no_section = std::numeric_limits<std::size_t>::max();

  /// The place that a citation cites. Lines are compared first, because they differ more often than
  /// paths.
  struct CitationKey {
    std::optional<std::int64_t> line;  // `line_start` if it is an integer: faster to compare
    Value line_start;
    Value line_end;
    Value path;

    bool operator==(const CitationKey& other) const;
  };

  /// A citation whose place no earlier citation of its list cites.
  struct Candidate {
    CitationKey key;
    Value citation;
    std::size_t section;     // the first section that cites the place
    std::int64_t size = -1;  // of its text, in bytes, once it is measured
  };
  // A list has so few citations that a linear search is faster than a map.
  using Candidates = std::vector<Candidate>;

  template <class PathOf>
  static CitationKey key_of(const Value& citation, const PathOf& path_of);
  static const Candidate* find(const Candidates& candidates, const CitationKey& key);

  void add_section(const Value& section, std::size_t position);
  /// The citation at a position among the distinct ones of `extra`, which are read on demand. Null
  /// after the last.
  Candidate* extra_at(std::size_t position);
  /// Calls `visitor` with each candidate in the list for the first `sections` sections, in order.
  template <class Visitor>
  void visit(std::size_t sections, Visitor visitor);

  Candidates from_sections_;
  Candidates from_extra_;
  List extra_;
  const char* extra_name_;
  std::size_t extra_read_ = 0;
};

}  // namespace mcp_responses::detail
