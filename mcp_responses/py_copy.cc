// A container is copied in two steps: first as a whole, its elements still the caller's own, then
// those of its elements that cannot be shared are replaced by their copies. The garbage collector
// rests meanwhile: no finalizer changes what is being copied, not even between the moment in which
// the interpreter makes room for a copy and the one in which it fills it.
#include "py_copy.h"

#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "detail/number_text.h"
#include "errors.h"

namespace mcp_responses {
namespace {

class CollectorAtRest {
 public:
  CollectorAtRest() noexcept : was_enabled_(PyGC_Disable() != 0) {}
  CollectorAtRest(const CollectorAtRest&) = delete;
  CollectorAtRest& operator=(const CollectorAtRest&) = delete;
  ~CollectorAtRest() {
    if (was_enabled_) PyGC_Enable();
  }

 private:
  bool was_enabled_;
};

PyRef string_of_ascii(std::string_view ascii) {
  return checked(PyUnicode_FromStringAndSize(ascii.data(), static_cast<Py_ssize_t>(ascii.size())));
}

PyRef key_text(PyObject* key) {
  switch (py_kind(key)) {
    case PyKind::string:
      return checked(PyUnicode_FromObject(key));
    case PyKind::integer:
      return string_of_ascii(NumberText(integer_in(key)).view());
    case PyKind::real:
      return string_of_ascii(NumberText(PyFloat_AS_DOUBLE(key)).view());
    case PyKind::boolean:
      return string_of_ascii(key == Py_True ? "true" : "false");
    case PyKind::null:
      return string_of_ascii("null");
    default:
      throw UnsupportedObject(key, UnsupportedObject::As::key);
  }
}

/// Whether every key is exactly a str; and whether every value can be shared, so that there is
/// nothing left to copy.
struct DictContent {
  bool has_plain_keys = true;
  bool has_shareable_values = true;

  explicit DictContent(PyObject* dict) {
    for (PyCursor at(dict, true); at.next();) {
      has_plain_keys = has_plain_keys && PyUnicode_CheckExact(at.key());
      has_shareable_values = has_shareable_values && is_shareable(at.value());
    }
  }
};

using PyMember = std::pair<PyRef, PyRef>;

std::vector<PyMember> members_as_stored(PyObject* dict) {
  std::vector<PyMember> members;
  members.reserve(static_cast<std::size_t>(PyDict_Size(dict)));
  for (PyCursor at(dict, true); at.next();)
    members.emplace_back(PyRef::borrow(at.key()), PyRef::borrow(at.value()));
  return members;
}

/// An OrderedDict has an order of its own beside that of its storage. It is read by the type's own
/// iterator, whatever a subclass overrides; the hash of a key that is an instance of a subclass may
/// be host code.
std::vector<PyMember> members_in_order(PyObject* dict) {
  std::vector<PyMember> stored = members_as_stored(dict);
  if (!has_own_order(dict)) return stored;
  std::unordered_map<PyObject*, PyRef> values;
  for (auto& [key, value] : stored) values.emplace(key.get(), std::move(value));
  const PyRef keys = checked(call_python([dict] { return PyODict_Type.tp_iter(dict); }));
  std::vector<PyMember> members;
  for (;;) {
    PyRef key = PyRef::steal(call_python([&] { return PyIter_Next(keys.get()); }));
    if (!key) break;
    const auto value = values.find(key.get());
    if (value != values.end()) members.emplace_back(std::move(key), std::move(value->second));
  }
  if (PyErr_Occurred() != nullptr) throw PythonError();
  return members;
}

PyRef rekeyed(PyObject* dict) {
  const CollectorAtRest at_rest;
  PyRef copy = checked(PyDict_New());
  for (const auto& [key, value] : members_in_order(dict)) {
    check_signals(1);
    check(PyDict_SetItem(copy.get(), key_text(key.get()).get(), value.get()));
  }
  return copy;
}

PyRef list_of_tuple(PyObject* tuple) {
  const Py_ssize_t size = PyTuple_GET_SIZE(tuple);
  PyRef list = checked(PyList_New(size));
  for (Py_ssize_t i = 0; i < size; ++i)
    PyList_SET_ITEM(list.get(), i, Py_NewRef(PyTuple_GET_ITEM(tuple, i)));
  return list;
}

/// A copy one level deep.
struct ShallowCopy {
  PyRef object;
  bool is_whole = true;  // nothing in it is still to be copied

  explicit ShallowCopy(PyObject* original) {
    switch (py_kind(original)) {
      case PyKind::null:
      case PyKind::boolean:
        object = PyRef::borrow(original);
        return;
      case PyKind::string:
        object = checked(PyUnicode_FromObject(original));  // itself when it is exactly a str
        return;
      case PyKind::integer:
        object = checked(PyLong_FromLongLong(integer_in(original)));
        return;
      case PyKind::real:
        object = checked(PyFloat_FromDouble(PyFloat_AS_DOUBLE(original)));
        return;
      case PyKind::list:
        object = checked(PyList_GetSlice(original, 0, PyList_GET_SIZE(original)));
        is_whole = false;
        return;
      case PyKind::tuple:
        object = list_of_tuple(original);
        is_whole = false;
        return;
      case PyKind::dict: {
        const DictContent content(original);
        const bool is_plain = content.has_plain_keys && PyDict_CheckExact(original);
        object = is_plain ? checked(PyDict_Copy(original)) : rekeyed(original);
        is_whole = is_plain && content.has_shareable_values;
        return;
      }
      case PyKind::other:
        break;
    }
    throw UnsupportedObject(original);
  }
};

/// For what a copy consists of: the host's own types.
bool is_leaf(PyObject* copy) { return !PyList_CheckExact(copy) && !PyDict_CheckExact(copy); }

/// A container of the copy, and how far its elements have been copied.
class Level {
 public:
  explicit Level(PyObject* container) noexcept
      : container_(PyRef::borrow(container)), at_(container) {}

  /// On to the next element that cannot be shared; false when there is none.
  bool next() noexcept {
    while (at_.next()) {
      if (!is_shareable(at_.value())) return true;
    }
    return false;
  }

  PyObject* element() const noexcept { return at_.value(); }

  /// Requires that somebody else holds the element.
  void replace(PyObject* copy) {
    if (at_.is_dict()) {
      const PyRef key = PyRef::borrow(at_.key());
      check(PyDict_SetItem(container_.get(), key.get(), copy));
    } else {
      PyObject* const element = at_.value();
      PyList_SET_ITEM(container_.get(), at_.index(), Py_NewRef(copy));
      Py_DECREF(element);  // not the last reference: the caller of this copies from it
    }
  }

 private:
  PyRef container_;
  PyCursor at_;
};

}  // namespace

PyRef plain_copy(PyObject* root) {
  const CollectorAtRest at_rest;
  const std::size_t most = max_nesting();
  ShallowCopy copy(root);
  std::vector<Level> levels;
  if (!copy.is_whole) levels.emplace_back(copy.object.get());
  while (!levels.empty()) {
    // A handler may change what is copied, but the copies, and the references in them, are our own.
    check_signals(1);
    if (!levels.back().next()) {
      levels.pop_back();
      continue;
    }
    const PyRef original = PyRef::borrow(levels.back().element());
    const ShallowCopy inner(original.get());
    levels.back().replace(inner.object.get());
    if (levels.size() >= most && !is_leaf(inner.object.get())) throw NestingError();
    if (!inner.is_whole) levels.emplace_back(inner.object.get());
  }
  return std::move(copy.object);
}

PyRef plain_copy_without_nulls(PyObject* dict) {
  PyRef copy = plain_copy(dict);
  std::vector<PyRef> without_value;
  for (PyCursor at(copy.get(), true); at.next();) {
    if (at.value() == Py_None) without_value.push_back(PyRef::borrow(at.key()));
  }
  for (const PyRef& key : without_value) {
    check_signals(1);
    check(PyDict_DelItem(copy.get(), key.get()));
  }
  return copy;
}

PyRef with_text_keys(PyObject* dict) {
  if (has_own_order(dict)) return rekeyed(dict);
  for (PyCursor at(dict, true); at.next();) {
    if (!PyUnicode_CheckExact(at.key())) return rekeyed(dict);
  }
  return PyRef::borrow(dict);
}

}  // namespace mcp_responses
