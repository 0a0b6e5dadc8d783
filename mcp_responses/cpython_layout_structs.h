/* The insides of CPython 3.11's objects that no public header tells, as cpython_layout.h reads them.
 * Plain C, so that cpython_layout_check.c can hold them against the interpreter's own headers. */
#ifndef MCP_RESPONSES_CPYTHON_LAYOUT_PARTS_H
#define MCP_RESPONSES_CPYTHON_LAYOUT_PARTS_H

#define PY_SSIZE_T_CLEAN
#include <Python.h>

/* The keys of a dict: a table of 1 << log2_index_bytes bytes follows, and the entries behind it. */
struct CPythonDictKeys {
  Py_ssize_t references;
  uint8_t log2_size;
  uint8_t log2_index_bytes;
  uint8_t kind;
  uint32_t version;
  Py_ssize_t usable;
  Py_ssize_t entry_count; /* those of deleted members included */
};

/* The kinds of keys whose entries have no hash: all are exactly str. */
enum CPythonDictKeysKind {
  cpython_dict_keys_unicode = 1,
  cpython_dict_keys_split = 2 /* shared by the instances of a class; their values lie elsewhere */
};

struct CPythonDictEntry {
  PyObject* key;
  PyObject* value; /* null for a deleted member */
};

/* The values of an instance of a class, in the order of the class's shared keys. */
struct HostDictValues {
  PyObject* values[1];
};

/* Pointers that lie before an instance of a class of the host's own, counted backwards: to its
 * values, or else to its dict. */
#define HOST_VALUES_BEFORE_OBJECT 4
#define HOST_DICT_BEFORE_OBJECT 3

#endif
