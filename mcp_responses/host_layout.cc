#include "host_layout.h"

#include <structmember.h>

#include "host_errors.h"

namespace mcp_responses {
namespace {

/// The index of this very key among the entries, or -1.
Py_ssize_t index_of(PyObject* key, HostDictKeys* keys) noexcept {
  if (keys == nullptr) return -1;
  Py_ssize_t index = keys->entry_count - 1;
  while (index >= 0 && entries_of(keys)[index].key != key) --index;
  return index;
}

/// Where a slot of the type lies in its instances, or 0 when the object is not what keeps one.
Py_ssize_t slot_of(PyTypeObject* type, PyObject* in_class) noexcept {
  if (!Py_IS_TYPE(in_class, &PyMemberDescr_Type)) return 0;
  const auto* const descriptor = reinterpret_cast<const PyMemberDescrObject*>(in_class);
  const PyMemberDef* const member = descriptor->d_member;
  const bool is_plain = member->type == T_OBJECT_EX && (member->flags & ~READONLY) == 0;
  return is_plain && PyType_IsSubtype(type, descriptor->d_common.d_type) != 0 ? member->offset : 0;
}

/// What an instance keeps itself goes before what its class has under the name, if that is no
/// descriptor that can be set; and it cannot become one.
bool gives_way(PyObject* in_class) noexcept {
  return in_class == nullptr || (Py_TYPE(in_class)->tp_descr_set == nullptr &&
                                 PyType_HasFeature(Py_TYPE(in_class), Py_TPFLAGS_IMMUTABLETYPE));
}

// What is confirmed when a module is loaded.

bool walks_as_the_interpreter(PyObject* dict) {
  Py_ssize_t position = 0;
  Py_ssize_t expected_position = 0;
  PyObject* key = nullptr;
  PyObject* value = nullptr;
  PyObject* expected_key = nullptr;
  PyObject* expected_value = nullptr;
  while (PyDict_Next(dict, &expected_position, &expected_key, &expected_value) != 0) {
    if (!next_member(dict, position, key, value)) return false;
    if (key != expected_key || value != expected_value) return false;
  }
  return !next_member(dict, position, key, value);
}

bool dicts_agree() {
  const HostRef dict = checked(Py_BuildValue("{sOsss[]}", "a", Py_None, "b", "", "c"));
  check(PyDict_DelItemString(dict.get(), "b"));
  PyObject* const key = PySequence_Fast_GET_ITEM(checked(PyDict_Keys(dict.get())).get(), 0);
  return own_keys_of(dict.get()) != nullptr && walks_as_the_interpreter(dict.get()) &&
         !set_in_place(dict.get(), 1, key, key) && set_in_place(dict.get(), 0, key, key) &&
         PyDict_GetItemWithError(dict.get(), key) == key;
}

/// For an instance of a new class that is made with this namespace.
bool attributes_agree(const HostRef& members) {
  const HostRef type = checked(PyObject_CallFunction(reinterpret_cast<PyObject*>(&PyType_Type),
                                                     "s()O", "Instance", members.get()));
  const HostRef instance = checked(PyObject_CallNoArgs(type.get()));
  const HostRef name = checked(PyUnicode_InternFromString("member"));
  check(PyObject_SetAttr(instance.get(), name.get(), name.get()));
  AttributePlaces places;
  const auto agrees = [&] {
    return places.find(instance.get(), Field::name, name.get()) == name.get();
  };
  if (!agrees()) return false;
  if (PyObject_HasAttrString(instance.get(), "__dict__") != 0 && !agrees()) return false;
  const unsigned version = reinterpret_cast<PyTypeObject*>(type.get())->tp_version_tag;
  check(PyObject_SetAttrString(type.get(), "other", Py_None));
  return reinterpret_cast<PyTypeObject*>(type.get())->tp_version_tag != version;
}

bool layout_agrees() {
  return Py_Version >> 16 == PY_VERSION_HEX >> 16 && dicts_agree() &&
         attributes_agree(checked(Py_BuildValue("{ss}", "__slots__", "member"))) &&
         attributes_agree(checked(PyDict_New()));
}

}  // namespace

void have_tracked(PyObject* dict) noexcept {
  if (PyObject_GC_IsTracked(dict) == 0) PyObject_GC_Track(dict);
}

void confirm_layout() {
  if (!is_layout_built_in || is_layout_confirmed) return;
  is_layout_confirmed = true;
  try {
    is_layout_confirmed = layout_agrees();
  } catch (...) {
    is_layout_confirmed = false;
    throw;
  }
}

AttributePlaces::Place AttributePlaces::found(PyObject* object, PyObject* name) {
  PyTypeObject* const type = Py_TYPE(object);
  PyObject* const in_class = _PyType_Lookup(type, name);  // which gives the class a version
  if (!PyType_HasFeature(type, Py_TPFLAGS_VALID_VERSION_TAG)) return {};
  Place place{.version = type->tp_version_tag};
  if (type->tp_getattro != PyObject_GenericGetAttr) return place;
  if (!gives_way(in_class)) {
    place.at = slot_of(type, in_class);
    if (place.at > 0) place.keeper = Keeper::slot;
    return place;
  }
  HostDictKeys* keys = nullptr;
  if (PyType_HasFeature(type, Py_TPFLAGS_MANAGED_DICT)) {
    keys =
        reinterpret_cast<HostDictKeys*>(reinterpret_cast<PyHeapTypeObject*>(type)->ht_cached_keys);
    place.keys = keys;
    place.keeper = Keeper::values;
  } else if (type->tp_dictoffset > 0) {
    PyObject* const dict = inside(object, type->tp_dictoffset);
    keys = dict == nullptr ? nullptr : own_keys_of(dict);
    place.keeper = Keeper::dict;
  }
  place.at = index_of(name, keys);
  return place.at < 0 ? Place() : place;  // other instances may have it
}

}  // namespace mcp_responses
