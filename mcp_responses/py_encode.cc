#include "py_encode.h"

#include <optional>
#include <utility>
#include <vector>

#include "detail/encoder.h"
#include "py_copy.h"
#include "py_errors.h"
#include "py_object.h"

namespace mcp_responses {
namespace {

/// Thrown for a dict that cannot be traversed in place: a key is not exactly a str, so that its text
/// may equal another key's, or the dict is an OrderedDict. A plain copy is encoded instead.
class NeedsCopy {};

/// A Tree for the encoder. Only signal handlers run Python code during the traversal, so references
/// are borrowed; before handlers run, the tree holds references to the containers on the path.
class PyTree {
 public:
  using Node = PyObject*;

  class Cursor {
   public:
    Cursor() noexcept = default;
    Cursor(PyObject* container, bool is_object) noexcept : at_(container, is_object) {}

    bool is_object() const noexcept { return at_.is_dict(); }
    bool next() {
      if (!at_.next()) return false;
      if (at_.is_dict() && !PyUnicode_CheckExact(at_.key())) throw NeedsCopy();
      return true;
    }
    PyObject* container() const noexcept { return at_.container(); }
    PyObject* value() const noexcept { return at_.value(); }
    PyObject* key() const noexcept { return at_.key(); }

   private:
    PyCursor at_;
  };

  Kind kind(PyObject* node, const std::vector<Cursor>& path) {
    work_ += element_work;
    if (work_ >= work_between_checks) [[unlikely]]
      run_signal_handlers(node, path);
    const std::optional<Kind> kind = py_kind(node);
    if (kind == Kind::object && has_own_order(node)) throw NeedsCopy();
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
  TextView key(const Cursor& cursor) { return text(cursor.key()); }
  static Cursor open(PyObject* node, Kind kind) noexcept { return {node, kind == Kind::object}; }

 private:
  static constexpr std::size_t work_between_checks = std::size_t{4} << 20;  // about a millisecond

  void run_signal_handlers(PyObject* node, const std::vector<Cursor>& path) {
    work_ = 0;
    std::vector<PyRef> held;
    held.reserve(path.size() + 1);
    for (const Cursor& cursor : path) held.push_back(PyRef::borrow(cursor.container()));
    held.push_back(PyRef::borrow(node));
    held_.swap(held);
    check_signals();
  }

  std::size_t max_nesting_ = mcp_responses::max_nesting();
  std::size_t work_ = 0;     // since signals were checked
  std::vector<PyRef> held_;  // the path when handlers ran last
};

template <class Sink>
std::size_t encode_in_place(PyObject* root, Sink& sink) {
  PyTree tree;
  return detail::encode(tree, root, sink);
}

template <class Sink>
std::size_t encode_py(PyObject* root, Sink& sink) {
  PyRef tree = PyRef::borrow(root);
  for (;;) {
    try {
      return encode_in_place(tree.get(), sink);
    } catch (const NeedsCopy&) {  // a signal handler can add such keys to the copy, too
      sink.clear();
    }
    tree = plain_copy(tree.get());
  }
}

/// Writes into the scratch buffer. A nested call, from a signal handler, finds the buffer empty and
/// allocates its own.
class ScratchSink : public detail::TextSink {
 public:
  explicit ScratchSink(detail::TextBuffer& scratch) noexcept
      : TextSink(std::exchange(scratch, {})), scratch_(scratch) {}
  ScratchSink(const ScratchSink&) = delete;
  ScratchSink& operator=(const ScratchSink&) = delete;
  ~ScratchSink() {
    detail::TextBuffer used = std::move(*this).buffer();
    if (used.capacity <= max_scratch) scratch_ = std::move(used);
  }

 private:
  static constexpr std::size_t max_scratch = std::size_t{1} << 20;

  detail::TextBuffer& scratch_;
};

}  // namespace

PyRef encoded_py_text(PyObject* root, detail::TextBuffer& scratch) {
  ScratchSink sink(scratch);
  const std::size_t size = encode_py(root, sink);
  return exact_string_of(sink.view(size));
}

std::size_t encoded_py_size(PyObject* root) {
  detail::CountSink sink;
  return encode_py(root, sink);
}

}  // namespace mcp_responses
