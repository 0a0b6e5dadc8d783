// The names that every call needs as host strings: of fields, keys and globals. Each is made once
// and interned, as the interpreter's own look-ups expect.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "py_ref.h"
#include "records.h"
#include "text.h"

namespace mcp_responses {

class InternedStrings {
 public:
  /// Makes the names of all fields; words are made when they are first asked for. Throws
  /// `PythonError`.
  InternedStrings();

  /// The str of a field's name, or of any fixed word: borrowed, valid while this object lives. A
  /// word is known by its address, so two words of the same characters have a str each, which
  /// interning makes the same one. Throws `PythonError` for a word that is new.
  PyObject* of(Field field) const noexcept {
    return fields_[static_cast<std::size_t>(field)].get();
  }
  PyObject* of(const StringLiteral& word) {
    auto& [recent, string] =
        recent_[reinterpret_cast<std::uintptr_t>(&word) / sizeof(StringLiteral) % recent_.size()];
    if (recent != &word) {
      string = found(word);
      recent = &word;
    }
    return string;
  }

 private:
  PyObject* found(const StringLiteral& word);

  std::array<PyRef, field_names.size()> fields_;
  std::unordered_map<const StringLiteral*, PyRef> words_;
  // Found by address without hashing; a word that another one displaces is found in `words_`.
  std::array<std::pair<const StringLiteral*, PyObject*>, 128> recent_{};
};

}  // namespace mcp_responses
