#include "host_path.h"

#include <unordered_set>
#include <vector>

#include "host_value.h"

namespace mcp_responses {
namespace {

struct Step {
  HostRef container;
  std::string path;  // of the container
  Py_ssize_t position = 0;
};

/// "['line']": as a programmer would write it. Only exact built-in keys are asked for their text:
/// no host code runs.
std::string subscript(PyObject* key) {
  if (!PyUnicode_CheckExact(key) && !PyLong_CheckExact(key) && !PyFloat_CheckExact(key))
    return "[...]";
  const HostRef text = checked(PyObject_Repr(key));
  const HostRef bytes = checked(PyUnicode_AsEncodedString(text.get(), "utf-8", "backslashreplace"));
  return std::string("[") + PyBytes_AS_STRING(bytes.get()) + "]";
}

class Search {
 public:
  Search(PyObject* wanted, PyObject* root, const std::string& name) : wanted_(wanted) {
    look_at(root, name);
  }

  std::string path() {
    while (found_.empty() && !steps_.empty()) {
      const std::size_t depth = steps_.size();
      if (!advance(steps_.back()) && steps_.size() == depth) steps_.pop_back();
    }
    return found_;
  }

 private:
  void look_at(PyObject* object, std::string path) {
    if (object == wanted_) {
      found_ = std::move(path);
      return;
    }
    const HostKind kind = host_kind(object);
    const bool is_container =
        kind == HostKind::list || kind == HostKind::tuple || kind == HostKind::dict;
    // A container that was seen before holds nothing new; it may hold itself.
    if (is_container && seen_.insert(object).second)
      steps_.push_back({HostRef::borrow(object), std::move(path)});
  }

  bool advance(Step& step) {
    PyObject* const container = step.container.get();
    if (PyDict_Check(container)) return advance_in_dict(step);
    if (step.position >= PySequence_Fast_GET_SIZE(container)) return false;
    const Py_ssize_t position = step.position++;
    look_at(PySequence_Fast_GET_ITEM(container, position),
            step.path + "[" + std::to_string(position) + "]");
    return true;
  }

  bool advance_in_dict(Step& step) {
    PyObject* key = nullptr;
    PyObject* value = nullptr;
    if (PyDict_Next(step.container.get(), &step.position, &key, &value) == 0) return false;
    if (key == wanted_) {
      found_ = "a key of " + step.path;
    } else {
      look_at(value, step.path + subscript(key));
    }
    return true;
  }

  PyObject* wanted_;
  std::string found_;
  std::vector<Step> steps_;
  std::unordered_set<PyObject*> seen_;
};

}  // namespace

std::string path_to(PyObject* object, PyObject* root, const std::string& name) {
  return Search(object, root, name).path();
}

}  // namespace mcp_responses
