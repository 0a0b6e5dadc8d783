// What builders make, as host objects: a dict for each object, a list for each list, new at every
// depth; strings and integers of the host's are the very same objects.
//
// The members of a Shaped are known by its type, but for the optional ones that are null. So all
// dicts of one line of the program that keep the same members start alike, and a dict with just
// those keys is kept for them: a copy of it has its keys hashed and in place already.
#pragma once

#include <array>
#include <cstdint>
#include <span>
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

/// Some references, as many as `most`, in the order in which they are added.
template <std::size_t most>
class HostRefs {
 public:
  HostRefs() noexcept = default;
  HostRefs(const HostRefs&) = delete;
  HostRefs& operator=(const HostRefs&) = delete;
  ~HostRefs() {
    while (count_ > 0) give_up(objects_[--count_]);
  }

  void add(HostRef object) noexcept { objects_[count_++] = object.release(); }
  /// All of them, borrowed. Valid while this object is not changed.
  std::span<PyObject* const> all() const noexcept { return {objects_.data(), count_}; }
  /// Somebody else has taken them over.
  void release() noexcept { count_ = 0; }

 private:
  std::array<PyObject*, most> objects_;
  std::size_t count_ = 0;
};

/// What all dicts of one layout start as.
class DictStart {
 public:
  /// `keys` are borrowed, and must outlive this object. Throws `HostError`.
  explicit DictStart(std::vector<PyObject*> keys);
  /// A new dict of the keys, in order, and these values, one for each, which it takes over if it
  /// does not throw `HostError`.
  HostRef dict_of(std::span<PyObject* const> values) const;

 private:
  std::vector<PyObject*> keys_;
  HostRef dict_;        // of these keys
  bool has_no_values_;  // only the keys, else None under each
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
  HostRef of(Shaped<Members...>&& members) {
    static_assert(sizeof...(Members) < 32, "each needs a bit");
    std::uint32_t kept = 0;
    std::uint32_t bit = 1;
    HostRefs<sizeof...(Members)> values;
    const auto keep = [&]<class Member>(Member& member) {
      if (!(Member::optional && is_null(member.value))) {
        values.add(object_of(std::move(member.value)));
        kept |= bit;
      }
      bit <<= 1;
    };
    (keep.template operator()<Members>(members), ...);
    HostRef dict = start_of({keys_of<Members...>.data(), kept}).dict_of(values.all());
    values.release();
    return dict;
  }

 private:
  struct LayoutHash {
    std::size_t operator()(const Layout& layout) const noexcept {
      return reinterpret_cast<std::uintptr_t>(layout.keys) / sizeof(Word) ^ layout.kept;
    }
  };

  static HostRef object_of(HostRef&& object) noexcept { return std::move(object); }
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
