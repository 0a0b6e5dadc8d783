// The layout of CPython 3.11's dict entries and small integers, which is fixed for all of 3.11. The
// extension is built for 3.11 alone. Direct access makes rows up to twice as fast as the
// interpreter's functions do.
//
// No other file depends on this layout. It is compared with the interpreter's headers when the
// extension is built (cpython_layout_check.c), and with the results of public functions when a module
// is loaded. If either check fails, each function here uses the public interface instead.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

#include "cpython_layout_structs.h"
#include "py_ref.h"

namespace mcp_responses {

inline constexpr bool is_layout_built_in = MCP_RESPONSES_CPYTHON_LAYOUT;
inline bool is_layout_confirmed = false;  // one for the process, like the interpreter's code

/// True if the layout may be used.
inline bool is_layout_usable() noexcept { return is_layout_built_in && is_layout_confirmed; }

/// Compares the layout with the interpreter's behaviour, and permits its use if they agree. Throws
/// `PythonError`.
void confirm_layout();

/// The entries of a table of keys.
inline CPythonDictEntry* entries_of(CPythonDictKeys* keys) noexcept {
  char* const index = reinterpret_cast<char*>(keys + 1);
  return reinterpret_cast<CPythonDictEntry*>(index + (std::size_t{1} << keys->log2_index_bytes));
}

/// The table of keys of a dict, if every key is exactly a str and the table also holds the values.
/// Otherwise null.
inline CPythonDictKeys* unicode_keys_of(PyObject* dict) noexcept {
  if (!is_layout_usable()) return nullptr;
  auto* const keys =
      reinterpret_cast<CPythonDictKeys*>(reinterpret_cast<PyDictObject*>(dict)->ma_keys);
  return keys->kind == cpython_dict_keys_unicode ? keys : nullptr;
}

/// Like `PyDict_Next`. Safe even if the dict has changed since the last call.
inline bool next_member(PyObject* dict, Py_ssize_t& position, PyObject*& key,
                        PyObject*& value) noexcept {
  CPythonDictKeys* const keys = unicode_keys_of(dict);
  if (keys == nullptr) {
    // Pointers to copies, so that a cursor whose members are the arguments stays in registers.
    Py_ssize_t at = position;
    PyObject* next_key = nullptr;
    PyObject* next_value = nullptr;
    if (PyDict_Next(dict, &at, &next_key, &next_value) == 0) return false;
    position = at;
    key = next_key;
    value = next_value;
    return true;
  }
  const CPythonDictEntry* const entries = entries_of(keys);
  while (position < keys->entry_count) {
    const CPythonDictEntry& entry = entries[position++];
    if (entry.value == nullptr) continue;
    key = entry.key;
    value = entry.value;
    return true;
  }
  return false;
}

/// Replaces all values of a dict, in order, and takes over the new ones. Requires one value for each
/// key, and a dict with a single reference whose values are all None, so that no destructor runs.
/// Returns false, and leaves the dict unchanged, if the layout is not usable.
bool overwrite_values(PyObject* dict, std::span<PyObject* const> values) noexcept;

/// True for an int, or an instance of a subclass, that has at most one digit of 30 bits.
inline bool is_small_integer(PyObject* integer) noexcept {
  const Py_ssize_t size = Py_SIZE(integer);  // negative for a negative number
  return -1 <= size && size <= 1;
}

/// The content of such an int.
inline std::int64_t small_integer(PyObject* integer) noexcept {
  assert(is_small_integer(integer));
  return Py_SIZE(integer) *
         std::int64_t{reinterpret_cast<const PyLongObject*>(integer)->ob_digit[0]};
}

}  // namespace mcp_responses
