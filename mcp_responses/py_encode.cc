#include "py_encode.h"

#include <optional>
#include <utility>
#include <vector>

#include "detail/encoder.h"
#include "py_copy.h"
#include "py_errors.h"
#include "py_object.h"
#include "py_text.h"

namespace mcp_responses {
namespace {

/// A Tree for the encoder. Python code runs only in signal handlers and while a dict is copied. Before each,
/// the tree takes references to the containers on the path; all others are borrowed.
class PyTree {
 public:
  using Node = PyObject*;

  using Cursor = PyCursor;

  Kind kind(PyObject* node, const std::vector<Cursor>& path) {
    work_ += element_work;
    if (work_ >= detail::work_between_checks) [[unlikely]]
      run_signal_handlers(node, path);
    const std::optional<Kind> kind = py_kind(node);
    if (kind) [[likely]]
      return *kind;
    throw UnsupportedObject(node);
  }

  std::size_t max_nesting() const noexcept { return max_nesting_; }
  static bool boolean(PyObject* node) noexcept { return node == Py_True; }
  static std::int64_t integer(PyObject* node) { return integer_in(node); }
  static double real(PyObject* node) noexcept { return PyFloat_AS_DOUBLE(node); }
  TextView text(PyObject* string) {
    ensure_ready(string);
    const TextView text = view_of(string);
    work_ += text.size;
    return text;
  }
  TextView key(const Cursor& cursor) {
    if (!PyUnicode_CheckExact(cursor.key())) [[unlikely]]
      raise(PyExc_RuntimeError, "dictionary keys changed during iteration");  // by a signal handler
    return text(cursor.key());
  }
  Cursor open(PyObject* node, Kind kind, const std::vector<Cursor>& path) {
    if (kind != Kind::object) return {node, false};
    if (has_string_keys(node)) [[likely]]
      return {node, true};
    hold(node, path);
    while (!copies_.empty() && copies_.back().depth >= path.size()) copies_.pop_back();
    copies_.push_back({with_string_keys(node), path.size()});
    return {copies_.back().dict.get(), true};
  }

 private:
  /// A copy of a dict that cannot be traversed in place, and the number of containers around it.
  struct Copy {
    PyRef dict;
    std::size_t depth;
  };

  void run_signal_handlers(PyObject* node, const std::vector<Cursor>& path) {
    work_ = 0;
    hold(node, path);
    detail::check_interrupt();
  }

  void hold(PyObject* node, const std::vector<Cursor>& path) {
    std::vector<PyRef> held;
    held.reserve(path.size() + 1);
    for (const Cursor& cursor : path) held.push_back(PyRef::borrow(cursor.container()));
    held.push_back(PyRef::borrow(node));
    held_.swap(held);
  }

  std::size_t max_nesting_ = mcp_responses::max_nesting();
  // The work since signals were checked. A member stays in a register, unlike the counter of the thread.
  std::size_t work_ = 0;
  std::vector<PyRef> held_;   // the path when Python code could run last
  std::vector<Copy> copies_;  // those of open dicts, and of some that are closed
};

template <class Sink>
std::size_t encode_py(PyObject* root, Sink& sink) {
  const PyRef held = PyRef::borrow(root);
  PyTree tree;
  return detail::encode(tree, root, sink);
}

}  // namespace

PyRef encoded_py_text(PyObject* root, detail::TextBuffer& scratch) {
  constexpr std::size_t max_scratch = std::size_t{1} << 20;
  // A nested call, from a signal handler, finds the buffer empty and allocates its own.
  detail::TextSink sink(std::exchange(scratch, {}));
  const std::size_t size = encode_py(root, sink);
  PyRef text = new_string(sink.view(size));
  detail::TextBuffer used = std::move(sink).buffer();
  if (used.capacity <= max_scratch) scratch = std::move(used);
  return text;
}

std::size_t encoded_py_size(PyObject* root) {
  detail::CountSink sink;
  return encode_py(root, sink);
}

}  // namespace mcp_responses
