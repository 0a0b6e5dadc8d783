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

/// "['line']", with the first characters of a long str. The repr of a key whose type is not exactly a
/// built-in one could run Python code, so it is "[...]".
std::string subscript(PyObject* key) {
  if (!PyUnicode_CheckExact(key) && !PyLong_CheckExact(key) && !PyFloat_CheckExact(key))
    return "[...]";
  constexpr Py_ssize_t max_characters = 100;
  const bool is_long = PyUnicode_Check(key) && PyUnicode_GetLength(key) > max_characters;
  const PyRef start =
      is_long ? checked(PyUnicode_Substring, key, 0, max_characters) : PyRef::borrow(key);
  const PyRef text = PyRef::steal(call_python([&] { return PyObject_Repr(start.get()); }));
  if (!text) {  // an int with more digits than `sys.set_int_max_str_digits` allows
    call_python(PyErr_Clear);
    return "[...]";
  }
  const PyRef bytes = checked(PyUnicode_AsEncodedString, text.get(), "utf-8", "backslashreplace");
  return std::string("[") + PyBytes_AS_STRING(bytes.get()) + (is_long ? "...]" : "]");
}

bool is_container(PyObject* object) noexcept {
  const std::optional<Kind> kind = py_kind(object);
  return kind == Kind::list || kind == Kind::object;
}

/// A container on the path of a search, and the member or element of it that the search has reached.
/// Signal handlers may run and change the containers, so all are held.
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

  PyRef container;
  PyCursor at;
  PyRef key;
  PyRef value;
};
using Path = std::vector<Step>;

/// The path to the member or element that the first `count` containers have reached.
std::string text_of(const Path& path, std::size_t count, std::string name) {
  for (const Step& step : std::span(path).first(count))
    name += step.key ? subscript(step.key.get()) : "[" + std::to_string(step.at.index()) + "]";
  return name;
}

/// Visits each member and element in an object, depth first. `visit` gets the path to it, and returns
/// true to end the search.
template <class Visitor>
void search(PyObject* root, Visitor visit) {
  Path path;
  // A container may contain itself, or be reached in several ways: it is searched once.
  std::unordered_set<PyObject*> seen;
  const auto enter = [&](PyObject* object) {
    if (is_container(object) && seen.insert(object).second) path.emplace_back(object);
  };
  enter(root);
  while (!path.empty()) {
    count_work(element_work);
    if (!path.back().next()) {
      path.pop_back();
      continue;
    }
    if (visit(path)) return;
    enter(path.back().value.get());
  }
}

}  // namespace

std::optional<ArgumentPath> argument_path(PyObject* root, const std::string& name,
                                          PyObject* object) {
  if (root == object) return ArgumentPath{name, 0};
  std::optional<ArgumentPath> found;
  search(root, [&](const Path& path) {
    const std::size_t levels = path.size();
    if (path.back().key.get() == object) {
      found = {"a key of " + text_of(path, levels - 1, name), levels};
    } else if (path.back().value.get() == object) {
      found = {text_of(path, levels, name), levels};
    }
    return found.has_value();
  });
  return found;
}

std::string nesting_problem(PyObject* root, const std::string& name, std::size_t max_levels) {
  constexpr std::size_t max_subscripts = 5;
  std::string problem;
  search(root, [&](const Path& path) {
    PyObject* const value = path.back().value.get();
    if (!is_container(value)) return false;
    for (std::size_t i = 0; i < path.size() && problem.empty(); ++i) {
      if (path[i].container.get() == value) problem = text_of(path, i, name) + " contains itself";
    }
    if (problem.empty() && path.size() >= max_levels) {
      problem = text_of(path, max_subscripts, name) + "... is nested more than " +
                std::to_string(max_levels) + " levels deep";
    }
    return !problem.empty();
  });
  return problem;
}

}  // namespace mcp_responses
