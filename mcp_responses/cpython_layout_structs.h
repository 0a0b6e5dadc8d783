/* Structures of CPython that no public header declares, as cpython_layout.h uses them. Plain C,
 * so that cpython_layout_check.c can compare them with the interpreter's own headers. */
#ifndef MCP_RESPONSES_CPYTHON_LAYOUT_STRUCTS_H
#define MCP_RESPONSES_CPYTHON_LAYOUT_STRUCTS_H

#define PY_SSIZE_T_CLEAN
#include <Python.h>

/* PyDictKeysObject. An index of 1 << log2_index_bytes bytes follows, then the entries. */
struct CPythonDictKeys {
  Py_ssize_t references;
  uint8_t log2_size;
  uint8_t log2_index_bytes;
  uint8_t kind;
  uint32_t version;
  Py_ssize_t usable;
  Py_ssize_t entry_count; /* deleted entries included */
};

/* DICT_KEYS_UNICODE: every key is exactly a str, the entries do not contain hashes, and the values
 * are stored in the entries. */
enum CPythonDictKeysKind { cpython_dict_keys_unicode = 1 };

/* PyDictUnicodeEntry. */
struct CPythonDictEntry {
  PyObject* key;
  PyObject* value; /* null in a deleted entry */
};

#endif
