// Converts answers to Python objects: a dict for each object, a list for each list, new at every
// depth. Strings and integers that came from Python are the same objects again.
//
// The keys of a StaticObject are known by its type, except for optional members that are null. So
// its dict is a copy of a template dict with these keys, which has them hashed and in place already.
#pragma once

#include <array>
#include <cassert>
#include <cstdint>
#include <span>
#include <unordered_map>
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

/// The keys of all StaticObjects of one type, in order.
template <class... Members>
inline constexpr std::array<const StringLiteral*, sizeof...(Members)> keys_of{
    &literal<Members::name>...};

/// The keys that a dict has: those of a type whose bit, counted from the lowest, is set.
struct KeySet {
  const StringLiteral* const* keys = nullptr;
  std::uint32_t present = 0;

  bool operator==(const KeySet&) const = default;
};

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

/// Converts the answers of one module, and keeps its template dicts: one for each set of keys that
/// has occurred, a few dozen.
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
    std::uint32_t present = 0;
    std::uint32_t bit = 1;
    PyRefs<sizeof...(Members)> values;
    const auto add = [&]<class Member>(Member& member) {
      if (!(Member::optional && is_null(member.value))) {
        values.add(object_of(std::move(member.value)));
        present |= bit;
      }
      bit <<= 1;
    };
    (add.template operator()<Members>(members), ...);
    PyRef dict = template_for({keys_of<Members...>.data(), present}).dict_of(values.all());
    values.release();
    return dict;
  }

 private:
  struct KeySetHash {
    std::size_t operator()(const KeySet& set) const noexcept {
      return reinterpret_cast<std::uintptr_t>(set.keys) / sizeof(StringLiteral) ^ set.present;
    }
  };

  static PyRef object_of(PyRef&& object) noexcept { return std::move(object); }
  PyRef object_of(const Value& value) { return to_python(value); }

  PyRef list_of(const List& elements);
  PyRef string_of(const Text& text);

  /// The template of these keys, created when it is first needed. Valid while this object lives.
  const DictTemplate& template_for(const KeySet& keys);

  InternedStrings& strings_;
  std::unordered_map<KeySet, DictTemplate, KeySetHash> templates_;
};

}  // namespace mcp_responses
