// A container is copied in two steps: first one level deep, so that the copy holds the elements of
// the original; then each element that cannot be shared is replaced by its own copy.
//
// Python code may run during a copy and change anything: a garbage collection, which any allocation
// of a container may start, runs finalizers; `count_work` runs signal handlers. So each step
// allocates the new container first, then checks the original's size and fills the new one without
// running any code. Such code can also find an unfinished copy by `gc.get_referrers`, so elements
// are replaced by functions of the interpreter that check the container.
#include "py_copy.h"

#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "detail/number_text.h"
#include "errors.h"
#include "py_errors.h"

namespace mcp_responses {
namespace {

PyRef ascii_string(std::string_view ascii) {
  return checked(PyUnicode_FromStringAndSize, ascii.data(), static_cast<Py_ssize_t>(ascii.size()));
}

using PyMember = std::pair<PyRef, PyRef>;

std::vector<PyMember> entries_in_order(PyObject* dict) {
  std::vector<PyMember> members;
  members.reserve(static_cast<std::size_t>(PyDict_Size(dict)));
  for (PyCursor at(dict, true); at.next();)
    members.emplace_back(PyRef::borrow(at.key()), PyRef::borrow(at.value()));
  return members;
}

/// The members in the order of iteration, which for an OrderedDict is not the order of its entries.
/// It is read by the iterator of OrderedDict itself, regardless of the methods that a
/// subclass overrides.
std::vector<PyMember> members_in_order(PyObject* dict) {
  std::vector<PyMember> entries = entries_in_order(dict);
  if (!has_own_order(dict)) return entries;
  std::unordered_map<PyObject*, PyRef> values;
  for (auto& [key, value] : entries) {
    count_work(element_work);
    values.emplace(key.get(), std::move(value));
  }
  const PyRef keys = checked(PyODict_Type.tp_iter, dict);
  std::vector<PyMember> members;
  while (PyRef key = next_of(keys)) {
    count_work(element_work);
    const auto value = values.find(key.get());
    // After a change by a method of dict itself, the order may have other keys, or contain a cycle.
    if (value == values.end() || !value->second)
      raise(PyExc_RuntimeError, "OrderedDict mutated during iteration");
    members.emplace_back(std::move(key), std::move(value->second));
  }
  return members;
}

PyRef copy_with_string_keys(PyObject* dict) {
  PyRef copy = checked(PyDict_New);
  for (const auto& [key, value] : members_in_order(dict)) {
    count_work(element_work);
    checked(PyDict_SetItem, copy.get(), key_string(key.get()).get(), value.get());
  }
  return copy;
}

/// A copy one level deep.
struct ShallowCopy {
  PyRef object;
  bool is_deep = false;  // true if it is known that no element of it has to be copied
};

ShallowCopy copy_of_list(PyObject* list_or_tuple) {
  for (;;) {
    const Py_ssize_t size = PySequence_Fast_GET_SIZE(list_or_tuple);
    PyRef copy = checked(PyList_New, size);
    if (PySequence_Fast_GET_SIZE(list_or_tuple) != size) continue;  // a finalizer has changed it
    for (Py_ssize_t i = 0; i < size; ++i)
      PyList_SET_ITEM(copy.get(), i, Py_NewRef(PySequence_Fast_GET_ITEM(list_or_tuple, i)));
    return {std::move(copy)};
  }
}

ShallowCopy copy_of_dict(PyObject* dict) {
  if (!PyDict_CheckExact(dict)) return {copy_with_string_keys(dict)};
  PyRef copy = checked(PyDict_New);
  bool is_deep = true;
  // A small dict is copied at once. In a large one, signal handlers run between two members.
  const bool is_small = PyDict_Size(dict) <= 100'000;
  for (PyCursor at(dict, true); at.next();) {
    if (!PyUnicode_CheckExact(at.key())) return {copy_with_string_keys(dict)};
    is_deep = is_deep && is_shareable(at.value());
    if (is_small) continue;
    checked(PyDict_SetItem, copy.get(), at.key(), at.value());
    count_work(element_work);
  }
  // Strings are hashed and compared without running code, and tables of keys are not allocated by
  // the garbage collector. PyDict_Copy is not safe: it reads the original again after an
  // allocation that may run finalizers.
  if (is_small) {
    checked(PyDict_Update, copy.get(), dict);
    count_work(element_work * static_cast<std::size_t>(PyDict_Size(copy.get())));
  }
  return {std::move(copy), is_deep};
}

ShallowCopy shallow_copy(PyObject* original) {
  const std::optional<Kind> kind = py_kind(original);
  if (!kind) throw UnsupportedObject(original);
  switch (*kind) {
    case Kind::null:
    case Kind::boolean:
      return {PyRef::borrow(original), true};
    case Kind::string:
      return {checked(PyUnicode_FromObject, original), true};  // itself if it is exactly a str
    case Kind::integer:
      return {checked(PyLong_FromLongLong, integer_in(original)), true};
    case Kind::real:
      return {checked(PyFloat_FromDouble, PyFloat_AS_DOUBLE(original)), true};
    case Kind::list:
      return copy_of_list(original);
    case Kind::object:
      break;
  }
  return copy_of_dict(original);
}

/// A container of the copy whose elements are being replaced by their copies.
class OpenContainer {
 public:
  explicit OpenContainer(PyObject* container) noexcept
      : container_(PyRef::borrow(container)), at_(container) {}

  /// Moves to the next element that cannot be shared; false if there is none.
  bool next() {
    for (;;) {
      count_work(element_work);
      if (!at_.next()) return false;
      if (!is_shareable(at_.value())) return true;
    }
  }

  /// Its key, null in a list, and the element itself. They are kept alive while the element is
  /// copied, because Python code that runs during the copy may remove them from the container.
  PyMember member() const noexcept {
    return {PyRef::borrow(at_.key()), PyRef::borrow(at_.value())};
  }

  void replace(const PyRef& key, PyRef copy) {
    if (at_.is_object()) {
      checked(PyDict_SetItem, container_.get(), key.get(), copy.get());
    } else {
      checked(PyList_SetItem, container_.get(), at_.index(), copy.release());
    }
  }

 private:
  PyRef container_;
  PyCursor at_;
};

bool is_container(PyObject* copy) { return PyList_CheckExact(copy) || PyDict_CheckExact(copy); }

}  // namespace

PyRef plain_copy(PyObject* root) {
  const std::size_t max_levels = max_nesting();
  ShallowCopy copy = shallow_copy(root);
  std::vector<OpenContainer> open;
  if (!copy.is_deep) open.emplace_back(copy.object.get());
  while (!open.empty()) {
    if (!open.back().next()) {
      open.pop_back();
      continue;
    }
    const auto [key, original] = open.back().member();
    ShallowCopy inner = shallow_copy(original.get());
    if (is_container(inner.object.get())) check_nesting(open.size(), max_levels);
    const PyRef element = PyRef::borrow(inner.object.get());
    open.back().replace(key, std::move(inner.object));
    if (!inner.is_deep) open.emplace_back(element.get());
  }
  return std::move(copy.object);
}

PyRef copy_without_nulls(PyObject* dict) {
  PyRef copy = plain_copy(dict);
  std::vector<PyRef> keys_of_null;
  for (PyCursor at(copy.get(), true); at.next();) {
    if (at.value() == Py_None) keys_of_null.push_back(PyRef::borrow(at.key()));
  }
  for (const PyRef& key : keys_of_null) {
    count_work(element_work);
    checked(PyDict_DelItem, copy.get(), key.get());
  }
  return copy;
}

bool all_keys_are_strings(PyObject* dict) noexcept {
  for (PyCursor at(dict, true); at.next();)
    if (!PyUnicode_CheckExact(at.key())) return false;
  return true;
}

PyRef with_string_keys(PyObject* dict) {
  return has_string_keys(dict) ? PyRef::borrow(dict) : copy_with_string_keys(dict);
}

PyRef key_string(PyObject* key) {
  switch (py_kind(key).value_or(Kind::object)) {
    case Kind::string:
      return checked(PyUnicode_FromObject, key);
    case Kind::integer:
      return ascii_string(detail::NumberText(integer_in(key)).view());
    case Kind::real:
      return ascii_string(detail::NumberText(PyFloat_AS_DOUBLE(key)).view());
    case Kind::boolean:
      return ascii_string(key == Py_True ? "true" : "false");
    case Kind::null:
      return ascii_string("null");
    default:
      throw UnsupportedObject(key, UnsupportedObject::Role::key);
  }
}

}  // namespace mcp_responses
