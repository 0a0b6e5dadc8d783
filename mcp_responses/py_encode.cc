#include "py_encode.h"

#include <utility>
#include <vector>

#include "detail/encoder.h"
#include "errors.h"
#include "py_copy.h"
#include "py_object.h"

namespace mcp_responses {
namespace {

/// A dict cannot be walked where it lies: it has a key that is not exactly a str, whose text
/// another key may have too, or an order that is not its storage's. A plain copy is encoded
/// instead.
class NeedsCopy {};

/// A host object as the encoder walks it. No host code runs during the walk but signal handlers, so
/// borrowed references do, if what is still used is held before a handler runs.
class PyTree {
 public:
  using Node = PyObject*;

  class Cursor {
   public:
    Cursor(PyObject* container, bool is_object) noexcept : at_(container, is_object) {}

    bool is_object() const noexcept { return at_.is_dict(); }
    bool next() {
      if (!at_.next()) return false;
      if (at_.is_dict() && !PyUnicode_CheckExact(at_.key())) throw NeedsCopy();
      return true;
    }
    PyObject* container() const noexcept { return at_.container(); }
    PyObject* value() const noexcept { return at_.value(); }
    TextView key() const { return text(at_.key()); }

   private:
    PyCursor at_;
  };

  Kind kind(PyObject* node, const std::vector<Cursor>& open) {
    if (++nodes_ % nodes_between_checks == 0) run_signal_handlers(node, open);
    switch (py_kind(node)) {
      case PyKind::null:
        return Kind::null;
      case PyKind::boolean:
        return Kind::boolean;
      case PyKind::integer:
        return Kind::integer;
      case PyKind::real:
        return Kind::real;
      case PyKind::string:
        return Kind::string;
      case PyKind::list:
      case PyKind::tuple:
        if (open.size() >= most_nesting_) throw NestingError();
        return Kind::list;
      case PyKind::dict:
        if (open.size() >= most_nesting_) throw NestingError();
        if (has_own_order(node)) throw NeedsCopy();
        return Kind::object;
      case PyKind::other:
        break;
    }
    throw UnsupportedObject(node);
  }

  static bool boolean(PyObject* node) noexcept { return node == Py_True; }
  static std::int64_t integer(PyObject* node) { return integer_in(node); }
  static double real(PyObject* node) noexcept { return PyFloat_AS_DOUBLE(node); }
  static TextView text(PyObject* node) {
    check(PyUnicode_READY(node));
    return view_of(node);
  }
  static Cursor open(PyObject* node, Kind kind) noexcept { return {node, kind == Kind::object}; }

 private:
  static constexpr std::size_t nodes_between_checks = 1 << 16;

  void run_signal_handlers(PyObject* node, const std::vector<Cursor>& open) {
    std::vector<PyRef> held;
    held.reserve(open.size() + 1);
    for (const Cursor& cursor : open) held.push_back(PyRef::borrow(cursor.container()));
    held.push_back(PyRef::borrow(node));
    held_.swap(held);
    check_signals();
  }

  std::size_t most_nesting_ = max_nesting();
  std::size_t nodes_ = 0;
  std::vector<PyRef> held_;  // all that was open when handlers ran last
};

template <class Sink>
std::size_t encode_as_it_lies(PyObject* root, Sink& sink) {
  PyTree tree;
  return encode(tree, root, sink);
}

template <class Sink>
std::size_t encode_py(PyObject* root, Sink& sink) {
  try {
    return encode_as_it_lies(root, sink);
  } catch (const NeedsCopy&) {
    const PyRef copy = plain_copy(root);
    sink.clear();
    return encode_as_it_lies(copy.get(), sink);
  }
}

/// Writes into a buffer that is kept from one text to the next. A call that a signal's handler makes
/// meanwhile finds none there, and writes into one of its own.
class ScratchSink : public TextSink {
 public:
  explicit ScratchSink(TextBuffer& kept) noexcept
      : TextSink(std::exchange(kept, {})), kept_(kept) {}
  ScratchSink(const ScratchSink&) = delete;
  ScratchSink& operator=(const ScratchSink&) = delete;
  ~ScratchSink() {
    TextBuffer used = std::move(*this).buffer();
    if (used.capacity <= max_scratch) kept_ = std::move(used);
  }

 private:
  static constexpr std::size_t max_scratch = 1 << 20;

  TextBuffer& kept_;
};

}  // namespace

PyRef encoded_py_text(PyObject* root, TextBuffer& kept) {
  ScratchSink sink(kept);
  const std::size_t size = encode_py(root, sink);
  return exact_string_of(sink.view(size));
}

std::size_t encoded_py_size(PyObject* root) {
  CountSink sink;
  return encode_py(root, sink);
}

}  // namespace mcp_responses
