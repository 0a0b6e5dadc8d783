// `code_lines`, the only function that reads files and releases the GIL.
#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "code_lines.h"
#include "namespace_code.h"
#include "native.h"
#include "py_errors.h"
#include "py_object.h"
#include "py_value.h"
#include "static_object.h"
#include "work_tree.h"

namespace mcp_responses {
namespace {

/// Runs functions without the GIL, and signal handlers at most every 50 ms.
class Reading {
 public:
  template <class Function>
  void without_gil(const Function& function) {
    struct AcquireAtEnd {
      Reading& reading;
      ~AcquireAtEnd() { reading.acquire_gil(); }
    } const acquire_at_end{*this};
    const CheckInterrupt check = [this] { check_signals(); };
    const InterruptScope interruptible(check);
    thread_ = PyEval_SaveThread();
    function();
  }

  /// May be called with and without the GIL. Throws `PythonError`, with the GIL.
  void check_signals() {
    const auto now = std::chrono::steady_clock::now();
    if (now - last_check_ < std::chrono::milliseconds(50)) return;
    last_check_ = now;
    const bool was_released = thread_ != nullptr;
    acquire_gil();
    // While handlers run, a greenlet may continue another call, which must not use a check on this stack.
    const InterruptScope interruptible(run_signal_handlers);
    mcp_responses::check_signals();
    if (was_released) thread_ = PyEval_SaveThread();
  }

 private:
  void acquire_gil() noexcept {
    PyThreadState* const thread = std::exchange(thread_, nullptr);
    if (thread != nullptr) call_python([thread] { PyEval_RestoreThread(thread); });
  }

  PyThreadState* thread_ = nullptr;  // while the GIL is released
  std::chrono::steady_clock::time_point last_check_ = std::chrono::steady_clock::now();
};

/// Raises the error that is set. If it is a UnicodeEncodeError, its reason names the path.
[[noreturn]] void raise_encoding_error(const std::string& name) {
  if (PyErr_ExceptionMatches(PyExc_UnicodeEncodeError) == 0) throw PythonError();
  std::array<PyObject*, 3> raised{};  // type, error and traceback
  PyErr_Fetch(&raised[0], &raised[1], &raised[2]);
  call_python([&] { PyErr_NormalizeException(&raised[0], &raised[1], &raised[2]); });
  PyRef type = PyRef::steal(raised[0]);
  PyRef error = PyRef::steal(raised[1]);
  PyRef traceback = PyRef::steal(raised[2]);
  const PyRef reason = checked(PyUnicodeEncodeError_GetReason, error.get());
  checked(PyObject_SetAttrString, error.get(), "reason",
          checked(PyUnicode_FromFormat, "%U in %s", reason.get(), name.c_str()).get());
  PyErr_Restore(type.release(), error.release(), traceback.release());
  throw PythonError();
}

/// The path in the file system's encoding, like `os.fsencode`. `name` is its name in an error message.
std::string encoded_path(PyObject* path, const std::string& name) {
  const PyRef bytes = PyRef::steal(call_python([&] { return PyUnicode_EncodeFSDefault(path); }));
  if (!bytes) raise_encoding_error(name);
  std::string encoded(PyBytes_AS_STRING(bytes.get()),
                      static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.get())));
  if (encoded.find('\0') != std::string::npos)
    raise(PyExc_ValueError, "%s contains a null character", name.c_str());
  return encoded;
}

bool has_path(PyObject* root) {
  if (PyUnicode_Check(root)) return true;
  // Interned: otherwise each look-up would leave a new string in the interpreter's cache of attributes.
  const PyRef name = checked(PyUnicode_InternFromString, "__fspath__");
  auto* const type = reinterpret_cast<PyObject*>(Py_TYPE(root));
  return call_python([&] { return PyObject_HasAttr(type, name.get()); }) != 0;
}

std::string root_of(PyObject* root) {
  if (!has_path(root)) raise_wrong_type("root", "str, os.PathLike or None", root);
  const PyRef path = checked(PyOS_FSPath, root);
  if (!PyUnicode_Check(path.get())) {
    raise(PyExc_TypeError, "root must be a path of str or None, not of %.200s",
          Py_TYPE(path.get())->tp_name);
  }
  return encoded_path(path.get(), "root");
}

Place to_place(PyObject* pair, std::size_t position) {
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
      1, [&places](const PyRef& pair) { places.push_back(to_place(pair.get(), places.size())); });
  return places;
}

void log_not_read(const Call& call, const FileLines& file) {
  const PyRef logger = call.global(literal<"logger">);
  const PyRef reason = checked(PyUnicode_DecodeFSDefault, file.failure.c_str());
  const PyRef path = string_of(file.path);
  checked(PyObject_CallMethod, logger.get(), "info", "sOO", "code_lines: %s is not read (%s)",
          path.get(), reason.get());
}

/// Adds {(path, number): line} for each line of a file.
void add_lines(PyObject* dict, const FileLines& file) {
  const PyRef path = string_of(file.path);
  for (std::size_t i = 0; i < file.lines.size(); ++i) {
    count_work(element_work);
    const PyRef number = checked(PyLong_FromLongLong, file.numbers[i]);
    const PyRef key = checked(PyTuple_Pack, 2, path.get(), number.get());
    checked(PyDict_SetItem, dict, key.get(), string_of(file.lines[i]).get());
  }
}

}  // namespace

PyRef functions::py_code_lines(Call& call) {
  PyRef lines = checked(PyDict_New);
  if (call[0] == Py_None) return lines;  // the places are not read
  Reading reading;
  const std::string root = root_of(call[0]);
  // A relative root is resolved before the places are read, which may change the current directory.
  std::optional<WorkTree> tree;
  reading.without_gil([&] { tree.emplace(root); });
  std::vector<FileLines> files = grouped_by_file(places_of(call));
  for (FileLines& file : files) {
    count_work(file.path.size());
    const std::string name = "places[" + std::to_string(file.first_place) + "][0]";
    file.name = encoded_path(string_of(file.path).get(), name);
  }
  std::optional<SymlinkLoop> loop;
  reading.without_gil([&] { loop = read_lines(*tree, files); });
  for (const FileLines& file : files) {
    if (!file.failure.empty()) log_not_read(call, file);
  }
  if (loop) throw SymlinkLoop(*loop);
  for (const FileLines& file : files) add_lines(lines.get(), file);
  return lines;
}

}  // namespace mcp_responses
