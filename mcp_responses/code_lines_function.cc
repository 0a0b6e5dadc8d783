// The one function that leaves the interpreter: what `code_lines` needs of the host before, while
// and after it reads.
#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "code_lines.h"
#include "functions.h"
#include "py_errors.h"
#include "py_object.h"
#include "py_value.h"
#include "static_object.h"
#include "work_tree.h"

namespace mcp_responses::functions {
namespace {

/// Gives the interpreter's lock to other threads for as long as it lives.
class GilReleased {
 public:
  GilReleased() noexcept : thread_(PyEval_SaveThread()) {}
  GilReleased(const GilReleased&) = delete;
  GilReleased& operator=(const GilReleased&) = delete;
  ~GilReleased() {
    call_python([this] { PyEval_RestoreThread(thread_); });
  }

  /// Takes the lock for so long as to run the handlers of signals that have come.
  void check_signals() {
    call_python([this] { PyEval_RestoreThread(thread_); });
    const int answer = call_python([] { return PyErr_CheckSignals(); });
    thread_ = PyEval_SaveThread();
    check(answer);
  }

 private:
  PyThreadState* thread_;
};

/// The bytes of a file name for a str, as `os.fsencode` makes them.
std::string encoded_name(PyObject* path) {
  const PyRef bytes = checked(PyUnicode_EncodeFSDefault(path));
  std::string name(PyBytes_AS_STRING(bytes.get()),
                   static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get())));
  if (name.find('\0') != std::string::npos) throw NulInPath();
  return name;
}

/// The root, a relative one taken from the folder that is the current one now: what reading the places
/// changes, or another thread, does not count.
std::string root_of(PyObject* root) {
  const PyRef path = checked(call_python([root] { return PyOS_FSPath(root); }));
  if (!PyUnicode_Check(path.get())) {
    raise(PyExc_TypeError, "root must be a path of str or None, not of %.200s",
          Py_TYPE(path.get())->tp_name);
  }
  return absolute(encoded_name(path.get()));
}

Place place_of(PyObject* pair, std::size_t position) {
  const bool is_pair =
      (PyTuple_Check(pair) || PyList_Check(pair)) && PySequence_Fast_GET_SIZE(pair) == 2;
  if (!is_pair) {
    raise(PyExc_TypeError, "places[%zu] must be a pair of str and int, not %.200s", position,
          Py_TYPE(pair)->tp_name);
  }
  PyObject* const path = PySequence_Fast_GET_ITEM(pair, 0);
  PyObject* const line = PySequence_Fast_GET_ITEM(pair, 1);
  if (!PyUnicode_Check(path) || !PyLong_Check(line)) {
    raise(PyExc_TypeError, "places[%zu] must be a pair of str and int, not of %.200s and %.200s",
          position, Py_TYPE(path)->tp_name, Py_TYPE(line)->tp_name);
  }
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(line, &overflow);
  if (overflow != 0)
    raise_unsupported(UnsupportedObject(line), "places[" + std::to_string(position) + "][1]");
  return {to_text(PyRef::borrow(path)), number};
}

std::vector<Place> places_of(const Call& call) {
  std::vector<Place> places;
  call.for_each_in(
      1, [&places](const PyRef& pair) { places.push_back(place_of(pair.get(), places.size())); });
  return places;
}

void log_not_read(const Call& call, const Text& path, const std::string& reason) {
  const PyRef logger = call.global(literal<"logger">);
  const PyRef reason_text = checked(PyUnicode_DecodeFSDefault(reason.c_str()));
  checked(call_python([&] {
    return PyObject_CallMethod(logger.get(), "info", "sOO", "code_lines: %s is not read (%s)",
                               string_of(path).get(), reason_text.get());
  }));
}

}  // namespace

PyRef code_lines(Call& call) {
  PyRef lines = checked(PyDict_New());
  if (call[0] == Py_None) return lines;  // the places are left as they are
  GilReleased* unlocked = nullptr;
  const auto while_unlocked = [&unlocked](const auto& function) {
    GilReleased for_now;
    unlocked = &for_now;
    function();
  };
  auto last_check = std::chrono::steady_clock::now();
  const auto check_signals_now_and_then = [&] {
    const auto now = std::chrono::steady_clock::now();
    if (now - last_check < std::chrono::milliseconds(50)) return;
    last_check = now;
    unlocked->check_signals();
  };
  const std::string root = root_of(call[0]);
  std::optional<WorkTree> tree;
  while_unlocked([&] { tree.emplace(root, check_signals_now_and_then); });
  const std::vector<Place> places = places_of(call);
  const CodeLinesHooks hooks{
      .name_of =
          [](const Text& path) {
            check_signals(1);
            return encoded_name(string_of(path).get());
          },
      .while_reading = while_unlocked,
      .before_step = check_signals_now_and_then,
      .not_read = [&](const Text& path,
                      const std::string& reason) { log_not_read(call, path, reason); }};
  for (const CodeLine& line : mcp_responses::code_lines(*tree, places, hooks)) {
    check_signals(1);
    const PyRef number = checked(PyLong_FromLongLong(line.place.line));
    const PyRef key = checked(PyTuple_Pack(2, string_of(line.place.path).get(), number.get()));
    check(PyDict_SetItem(lines.get(), key.get(), string_of(line.text).get()));
  }
  return lines;
}

}  // namespace mcp_responses::functions
