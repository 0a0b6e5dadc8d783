// What builders make, as host objects: a dict for each object, a list for each list, new at every
// depth; strings and integers of the host's are the very same objects.
//
// The members of a StaticObject are known by its type, but for the optional ones that are null. So all
// dicts of one line of the program that keep the same members start alike, and a dict with just
// those keys is kept for them: a copy of it has its keys hashed and in place already.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cpython_layout.h"
#include "py_errors.h"
#include "py_names.h"
#include "py_ref.h"
#include "static_object.h"
#include "value.h"

namespace mcp_responses {

inline bool is_null(const PyRef& object) { return object.get() == Py_None; }
inline bool is_null(const Value& value) { return value.is_null(); }

/// The keys of all StaticObject of one type, in order.
template <class... Members>
inline constexpr std::array<const StringLiteral*, sizeof...(Members)> keys_of{
    &literal<Members::name>...};

/// Which of the keys of a type a dict has: those whose bit, counted from the lowest, is set.
struct KeySet {
  const StringLiteral* const* keys = nullptr;
  std::uint32_t kept = 0;

  bool operator==(const KeySet&) const = default;
};

/// Some references, as many as `most`, in the order in which they are added.
template <std::size_t most>
class PyRefs {
 public:
  PyRefs() noexcept = default;
  PyRefs(const PyRefs&) = delete;
  PyRefs& operator=(const PyRefs&) = delete;
  ~PyRefs() {
    while (count_ > 0) give_up(objects_[--count_]);
  }

  void add(PyRef object) noexcept { objects_[count_++] = object.release(); }
  /// All of them, borrowed. Valid while this object is not changed.
  std::span<PyObject* const> all() const noexcept { return {objects_.data(), count_}; }
  /// Somebody else has taken them over.
  void release() noexcept { count_ = 0; }

 private:
  std::array<PyObject*, most> objects_;
  std::size_t count_ = 0;
};

/// What all dicts of one layout start as.
class DictTemplate {
 public:
  /// `keys` are borrowed, and must outlive this object. Throws `PythonError`.
  explicit DictTemplate(std::vector<PyObject*> keys);
  /// A new dict of the keys, in order, and these values, one for each, which it takes over if it
  /// does not throw `PythonError`.
  PyRef dict_of(std::span<PyObject* const> values) const;

 private:
  std::vector<PyObject*> keys_;
  PyRef dict_;          // of these keys
  bool has_no_values_;  // only the keys, else None under each
};

/// Makes the host objects of one module's answers, and keeps what they start as for as long as the
/// module lives: a dict for each layout that was met, of which there are as many as answers with
/// other optional members, some dozens.
class AnswerConverter {
 public:
  /// `names` must outlive this object.
  explicit AnswerConverter(InternedStrings& names) noexcept : names_(names) {}

  /// A new object, or a shared leaf. Throws `PythonError`, and `UnsupportedObject` and `NestingError` for a
  /// host's container in the value.
  PyRef of(const Value& value);
  PyRef of(const Object& object);
  /// The same of members that hold Values or host objects, in their order, without an Object
  /// between them and the dict.
  template <class... Members>
  PyRef of(StaticObject<Members...>&& members) {
    static_assert(sizeof...(Members) < 32, "each needs a bit");
    std::uint32_t kept = 0;
    std::uint32_t bit = 1;
    PyRefs<sizeof...(Members)> values;
    const auto keep = [&]<class Member>(Member& member) {
      if (!(Member::optional && is_null(member.value))) {
        values.add(object_of(std::move(member.value)));
        kept |= bit;
      }
      bit <<= 1;
    };
    (keep.template operator()<Members>(members), ...);
    PyRef dict = template_for({keys_of<Members...>.data(), kept}).dict_of(values.all());
    values.release();
    return dict;
  }

 private:
  struct KeySetHash {
    std::size_t operator()(const KeySet& layout) const noexcept {
      return reinterpret_cast<std::uintptr_t>(layout.keys) / sizeof(StringLiteral) ^ layout.kept;
    }
  };

  static PyRef object_of(PyRef&& object) noexcept { return std::move(object); }
  PyRef object_of(const Value& value) { return of(value); }

  PyRef list_of(const List& elements);
  PyRef string_of(const Text& text);

  /// What dicts of this layout start as, made when it is first met; valid while this object lives.
  /// Few layouts are in use at a time, so most are found by their hash alone.
  const DictTemplate& template_for(const KeySet& layout) {
    auto& [recent, start] = recent_[KeySetHash()(layout) % recent_.size()];
    if (layout != recent) {
      start = &found_start(layout);
      recent = layout;
    }
    return *start;
  }
  const DictTemplate& found_start(const KeySet& layout);

  InternedStrings& names_;
  std::unordered_map<KeySet, DictTemplate, KeySetHash> starts_;
  std::array<std::pair<KeySet, const DictTemplate*>, 16> recent_;  // by hash
};

}  // namespace mcp_responses
