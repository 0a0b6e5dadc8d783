#include "argument_path.h"

#include <span>
#include <unordered_set>
#include <vector>

#include "py_errors.h"
#include "py_object.h"

namespace mcp_responses {
namespace {

/// The first characters of a long str, otherwise the key itself.
PyRef abbreviated(PyObject* key) {
  constexpr Py_ssize_t max_characters = 100;
  if (!PyUnicode_Check(key) || PyUnicode_GetLength(key) <= max_characters)
    return PyRef::borrow(key);
  return checked(PyUnicode_Substring, key, 0, max_characters);
}

/// "['line']". The repr of a key whose type is not exactly a built-in one could run Python code, so
/// it is "[...]".
std::string subscript(PyObject* key) {
  if (!PyUnicode_CheckExact(key) && !PyLong_CheckExact(key) && !PyFloat_CheckExact(key))
    return "[...]";
  const PyRef start = abbreviated(key);
  const PyRef text = PyRef::steal(PyObject_Repr(start.get()));
  if (!text) {  // an int with more digits than `sys.set_int_max_str_digits` allows
    PyErr_Clear();
    return "[...]";
  }
  const PyRef bytes = checked(PyUnicode_AsEncodedString, text.get(), "utf-8", "backslashreplace");
  return std::string("[") + PyBytes_AS_STRING(bytes.get()) + (start.get() == key ? "]" : "...]");
}

std::string subscript(Py_ssize_t index) { return "[" + std::to_string(index) + "]"; }

/// A depth-first search through an argument. Signal handlers may run and change the containers, so
/// the search holds references to those on its path and to their keys.
class Search {
 public:
  explicit Search(PyObject* wanted) : wanted_(wanted) {}

  std::string path(PyObject* root, std::string name) {
    if (root == wanted_) return name;
    enter(root);
    while (!path_.empty() && !is_found()) {
      count_work(element_work);
      if (path_.back().next()) {
        enter(path_.back().value.get());
      } else {
        path_.pop_back();
      }
    }
    if (path_.empty()) return {};
    const bool is_key = path_.back().key.get() == wanted_;
    for (const Step& step : std::span(path_).first(path_.size() - (is_key ? 1 : 0)))
      name += step.subscript();
    return is_key ? "a key of " + name : name;
  }

 private:
  /// A container on the path, and the member or element of it that the search has reached.
  struct Step {
    explicit Step(PyObject* object) : container(PyRef::borrow(object)), at(object) {}

    bool next() {
      if (!at.next()) return false;
      key = PyRef::borrow(at.key());
      value = PyRef::borrow(at.value());
      return true;
    }
    std::string subscript() const {
      return key ? mcp_responses::subscript(key.get()) : mcp_responses::subscript(at.index());
    }

    PyRef container;
    PyCursor at;
    PyRef key;
    PyRef value;
  };

  bool is_found() const noexcept {
    return path_.back().key.get() == wanted_ || path_.back().value.get() == wanted_;
  }

  void enter(PyObject* object) {
    const PyKind kind = py_kind(object);
    const bool is_container = kind == PyKind::list || kind == PyKind::tuple || kind == PyKind::dict;
    // A container may contain itself, or be reached in several ways: it is searched once.
    if (is_container && seen_.insert(object).second) path_.emplace_back(object);
  }

  PyObject* wanted_;
  std::vector<Step> path_;
  std::unordered_set<PyObject*> seen_;
};

}  // namespace

std::string argument_path(PyObject* root, const std::string& name, PyObject* object) {
  return Search(object).path(root, name);
}

}  // namespace mcp_responses
