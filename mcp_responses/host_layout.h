// What CPython 3.11 keeps where: the entries of dicts, the attributes of instances, small integers.
// It stays so for as long as there is a 3.11, and the extension is built for 3.11 alone. To read and
// write there directly makes rows up to twice as fast as the interpreter's functions do.
//
// Nothing outside these files knows a layout. It is held against the interpreter's headers when the
// extension is built (host_layout_check.c), against its public interface when a module is loaded,
// and not used where either does not hold: each function here then does without it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "host_layout_parts.h"
#include "host_ref.h"
#include "records.h"

namespace mcp_responses {

inline constexpr bool is_layout_built_in = MCP_RESPONSES_HOST_LAYOUT;
inline bool is_layout_confirmed = false;  // of the process, as the interpreter is

/// Whether the interpreter keeps things where this file says.
inline bool is_layout_known() noexcept { return is_layout_built_in && is_layout_confirmed; }

/// Holds the layout against the interpreter's public interface, and has it used from now on if they
/// agree. Throws `HostError`.
void confirm_layout();

/// The entries that belong to some keys.
inline HostDictEntry* entries_of(HostDictKeys* keys) noexcept {
  char* const indices = reinterpret_cast<char*>(keys + 1);
  return reinterpret_cast<HostDictEntry*>(indices + (std::size_t{1} << keys->log2_index_bytes));
}

/// The keys of a dict if all are exactly str and lie in a table that is the dict's alone, or null.
inline HostDictKeys* own_keys_of(PyObject* dict) noexcept {
  if (!is_layout_known()) return nullptr;
  auto* const keys =
      reinterpret_cast<HostDictKeys*>(reinterpret_cast<PyDictObject*>(dict)->ma_keys);
  return keys->kind == host_dict_keys_unicode ? keys : nullptr;
}

/// On to the next member of a dict, as `PyDict_Next`.
inline bool next_member(PyObject* dict, Py_ssize_t& position, PyObject*& key,
                        PyObject*& value) noexcept {
  HostDictKeys* const keys = own_keys_of(dict);
  if (keys == nullptr) return PyDict_Next(dict, &position, &key, &value) != 0;
  const HostDictEntry* const entries = entries_of(keys);
  while (position < keys->entry_count) {
    const HostDictEntry& entry = entries[position++];
    if (entry.value == nullptr) continue;
    key = entry.key;
    value = entry.value;
    return true;
  }
  return false;
}

/// The collector has to know a dict once it holds what may be part of a cycle.
void have_tracked(PyObject* dict) noexcept;

/// Sets the value under this very key where it is the key of the entry at `index`, and None its
/// value; false where that is not so. Adds a reference of its own.
inline bool set_in_place(PyObject* dict, Py_ssize_t index, PyObject* key,
                         PyObject* value) noexcept {
  HostDictKeys* const keys = own_keys_of(dict);
  if (keys == nullptr || index >= keys->entry_count) return false;
  HostDictEntry& entry = entries_of(keys)[index];
  if (entry.key != key || entry.value != Py_None) return false;
  entry.value = Py_NewRef(value);
  if (PyType_IS_GC(Py_TYPE(value))) have_tracked(dict);
  Py_DECREF(Py_None);
  return true;
}

/// The content of an int, or of a subclass, that takes one digit.
inline std::optional<std::int64_t> small_integer(PyObject* integer) noexcept {
  const Py_ssize_t size = Py_SIZE(integer);  // negative for a negative number
  if (size < -1 || size > 1) return std::nullopt;
  return size * std::int64_t{reinterpret_cast<const PyLongObject*>(integer)->ob_digit[0]};
}

/// Where the instances of some classes keep their attributes, by the version of the class: the
/// interpreter gives a class a new one, never used before, whenever the class or a base of it
/// changes. So what was found once for a version holds for all its instances.
class AttributePlaces {
 public:
  /// The attribute, whose name is `name`, borrowed; null where it has to be asked for: a descriptor
  /// makes it, it is the class's own, or it is missing.
  PyObject* find(PyObject* object, Field field, PyObject* name) {
    if (!is_layout_known()) return nullptr;
    const unsigned version = Py_TYPE(object)->tp_version_tag;
    Place& place = places_[static_cast<std::size_t>(field)][version % classes_at_a_time];
    if (version == no_version || place.version != version) [[unlikely]]
      place = found(object, name);
    return value_at(place, object, name);
  }

 private:
  static constexpr unsigned no_version = 0;  // of a class that has changed, or may not have one
  static constexpr std::size_t classes_at_a_time = 4;

  enum class Keeper : std::uint8_t { somebody_else, slot, values, dict };
  struct Place {
    unsigned version = no_version;
    Keeper keeper = Keeper::somebody_else;
    Py_ssize_t at = 0;  // of a slot, bytes into the instance; else an entry's index
    const HostDictKeys* keys = nullptr;  // those that the instances of the class share
  };

  static Place found(PyObject* object, PyObject* name);

  /// A pointer that lies before the object.
  template <class Pointed>
  static Pointed* before(PyObject* object, int pointers) noexcept {
    return reinterpret_cast<Pointed**>(object)[-pointers];
  }
  /// A pointer that lies in the object.
  static PyObject* inside(PyObject* object, Py_ssize_t bytes) noexcept {
    return *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object) + bytes);
  }

  static PyObject* value_at(const Place& place, PyObject* object, PyObject* name) noexcept {
    switch (place.keeper) {
      case Keeper::somebody_else:
        break;
      case Keeper::slot:
        return inside(object, place.at);
      case Keeper::values:
        if (const auto* own = before<HostDictValues>(object, HOST_VALUES_BEFORE_OBJECT))
          return own->values[place.at];
        return value_in(before<PyObject>(object, HOST_DICT_BEFORE_OBJECT), place, name);
      case Keeper::dict:
        return value_in(inside(object, Py_TYPE(object)->tp_dictoffset), place, name);
    }
    return nullptr;
  }

  static PyObject* value_in(PyObject* dict, const Place& place, PyObject* name) noexcept {
    if (dict == nullptr) return nullptr;
    const auto* const object = reinterpret_cast<const PyDictObject*>(dict);
    if (object->ma_values != nullptr) {
      const bool shares_keys = reinterpret_cast<const HostDictKeys*>(object->ma_keys) == place.keys;
      const auto* const values = reinterpret_cast<const HostDictValues*>(object->ma_values);
      return shares_keys ? values->values[place.at] : nullptr;
    }
    HostDictKeys* const keys = own_keys_of(dict);
    if (keys == nullptr || place.at >= keys->entry_count) return nullptr;
    const HostDictEntry& entry = entries_of(keys)[place.at];
    return entry.key == name ? entry.value : nullptr;
  }

  std::array<std::array<Place, classes_at_a_time>, field_names.size()> places_;
};

}  // namespace mcp_responses
