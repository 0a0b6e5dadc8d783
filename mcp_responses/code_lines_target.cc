// The one function that leaves the interpreter: what `code_lines` needs of the host before, while
// and after it reads.
#include <string>
#include <utility>
#include <vector>

#include "code_lines.h"
#include "host_value.h"
#include "keys.h"
#include "targets.h"

namespace mcp_responses::targets {
namespace {

/// Gives the interpreter's lock to other threads for as long as it lives.
class Unlocked {
 public:
  Unlocked() noexcept : thread_(PyEval_SaveThread()) {}
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;
  ~Unlocked() {
    in_host([this] { PyEval_RestoreThread(thread_); });
  }

 private:
  PyThreadState* thread_;
};

std::optional<std::string> root_of(PyObject* root) {
  if (root == Py_None) return {};
  const HostRef path = checked(in_host([root] { return PyOS_FSPath(root); }));
  if (!PyUnicode_Check(path.get())) {
    PyErr_Format(PyExc_TypeError, "root must be a path of str or None, not of %s",
                 Py_TYPE(path.get())->tp_name);
    throw HostError();
  }
  std::string name = file_name(text_of(HostRef::borrow(path.get())));
  return name.empty() ? "." : std::move(name);
}

[[noreturn]] void refuse_place(PyObject* pair, std::size_t position) {
  PyErr_Format(PyExc_TypeError, "places[%zu] must be a pair of str and int, not %s", position,
               Py_TYPE(pair)->tp_name);
  throw HostError();
}

[[noreturn]] void refuse_pair(PyObject* path, PyObject* line, std::size_t position) {
  PyErr_Format(PyExc_TypeError, "places[%zu] must be a pair of str and int, not of %s and %s",
               position, Py_TYPE(path)->tp_name, Py_TYPE(line)->tp_name);
  throw HostError();
}

Place place_of(PyObject* pair, std::size_t position) {
  const bool is_pair =
      (PyTuple_Check(pair) || PyList_Check(pair)) && PySequence_Fast_GET_SIZE(pair) == 2;
  if (!is_pair) refuse_place(pair, position);
  PyObject* const path = PySequence_Fast_GET_ITEM(pair, 0);
  PyObject* const line = PySequence_Fast_GET_ITEM(pair, 1);
  if (!PyUnicode_Check(path) || !PyLong_Check(line)) refuse_pair(path, line, position);
  try {
    return {text_of(HostRef::borrow(path)), integer_in(line)};
  } catch (const Refused& refused) {
    raise_refused(refused, "places[" + std::to_string(position) + "][1]");
    throw HostError();
  }
}

std::vector<Place> places_of(PyObject* iterable) {
  const HostRef iterator = checked(in_host([iterable] { return PyObject_GetIter(iterable); }));
  std::vector<Place> places;
  for (;;) {
    const HostRef pair = HostRef::steal(in_host([&] { return PyIter_Next(iterator.get()); }));
    if (!pair) break;
    places.push_back(place_of(pair.get(), places.size()));
  }
  if (PyErr_Occurred() != nullptr) throw HostError();
  return places;
}

void log_not_read(const Call& call, const Text& path, const std::string& reason) {
  const HostRef logger = call.global(word<"logger">);
  const HostRef reason_text = checked(PyUnicode_DecodeFSDefault(reason.c_str()));
  checked(in_host([&] {
    return PyObject_CallMethod(logger.get(), "info", "sOO", "code_lines: %s is not read (%s)",
                               to_host_string(path).get(), reason_text.get());
  }));
}

}  // namespace

HostRef code_lines(const Call& call) {
  HostRef lines = checked(PyDict_New());
  const auto root = root_of(call[0]);
  if (!root) return lines;  // the places are left as they are, for a caller who gave an iterator
  const std::vector<Place> places = places_of(call[1]);
  const CodeLinesHooks hooks{
      .while_reading =
          [](const auto& read_files) {
            const Unlocked unlocked;
            read_files();
          },
      .not_read = [&](const Text& path,
                      const std::string& reason) { log_not_read(call, path, reason); }};
  for (const CodeLine& line : mcp_responses::code_lines(root, places, hooks)) {
    const HostRef number = checked(PyLong_FromLongLong(line.place.line));
    const HostRef key =
        checked(PyTuple_Pack(2, to_host_string(line.place.path).get(), number.get()));
    check(PyDict_SetItem(lines.get(), key.get(), to_host_string(line.text).get()));
  }
  return lines;
}

}  // namespace mcp_responses::targets
