// The one citation list of an ask answer: the first citations of each section, then those that the
// answer itself read, each place once, up to a cap.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <memory_resource>
#include <variant>
#include <vector>

#include "value.h"

namespace mcp_responses {

/// How many citations of each section are candidates.
inline constexpr std::size_t ASK_CITATIONS_PER_SECTION = 3;
/// The most citations that the list holds.
inline constexpr std::size_t ASK_MAX_CITATIONS = 24;

/// The citations for these sections (objects, best first, with an optional list "citations") and
/// `extra` (a list of citation objects), whole and unchanged. Two citations are the same place when
/// "path", "line_start" and "line_end" are equal (numbers by value, absent as null); the first of
/// them stays. Throws `KindError` when something looked at is of the wrong kind.
List _ask_citations(const List& sections, const List& extra);

/// The lists of all answers that keep the first n of the same sections, n from 0 up. Each citation
/// is looked at once and measured once, however many n are asked for.
class CitationLists {
 public:
  /// `extra_name` is what an error calls the extra. Throws `KindError`.
  CitationLists(const List& sections, List extra, const char* extra_name);

  /// The list for the first `sections` sections. Its elements are the callers' own.
  List for_first(std::size_t sections);
  /// Bytes of that list's text between its brackets.
  std::int64_t size_for_first(std::size_t sections);

 private:
  static constexpr std::size_t no_section = std::numeric_limits<std::size_t>::max();

  /// A citation that no earlier one of its source repeats.
  struct Candidate {
    Value citation;
    std::size_t section;  // of a section's: its position. Of an extra: the first section that cites
                          // the same place
    std::int64_t size = -1;  // bytes of its text, once measured
  };
  struct Mention {
    std::size_t section = no_section;
    bool in_extra = false;
  };

  /// NaN equals nothing, so each has a number of its own.
  enum class Nan : std::size_t {};
  /// A part of a place in the one form that all equal values share: a number without a fraction is
  /// an integer where it fits, absent is null. So parts have an order, and none is rounded.
  using Part = std::variant<std::monostate, std::int64_t, double, Nan, Text>;
  /// What a citation points at: its first line, its last one and the path. Lines come first because
  /// they differ more often than paths.
  using Place = std::array<Part, 3>;

  /// `where` answers where the citation stands among the caller's arguments; only an error asks.
  template <class Where>
  Place place_of(const Value& citation, const Where& where) const;
  /// Requires a value that is no list and no object.
  Part part_of(const Value& value) const;

  void add_section(const Value& section, std::size_t position);
  /// The extra at `position` among those that are distinct, read on demand; null past the last.
  Candidate* extra_at(std::size_t position);
  /// Calls `visitor` with each candidate that is in the list for the first `sections` sections, in
  /// order.
  template <class Visitor>
  void visit(std::size_t sections, Visitor visitor);

  std::vector<Candidate> from_sections_;
  std::vector<Candidate> from_extra_;
  // Most answers cite so few places that they need no memory of their own.
  std::array<std::byte, 2048> buffer_;
  std::pmr::monotonic_buffer_resource memory_{buffer_.data(), buffer_.size()};
  std::pmr::map<Place, Mention> mentions_{&memory_};
  List extra_;
  const char* extra_name_;
  std::size_t extra_read_ = 0;
};

}  // namespace mcp_responses
