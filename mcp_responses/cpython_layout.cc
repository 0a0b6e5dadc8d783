#include "cpython_layout.h"

#include <cassert>

namespace mcp_responses {
namespace {

void overwrite_entries(PyObject* dict, CPythonDictKeys* keys,
                       std::span<PyObject* const> values) noexcept {
  assert(Py_REFCNT(dict) == 1);
  assert(keys->entry_count == static_cast<Py_ssize_t>(values.size()));
  CPythonDictEntry* entry = entries_of(keys);
  bool may_be_in_a_cycle = false;
  for (PyObject* value : values) {
    assert(entry->value == Py_None);
    may_be_in_a_cycle |= PyType_IS_GC(Py_TYPE(value)) != 0;
    Py_DECREF(entry->value);
    entry++->value = value;
  }
  // CPython tracks a dict as soon as it has a value that can be part of a reference cycle.
  if (may_be_in_a_cycle && PyObject_GC_IsTracked(dict) == 0) PyObject_GC_Track(dict);
}

bool next_entry_agrees() {
  const PyRef dict = checked(Py_BuildValue, "{sOsss[]}", "a", Py_None, "b", "", "c");
  checked(PyDict_DelItemString, dict.get(), "b");
  CPythonDictKeys* const keys = unicode_keys_in(dict.get());
  if (keys == nullptr) return false;
  Py_ssize_t position = 0;
  Py_ssize_t expected_position = 0;
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  PyObject* expected_key = nullptr;
  PyObject* expected_value = nullptr;
  while (PyDict_Next(dict.get(), &expected_position, &expected_key, &expected_value) != 0) {
    if (!next_entry(keys, position, key, value)) return false;
    if (key != expected_key || value != expected_value) return false;
  }
  return !next_entry(keys, position, key, value);
}

bool overwrite_values_agrees() {
  const PyRef original = checked(Py_BuildValue, "{sOsO}", "a", Py_None, "b", Py_None);
  const PyRef copy = checked(PyDict_Copy, original.get());
  PyObject* const values[] = {Py_NewRef(Py_True), checked(PyList_New, 0).release()};
  CPythonDictKeys* const keys = unicode_keys_in(copy.get());
  if (keys == nullptr) return false;
  overwrite_entries(copy.get(), keys, values);
  const PyRef expected = checked(Py_BuildValue, "{sOs[]}", "a", Py_True, "b");
  return checked(PyObject_RichCompareBool, copy.get(), expected.get(), Py_EQ) != 0 &&
         PyObject_GC_IsTracked(copy.get()) != 0;
}

bool layout_agrees() {
  return Py_Version >> 16 == PY_VERSION_HEX >> 16 && next_entry_agrees() &&
         overwrite_values_agrees();
}

}  // namespace

bool overwrite_values(PyObject* dict, std::span<PyObject* const> values) noexcept {
  CPythonDictKeys* const keys = unicode_keys_of(dict);
  if (keys != nullptr) overwrite_entries(dict, keys, values);
  return keys != nullptr;
}

void confirm_layout() {
  if (is_layout_built_in && !is_layout_confirmed) is_layout_confirmed = layout_agrees();
}

}  // namespace mcp_responses
