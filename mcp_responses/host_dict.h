// What builders make, as host objects: a dict for each object, a list for each list, new at every
// depth; strings and integers of the host's are the very same objects.
//
// The members of a Shaped are known by its type, but for the optional ones that are null. So all
// dicts of one line of the program that keep the same members start alike, and a dict with just
// those keys is kept for them: a copy of it has its keys hashed and in place already.
#pragma once

#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host_errors.h"
#include "host_layout.h"
#include "host_names.h"
#include "host_ref.h"
#include "shaped.h"
#include "value.h"

namespace mcp_responses {

inline bool is_null(const HostRef& object) { return object.get() == Py_None; }
inline bool is_null(const Value& value) { return value.is_null(); }

/// The keys of all Shaped of one type, in order.
template <class... Members>
inline constexpr std::array<const Word*, sizeof...(Members)> keys_of{&word<Members::name>...};

/// Which of the keys of a type a dict has: those whose bit, counted from the lowest, is set.
struct Layout {
  const Word* const* keys = nullptr;
  std::uint32_t kept = 0;

  bool operator==(const Layout&) const = default;
};

/// What all dicts of one layout start as.
struct DictStart {
  std::vector<PyObject*> keys;  // in order; borrowed from the names
  HostRef dict;                 // of these keys, every value None
};

/// A dict of one layout, while its members are being set in order. Requires as many calls of
/// `set_next` as the layout has keys: then no key holds the None that it began with.
class StartedDict {
 public:
  /// Begins with a copy of the start's dict. `start` must outlive this object. Throws `HostError`.
  explicit StartedDict(const DictStart& start);
  /// Sets the value under the next key. Adds a reference of its own. Throws `HostError`.
  void set_next(PyObject* object) {
    PyObject* const key = start_.keys[next_];
    const auto index = static_cast<Py_ssize_t>(next_++);
    if (object != Py_None && !set_in_place(dict_.get(), index, key, object)) [[unlikely]]
      check(PyDict_SetItem(dict_.get(), key, object));
  }
  /// The dict, a new reference.
  HostRef finished() && { return std::move(dict_); }

 private:
  const DictStart& start_;
  std::size_t next_ = 0;
  HostRef dict_;  // has None under every key that is not set yet
};

/// Makes the host objects of one module's answers, and keeps what they start as for as long as the
/// module lives: a dict for each layout that was met, of which there are as many as answers with
/// other optional members, some dozens.
class HostDicts {
 public:
  /// `names` must outlive this object.
  explicit HostDicts(HostNames& names) noexcept : names_(names) {}

  /// A new object, or a shared leaf. Throws `HostError`, and `Refused` and `NestingError` for a
  /// host's container in the value.
  HostRef of(const Value& value);
  HostRef of(const Object& object);
  /// The same of members that hold Values or host objects, in their order, without an Object
  /// between them and the dict.
  template <class... Members>
  HostRef of(const Shaped<Members...>& members) {
    static_assert(sizeof...(Members) < 32, "each needs a bit");
    std::uint32_t kept = 0;
    std::uint32_t bit = 1;
    ((kept |= is_left_out<Members>(members) ? 0 : bit, bit <<= 1), ...);
    StartedDict dict(start_of({keys_of<Members...>.data(), kept}));
    (set_next<Members>(dict, members), ...);
    return std::move(dict).finished();
  }

 private:
  struct LayoutHash {
    std::size_t operator()(const Layout& layout) const noexcept {
      return reinterpret_cast<std::uintptr_t>(layout.keys) / sizeof(Word) ^ layout.kept;
    }
  };

  template <class Member>
  static bool is_left_out(const Member& member) noexcept {
    return Member::optional && is_null(member.value);
  }
  template <class Member>
  void set_next(StartedDict& dict, const Member& member) {
    if (!is_left_out<Member>(member)) dict.set_next(object_of(member.value).get());
  }
  static const HostRef& object_of(const HostRef& object) noexcept { return object; }
  HostRef object_of(const Value& value) { return of(value); }

  HostRef list_of(const List& elements);
  HostRef string_of(const Text& text);

  /// What dicts of this layout start as, made when it is first met; valid while this object lives.
  /// Few layouts are in use at a time, so most are found by their hash alone.
  const DictStart& start_of(const Layout& layout) {
    auto& [recent, start] = recent_[LayoutHash()(layout) % recent_.size()];
    if (layout != recent) {
      start = &found_start(layout);
      recent = layout;
    }
    return *start;
  }
  const DictStart& found_start(const Layout& layout);

  HostNames& names_;
  std::unordered_map<Layout, DictStart, LayoutHash> starts_;
  std::array<std::pair<Layout, const DictStart*>, 16> recent_;  // by hash
};

}  // namespace mcp_responses
