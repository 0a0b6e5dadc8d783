#include "argument_path.h"

#include <span>
#include <unordered_set>
#include <vector>

#include "py_object.h"

namespace mcp_responses {
namespace {

/// The key itself, or what an error shows of a long str.
PyRef first_characters(PyObject* key) {
  constexpr Py_ssize_t shown = 100;
  if (!PyUnicode_Check(key) || PyUnicode_GetLength(key) <= shown) return PyRef::borrow(key);
  return checked(PyUnicode_Substring(key, 0, shown));
}

/// "[3]" or "['line']": as a programmer would write it. Only exact built-in keys are asked for
/// their text: no host code runs.
std::string subscript(const PyCursor& at) {
  PyObject* const key = at.key();
  if (key == nullptr) return std::string("[").append(std::to_string(at.index())).append("]");
  if (!PyUnicode_CheckExact(key) && !PyLong_CheckExact(key) && !PyFloat_CheckExact(key))
    return "[...]";
  const PyRef start = first_characters(key);
  const PyRef text = PyRef::steal(PyObject_Repr(start.get()));
  if (!text) {  // an int of more digits than the host writes
    PyErr_Clear();
    return "[...]";
  }
  const PyRef bytes = checked(PyUnicode_AsEncodedString(text.get(), "utf-8", "backslashreplace"));
  return std::string("[") + PyBytes_AS_STRING(bytes.get()) + (start.get() == key ? "]" : "...]");
}

/// A walk through a whole argument. No host code runs meanwhile, so borrowed references do.
class Search {
 public:
  explicit Search(PyObject* wanted) : wanted_(wanted) {}

  /// Where the object stands in `root`, which is called `name`. Its text is made only once it is
  /// found: for each level on the way there it would grow by what stands above.
  std::string place(PyObject* root, std::string name) {
    if (root == wanted_) return name;
    enter(root);
    while (!steps_.empty() && !is_found()) {
      if (steps_.back().next()) {
        enter(steps_.back().value());
      } else {
        steps_.pop_back();
      }
    }
    if (steps_.empty()) return {};
    const bool is_key = steps_.back().key() == wanted_;
    for (const PyCursor& step : std::span(steps_).first(steps_.size() - (is_key ? 1 : 0)))
      name += subscript(step);
    return is_key ? "a key of " + name : name;
  }

 private:
  bool is_found() const noexcept {
    return steps_.back().key() == wanted_ || steps_.back().value() == wanted_;
  }

  void enter(PyObject* object) {
    const PyKind kind = py_kind(object);
    const bool is_container = kind == PyKind::list || kind == PyKind::tuple || kind == PyKind::dict;
    // A container that was seen before holds nothing new; it may hold itself.
    if (is_container && seen_.insert(object).second) steps_.emplace_back(object);
  }

  PyObject* wanted_;
  std::vector<PyCursor> steps_;  // the containers around what is looked at
  std::unordered_set<PyObject*> seen_;
};

}  // namespace

std::string place_in(PyObject* root, const std::string& name, PyObject* object) {
  return Search(object).place(root, name);
}

}  // namespace mcp_responses
