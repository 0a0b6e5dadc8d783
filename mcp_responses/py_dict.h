// Converts answers to Python objects: a dict for each object, a list for each list, new at every
// depth. Strings that came from Python are the same objects again.
//
// The type of a StaticObject determines its keys, except for optional members that are null. So its
// dict is a copy of a template dict with these keys, which are already hashed and inserted.
#pragma once

#include <array>
#include <cassert>
#include <cstdint>
#include <forward_list>
#include <span>
#include <utility>
#include <vector>

#include "interned_strings.h"
#include "py_errors.h"
#include "py_ref.h"
#include "static_object.h"
#include "value.h"

namespace mcp_responses {

inline bool is_null(const PyRef& object) { return object.get() == Py_None; }
inline bool is_null(const Value& value) { return value.is_null(); }

/// Each type of StaticObject that is converted to a dict gets a number when the extension is loaded,
/// before the first AnswerConverter exists.
inline std::size_t static_object_types = 0;
template <class... Members>
inline const std::size_t type_number = static_object_types++;

/// Up to `capacity` references, in the order in which they are added.
template <std::size_t capacity>
class PyRefs {
 public:
  PyRefs() noexcept = default;
  PyRefs(const PyRefs&) = delete;
  PyRefs& operator=(const PyRefs&) = delete;
  ~PyRefs() {
    while (count_ > 0) decref(objects_[--count_]);
  }

  /// Requires fewer than `capacity` references.
  void add(PyRef object) noexcept {
    assert(count_ < capacity);
    objects_[count_++] = object.release();
  }
  /// All of them, borrowed. Valid until this object changes.
  std::span<PyObject* const> all() const noexcept { return {objects_.data(), count_}; }
  /// Gives all references away.
  void release() noexcept { count_ = 0; }

 private:
  std::array<PyObject*, capacity> objects_;
  std::size_t count_ = 0;
};

/// A dict with None under each key, of which the dicts of answers are copies.
class DictTemplate {
 public:
  /// `keys` are borrowed, and must outlive this object. Throws `PythonError`.
  explicit DictTemplate(std::vector<PyObject*> keys);
  /// A new dict with these keys, in order, and these values, one for each key. Takes over the values
  /// unless it throws `PythonError`.
  PyRef dict_of(std::span<PyObject* const> values) const;

 private:
  std::vector<PyObject*> keys_;
  PyRef dict_;
};

/// Converts the answers of one module, and keeps its template dicts: a few for each type of
/// StaticObject, one for each set of optional members that has occurred.
class AnswerConverter {
 public:
  /// `strings` must outlive this object.
  explicit AnswerConverter(InternedStrings& strings) noexcept : strings_(strings) {}

  /// A new object, or a shared leaf. Throws `PythonError`, and `UnsupportedObject` and
  /// `NestingError` for a Python container in the value.
  PyRef to_python(const Value& value);
  PyRef to_python(const Object& object);
  /// A dict of members that hold Values or Python objects, without an Object in between.
  template <class... Members>
  PyRef to_python(StaticObject<Members...>&& members) {
    static_assert(sizeof...(Members) < 32, "each needs a bit");
    Presence present = 0;
    Presence bit = 1;
    PyRefs<sizeof...(Members)> values;
    const auto add = [&]<class Member>(Member& member) {
      if (!(Member::optional && is_null(member.value))) {
        values.add(object_of(std::move(member.value)));
        present |= bit;
      }
      bit <<= 1;
    };
    (add.template operator()<Members>(members), ...);
    const auto keys = [&] { return keys_of<Members...>(present); };
    PyRef dict = template_for(type_number<Members...>, present, keys).dict_of(values.all());
    values.release();
    return dict;
  }

 private:
  /// Which members are present: the bit of each, counted from the lowest, is set.
  using Presence = std::uint32_t;

  template <class... Members>
  std::vector<PyObject*> keys_of(Presence present) {
    std::vector<PyObject*> keys;
    const auto add = [&](const StringLiteral& key) {
      if ((present & 1) != 0) keys.push_back(strings_.of(key));
      present >>= 1;
    };
    (add(literal<Members::name>), ...);
    return keys;
  }

  static PyRef object_of(PyRef&& object) noexcept { return std::move(object); }
  PyRef object_of(const Value& value) { return to_python(value); }

  PyRef list_of(const List& elements);
  /// A str for a text: an interned one for a literal.
  PyRef shared_string_of(const Text& text);

  /// The template of these members, created from `keys()` when it is first needed. Valid while this
  /// object lives.
  template <class Keys>
  const DictTemplate& template_for(std::size_t type, Presence present, const Keys& keys) {
    for (const auto& [members, dict_template] : templates_[type]) {
      if (members == present) return dict_template;
    }
    // A finalizer may add templates while this one is created, also one of the same members.
    DictTemplate created(keys());
    return templates_[type].emplace_front(present, std::move(created)).second;
  }

  InternedStrings& strings_;
  // By type number. Lists, because references to templates stay valid when another one is added.
  std::vector<std::forward_list<std::pair<Presence, DictTemplate>>> templates_{static_object_types};
};

}  // namespace mcp_responses
