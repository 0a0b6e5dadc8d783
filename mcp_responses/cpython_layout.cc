#include "cpython_layout.h"

#include <structmember.h>

#include "py_errors.h"

namespace mcp_responses {
namespace {

/// The index of this very key among the entries, or -1.
Py_ssize_t index_of(PyObject* key, CPythonDictKeys* keys) noexcept {
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

/// The keys that the instances of a class share: of its values, or of dicts in their place.
CPythonDictKeys* shared_keys_of(PyTypeObject* type) noexcept {
  return reinterpret_cast<CPythonDictKeys*>(
      reinterpret_cast<PyHeapTypeObject*>(type)->ht_cached_keys);
}

/// The value of the entry at `index` of an instance's dict, if its key is this very `name`, or null.
/// The dict may have the keys that the instances of the class share.
PyObject* value_in(PyObject* dict, Py_ssize_t index, PyObject* name,
                   const CPythonDictKeys* shared_keys) noexcept {
  if (dict == nullptr) return nullptr;
  const auto* const object = reinterpret_cast<const PyDictObject*>(dict);
  if (object->ma_values != nullptr) {
    const bool shares_keys =
        reinterpret_cast<const CPythonDictKeys*>(object->ma_keys) == shared_keys;
    const auto* const values = reinterpret_cast<const HostDictValues*>(object->ma_values);
    return shares_keys ? values->values[index] : nullptr;
  }
  CPythonDictKeys* const keys = own_keys_of(dict);
  if (keys == nullptr || index >= keys->entry_count) return nullptr;
  const CPythonDictEntry& entry = entries_of(keys)[index];
  return entry.key == name ? entry.value : nullptr;
}

/// Where the instances of the object's class have the attribute: `in_class` is what the class has
/// under its name, or null.
AttributePlace looked_for(PyObject* object, PyObject* in_class, PyObject* name) noexcept {
  PyTypeObject* const type = Py_TYPE(object);
  if (type->tp_getattro != PyObject_GenericGetAttr) return {.keeper = Keeper::somebody_else};
  if (!gives_way(in_class)) {
    const Py_ssize_t at = slot_of(type, in_class);
    return {.keeper = at > 0 ? Keeper::slot : Keeper::somebody_else, .at = at};
  }
  AttributePlace place{.keeper = Keeper::somebody_else};
  CPythonDictKeys* keys = nullptr;
  if (PyType_HasFeature(type, Py_TPFLAGS_MANAGED_DICT)) {
    keys = shared_keys_of(type);
    place.keeper = Keeper::values;
  } else if (type->tp_dictoffset > 0) {
    PyObject* const dict = inside(object, type->tp_dictoffset);
    keys = dict == nullptr ? nullptr : own_keys_of(dict);
    place.keeper = Keeper::dict;
  }
  place.at = index_of(name, keys);
  return place.at < 0 ? AttributePlace() : place;  // other instances may have it
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
  const PyRef dict = checked(Py_BuildValue("{sOsss[]}", "a", Py_None, "b", "", "c"));
  check(PyDict_DelItemString(dict.get(), "b"));
  return own_keys_of(dict.get()) != nullptr && walks_as_the_interpreter(dict.get());
}

bool copies_agree() {
  const PyRef start = checked(Py_BuildValue("{sOsO}", "a", Py_None, "b", Py_None));
  if (!take_values_out(start.get())) return false;
  const PyRef copy = checked(PyDict_Copy(start.get()));
  PyObject* const values[] = {Py_NewRef(Py_True), checked(PyList_New(0)).release()};
  put_values_in(copy.get(), values);
  const PyRef expected = checked(Py_BuildValue("{sOs[]}", "a", Py_True, "b"));
  const int is_equal = PyObject_RichCompareBool(copy.get(), expected.get(), Py_EQ);
  check(is_equal);
  return is_equal != 0 && PyObject_GC_IsTracked(copy.get()) != 0;
}

/// For an instance of a new class that is made with this namespace.
bool attributes_agree(const PyRef& members) {
  const PyRef type = checked(PyObject_CallFunction(reinterpret_cast<PyObject*>(&PyType_Type),
                                                   "s()O", "Instance", members.get()));
  const PyRef instance = checked(PyObject_CallNoArgs(type.get()));
  const PyRef name = checked(PyUnicode_InternFromString("member"));
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
  return Py_Version >> 16 == PY_VERSION_HEX >> 16 && dicts_agree() && copies_agree() &&
         attributes_agree(checked(Py_BuildValue("{ss}", "__slots__", "member"))) &&
         attributes_agree(checked(PyDict_New()));
}

}  // namespace

bool take_values_out(PyObject* dict) noexcept {
  CPythonDictKeys* const keys = own_keys_of(dict);
  if (keys == nullptr) return false;
  for (CPythonDictEntry& entry :
       std::span(entries_of(keys), static_cast<std::size_t>(keys->entry_count)))
    Py_CLEAR(entry.value);
  return true;
}

void put_values_in(PyObject* copy, std::span<PyObject* const> values) noexcept {
  CPythonDictEntry* entry = entries_of(own_keys_of(copy));
  bool may_be_in_a_cycle = false;
  for (PyObject* value : values) {
    may_be_in_a_cycle |= PyType_IS_GC(Py_TYPE(value)) != 0;
    Py_INCREF(entry->key);  // which a copy leaves to whoever gives it a value
    entry++->value = value;
  }
  if (may_be_in_a_cycle) PyObject_GC_Track(copy);  // the collector has to know it
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

PyObject* AttributePlaces::find(PyObject* object, Field field, PyObject* name) {
  if (!is_layout_known()) return nullptr;
  const AttributePlace place = place_of(object, field, name);
  switch (place.keeper) {
    case Keeper::slot:
      return inside(object, place.at);
    case Keeper::values:
      if (const auto* const own = before<HostDictValues>(object, HOST_VALUES_BEFORE_OBJECT))
        return own->values[place.at];
      return value_in(before<PyObject>(object, HOST_DICT_BEFORE_OBJECT), place.at, name,
                      shared_keys_of(Py_TYPE(object)));
    case Keeper::dict:
      return value_in(inside(object, Py_TYPE(object)->tp_dictoffset), place.at, name, nullptr);
    default:
      return nullptr;
  }
}

AttributePlace AttributePlaces::place_of(PyObject* object, Field field, PyObject* name) {
  PyTypeObject* const type = Py_TYPE(object);
  const auto index = static_cast<std::size_t>(field);
  const Class& known = class_of(object);
  if (known.version_ == type->tp_version_tag &&
      known.places_[index].keeper != Keeper::not_looked_for)
    return known.places_[index];
  PyObject* const in_class = _PyType_Lookup(type, name);  // which gives the class a version
  if (!PyType_HasFeature(type, Py_TPFLAGS_VALID_VERSION_TAG)) return {};
  Class& looked_at = classes_[type->tp_version_tag % classes_.size()];
  if (looked_at.version_ != type->tp_version_tag) looked_at = {};
  looked_at.version_ = type->tp_version_tag;
  return looked_at.places_[index] = looked_for(object, in_class, name);
}

}  // namespace mcp_responses
