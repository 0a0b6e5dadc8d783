/* Compiles only if cpython_layout_structs.h agrees with the interpreter's headers. */
#define Py_BUILD_CORE
#include <Python.h>
#include <internal/pycore_dict.h>
#include <stddef.h>

#include "cpython_layout_structs.h"

#define SAME_MEMBER(ours, our_member, theirs, their_member)                               \
  _Static_assert(offsetof(ours, our_member) == offsetof(theirs, their_member), "offset"); \
  _Static_assert(sizeof(((ours*)0)->our_member) == sizeof(((theirs*)0)->their_member), "size")

SAME_MEMBER(struct CPythonDictKeys, log2_index_bytes, PyDictKeysObject, dk_log2_index_bytes);
SAME_MEMBER(struct CPythonDictKeys, kind, PyDictKeysObject, dk_kind);
SAME_MEMBER(struct CPythonDictKeys, entry_count, PyDictKeysObject, dk_nentries);
_Static_assert(sizeof(struct CPythonDictKeys) == offsetof(PyDictKeysObject, dk_indices), "offset");
SAME_MEMBER(struct CPythonDictEntry, key, PyDictUnicodeEntry, me_key);
SAME_MEMBER(struct CPythonDictEntry, value, PyDictUnicodeEntry, me_value);
_Static_assert(sizeof(struct CPythonDictEntry) == sizeof(PyDictUnicodeEntry), "size");
_Static_assert((int)cpython_dict_keys_unicode == (int)DICT_KEYS_UNICODE, "kind");
