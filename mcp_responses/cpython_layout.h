// What CPython 3.11 keeps where: the entries of dicts, the attributes of instances, small integers.
// It stays so for as long as there is a 3.11, and the extension is built for 3.11 alone. To read and
// write there directly makes rows up to twice as fast as the interpreter's functions do.
//
// Nothing outside these files knows a layout. It is held against the interpreter's headers when the
// extension is built (cpython_layout_check.c), against its public interface when a module is loaded,
// and not used where either does not hold: each function here then does without it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "cpython_layout_structs.h"
#include "py_ref.h"
#include "records.h"

namespace mcp_responses {

inline constexpr bool is_layout_built_in = MCP_RESPONSES_CPYTHON_LAYOUT;
inline bool is_layout_confirmed = false;  // of the process, as the interpreter is

/// Whether the interpreter keeps things where this file says.
inline bool is_layout_known() noexcept { return is_layout_built_in && is_layout_confirmed; }

/// Holds the layout against the interpreter's public interface, and has it used from now on if they
/// agree. Throws `PythonError`.
void confirm_layout();

/// The entries that belong to some keys.
inline CPythonDictEntry* entries_of(CPythonDictKeys* keys) noexcept {
  char* const indices = reinterpret_cast<char*>(keys + 1);
  return reinterpret_cast<CPythonDictEntry*>(indices + (std::size_t{1} << keys->log2_index_bytes));
}

/// The keys of a dict if all are exactly str and lie in a table that is the dict's alone, or null.
inline CPythonDictKeys* own_keys_of(PyObject* dict) noexcept {
  if (!is_layout_known()) return nullptr;
  auto* const keys =
      reinterpret_cast<CPythonDictKeys*>(reinterpret_cast<PyDictObject*>(dict)->ma_keys);
  return keys->kind == cpython_dict_keys_unicode ? keys : nullptr;
}

/// On to the next member of a dict, as `PyDict_Next`.
inline bool next_member(PyObject* dict, Py_ssize_t& position, PyObject*& key,
                        PyObject*& value) noexcept {
  CPythonDictKeys* const keys = own_keys_of(dict);
  if (keys == nullptr) return PyDict_Next(dict, &position, &key, &value) != 0;
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

/// Takes all values out of a dict and leaves it good for one thing: to be copied by `PyDict_Copy`
/// for `put_values_in`. False, and the dict is as it was, where the layout is not known.
bool take_values_out(PyObject* dict) noexcept;

/// Gives the keys of such a copy their values, in order, and takes these over. Requires one for
/// each key, and that nothing else sees the copy before.
void put_values_in(PyObject* copy, std::span<PyObject* const> values) noexcept;

/// The content of an int, or of a subclass, that takes one digit.
inline std::optional<std::int64_t> small_integer(PyObject* integer) noexcept {
  const Py_ssize_t size = Py_SIZE(integer);  // negative for a negative number
  if (size < -1 || size > 1) return std::nullopt;
  return size * std::int64_t{reinterpret_cast<const PyLongObject*>(integer)->ob_digit[0]};
}

/// A pointer that lies before an object.
template <class Pointed>
Pointed* before(PyObject* object, int pointers) noexcept {
  return reinterpret_cast<Pointed**>(object)[-pointers];
}

/// A pointer that lies in an object.
inline PyObject* inside(PyObject* object, Py_ssize_t bytes) noexcept {
  return *reinterpret_cast<PyObject**>(reinterpret_cast<char*>(object) + bytes);
}

/// Where an instance has an attribute.
enum class Keeper : std::uint8_t { not_looked_for, somebody_else, slot, values, dict };
struct AttributePlace {
  Keeper keeper = Keeper::not_looked_for;
  Py_ssize_t at = 0;  // of a slot, bytes into the instance; else an entry's index
};

/// Where the instances of some classes keep their attributes.
class AttributePlaces {
 public:
  /// What is known of one class. It holds for a version of the class: the interpreter gives a class
  /// a new one, never used before, whenever the class or a base of it changes.
  class Class {
   public:
    /// The attribute, borrowed; null where it lies elsewhere than in the object and its values, or
    /// nobody has looked for it in this version of the object's class.
    [[gnu::always_inline]] PyObject* find(PyObject* object, Field field) const noexcept {
      if (version_ != Py_TYPE(object)->tp_version_tag) return nullptr;
      const AttributePlace& place = places_[static_cast<std::size_t>(field)];
      if (place.keeper == Keeper::slot) return inside(object, place.at);
      if (place.keeper != Keeper::values) return nullptr;
      const auto* const own = before<HostDictValues>(object, HOST_VALUES_BEFORE_OBJECT);
      return own != nullptr ? own->values[place.at] : nullptr;
    }

   private:
    friend class AttributePlaces;
    unsigned version_ = 0;  // of no class, or of one that has changed
    std::array<AttributePlace, field_names.size()> places_;
  };

  /// What is known of the object's class; valid while this object lives.
  const Class& class_of(PyObject* object) noexcept {
    return classes_[Py_TYPE(object)->tp_version_tag % classes_.size()];
  }
  /// The attribute, whose name is `name`, borrowed; null where it has to be asked for: a descriptor
  /// makes it, it is the class's own, or it is missing.
  PyObject* find(PyObject* object, Field field, PyObject* name);

 private:
  AttributePlace place_of(PyObject* object, Field field, PyObject* name);

  std::array<Class, 4> classes_;  // by version
};

}  // namespace mcp_responses
