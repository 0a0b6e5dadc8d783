#include "host_path.h"

#include <span>
#include <unordered_set>
#include <vector>

#include "host_value.h"

namespace mcp_responses {
namespace {

/// A container, and the element or member in it that is being looked at. No host code runs during
/// a search, so borrowed references do.
struct Step {
  PyObject* container;
  Py_ssize_t position = 0;  // of what comes next
  PyObject* key = nullptr;  // in a dict
  PyObject* value = nullptr;

  bool next() noexcept {
    if (PyDict_Check(container)) return PyDict_Next(container, &position, &key, &value) != 0;
    if (position >= PySequence_Fast_GET_SIZE(container)) return false;
    value = PySequence_Fast_GET_ITEM(container, position++);
    return true;
  }
};

/// "[3]" or "['line']": as a programmer would write it. Only exact built-in keys are asked for
/// their text: no host code runs.
std::string subscript(const Step& step) {
  if (step.key == nullptr)
    return std::string("[").append(std::to_string(step.position - 1)).append("]");
  if (!PyUnicode_CheckExact(step.key) && !PyLong_CheckExact(step.key) &&
      !PyFloat_CheckExact(step.key))
    return "[...]";
  const HostRef text = HostRef::steal(PyObject_Repr(step.key));
  if (!text) {  // an int of more digits than the host writes
    PyErr_Clear();
    return "[...]";
  }
  const HostRef bytes = checked(PyUnicode_AsEncodedString(text.get(), "utf-8", "backslashreplace"));
  return std::string("[") + PyBytes_AS_STRING(bytes.get()) + "]";
}

class Search {
 public:
  explicit Search(PyObject* wanted) : wanted_(wanted) {}

  /// Where the object stands in `root`, which is called `name`. Its text is made only once it is
  /// found: for each level on the way there it would grow by what stands above.
  std::string path(PyObject* root, std::string name) {
    if (root == wanted_) return name;
    enter(root);
    while (!steps_.empty() && !is_found()) {
      if (steps_.back().next()) {
        enter(steps_.back().value);
      } else {
        steps_.pop_back();
      }
    }
    if (steps_.empty()) return {};
    const bool is_key = steps_.back().key == wanted_;
    for (const Step& step : std::span(steps_).first(steps_.size() - (is_key ? 1 : 0)))
      name += subscript(step);
    return is_key ? "a key of " + name : name;
  }

 private:
  bool is_found() const noexcept {
    return steps_.back().key == wanted_ || steps_.back().value == wanted_;
  }

  void enter(PyObject* object) {
    const HostKind kind = host_kind(object);
    const bool is_container =
        kind == HostKind::list || kind == HostKind::tuple || kind == HostKind::dict;
    // A container that was seen before holds nothing new; it may hold itself.
    if (is_container && seen_.insert(object).second) steps_.push_back({object});
  }

  PyObject* wanted_;
  std::vector<Step> steps_;
  std::unordered_set<PyObject*> seen_;
};

}  // namespace

std::string path_to(PyObject* object, PyObject* root, const std::string& name) {
  return Search(object).path(root, name);
}

}  // namespace mcp_responses
