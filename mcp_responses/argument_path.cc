#include "argument_path.h"

#include <optional>
#include <span>
#include <unordered_set>
#include <utility>
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
  const PyRef text = PyRef::steal(call_python([&] { return PyObject_Repr(start.get()); }));
  if (!text) {  // an int with more digits than `sys.set_int_max_str_digits` allows
    call_python(PyErr_Clear);
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

  ArgumentPath path(PyObject* root, const std::string& name) {
    if (root == wanted_) return {name};
    enter(root);
    while (advance()) {
      const std::size_t levels = path_.size();
      if (path_.back().key.get() == wanted_)
        return {"a key of " + path_to(levels - 1, name), levels};
      if (path_.back().value.get() == wanted_) return {path_to(levels, name), levels};
      enter(path_.back().value.get());
    }
    return {};
  }

  std::string nesting_problem(PyObject* root, const std::string& name, std::size_t max_levels) {
    enter(root);
    while (advance()) {
      PyObject* const value = path_.back().value.get();
      for (std::size_t i = 0; i < path_.size(); ++i) {
        if (path_[i].container.get() == value) return path_to(i, name) + " contains itself";
      }
      enter(value);
      if (path_.size() > max_levels) {
        constexpr std::size_t max_subscripts = 5;
        return path_to(max_subscripts, name) + "... is nested more than " +
               std::to_string(max_levels) + " levels deep";
      }
    }
    return {};
  }

 private:
  /// A container on the path, and the member or element of it that the search has reached.
  struct Step {
    explicit Step(PyObject* object) : container(PyRef::borrow(object)), at(object) {}

    bool next() {
      if (!at.next()) return false;
      // The finalizer of the previous key or value may change the container.
      PyRef next_key = PyRef::borrow(at.key());
      PyRef next_value = PyRef::borrow(at.value());
      key = std::move(next_key);
      value = std::move(next_value);
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

  /// Moves to the next member or element, depth first; false after the last.
  bool advance() {
    for (; !path_.empty(); path_.pop_back()) {
      count_work(element_work);
      if (path_.back().next()) return true;
    }
    return false;
  }

  /// The path to the member or element that the first `steps` containers have reached.
  std::string path_to(std::size_t steps, std::string name) const {
    for (const Step& step : std::span(path_).first(steps)) name += step.subscript();
    return name;
  }

  void enter(PyObject* object) {
    const std::optional<Kind> kind = py_kind(object);
    const bool is_container = kind == Kind::list || kind == Kind::object;
    // A container may contain itself, or be reached in several ways: it is searched once.
    if (is_container && seen_.insert(object).second) path_.emplace_back(object);
  }

  PyObject* wanted_;
  std::vector<Step> path_;
  std::unordered_set<PyObject*> seen_;
};

}  // namespace

std::string nesting_problem(PyObject* root, const std::string& name, std::size_t max_levels) {
  return Search(nullptr).nesting_problem(root, name, max_levels);
}

ArgumentPath argument_path(PyObject* root, const std::string& name, PyObject* object) {
  return Search(object).path(root, name);
}

}  // namespace mcp_responses
