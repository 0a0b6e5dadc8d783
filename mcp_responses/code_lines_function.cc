// The one function that leaves the interpreter: what `code_lines` needs of the host before, while
// and after it reads.
#include <string>
#include <utility>
#include <vector>

#include "code_lines.h"
#include "functions.h"
#include "host_errors.h"
#include "host_object.h"
#include "host_value.h"
#include "shaped.h"

namespace mcp_responses::functions {
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
    raise(PyExc_TypeError, "root must be a path of str or None, not of %s",
          Py_TYPE(path.get())->tp_name);
  }
  std::string name = file_name(to_text(HostRef::borrow(path.get())));
  return name.empty() ? "." : std::move(name);
}

Place place_of(PyObject* pair, std::size_t position) {
  const bool is_pair =
      (PyTuple_Check(pair) || PyList_Check(pair)) && PySequence_Fast_GET_SIZE(pair) == 2;
  if (!is_pair) {
    raise(PyExc_TypeError, "places[%zu] must be a pair of str and int, not %s", position,
          Py_TYPE(pair)->tp_name);
  }
  PyObject* const path = PySequence_Fast_GET_ITEM(pair, 0);
  PyObject* const line = PySequence_Fast_GET_ITEM(pair, 1);
  if (!PyUnicode_Check(path) || !PyLong_Check(line)) {
    raise(PyExc_TypeError, "places[%zu] must be a pair of str and int, not of %s and %s", position,
          Py_TYPE(path)->tp_name, Py_TYPE(line)->tp_name);
  }
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(line, &overflow);
  if (overflow != 0) raise_refused(Refused(line), "places[" + std::to_string(position) + "][1]");
  return {to_text(HostRef::borrow(path)), number};
}

std::vector<Place> places_of(const Call& call) {
  std::vector<Place> places;
  call.for_each_in(
      1, [&places](const HostRef& pair) { places.push_back(place_of(pair.get(), places.size())); });
  return places;
}

void log_not_read(const Call& call, const Text& path, const std::string& reason) {
  const HostRef logger = call.global(word<"logger">);
  const HostRef reason_text = checked(PyUnicode_DecodeFSDefault(reason.c_str()));
  checked(in_host([&] {
    return PyObject_CallMethod(logger.get(), "info", "sOO", "code_lines: %s is not read (%s)",
                               string_of(path).get(), reason_text.get());
  }));
}

}  // namespace

HostRef code_lines(Call& call) {
  HostRef lines = checked(PyDict_New());
  const auto root = root_of(call[0]);
  if (!root) return lines;  // the places are left as they are, for a caller who gave an iterator
  const std::vector<Place> places = places_of(call);
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
    const HostRef key = checked(PyTuple_Pack(2, string_of(line.place.path).get(), number.get()));
    check(PyDict_SetItem(lines.get(), key.get(), string_of(line.text).get()));
  }
  return lines;
}

}  // namespace mcp_responses::functions
