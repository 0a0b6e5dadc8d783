/* Compiles where the interpreter's headers have its objects laid out as cpython_layout_structs.h says. */
#define Py_BUILD_CORE
#include <Python.h>
#include <internal/pycore_dict.h>
#include <internal/pycore_object.h>
#include <stddef.h>

#include "cpython_layout_structs.h"

#define SAME_PLACE(ours, our_member, theirs, their_member)                               \
  _Static_assert(offsetof(ours, our_member) == offsetof(theirs, their_member), "place"); \
  _Static_assert(sizeof(((ours*)0)->our_member) == sizeof(((theirs*)0)->their_member), "size")

SAME_PLACE(struct CPythonDictKeys, log2_index_bytes, PyDictKeysObject, dk_log2_index_bytes);
SAME_PLACE(struct CPythonDictKeys, kind, PyDictKeysObject, dk_kind);
SAME_PLACE(struct CPythonDictKeys, entry_count, PyDictKeysObject, dk_nentries);
_Static_assert(sizeof(struct CPythonDictKeys) == offsetof(PyDictKeysObject, dk_indices), "place");
SAME_PLACE(struct CPythonDictEntry, key, PyDictUnicodeEntry, me_key);
SAME_PLACE(struct CPythonDictEntry, value, PyDictUnicodeEntry, me_value);
_Static_assert(sizeof(struct CPythonDictEntry) == sizeof(PyDictUnicodeEntry), "size");
SAME_PLACE(struct HostDictValues, values, PyDictValues, values);
_Static_assert((int)cpython_dict_keys_unicode == (int)DICT_KEYS_UNICODE, "kind");
_Static_assert((int)cpython_dict_keys_split == (int)DICT_KEYS_SPLIT, "kind");
_Static_assert(MANAGED_DICT_OFFSET == -HOST_DICT_BEFORE_OBJECT * (int)sizeof(PyObject*), "place");

/* Where an instance's values lie is told by a function alone: the compiler works it out. */
int values_lie_where_we_say(PyObject* object) {
  if (_PyObject_ValuesPointer(object) != (PyDictValues**)object - HOST_VALUES_BEFORE_OBJECT) {
    extern void values_lie_elsewhere(void) __attribute__((error("place")));
    values_lie_elsewhere();
  }
  return 1;
}
