#include "host_encode.h"

#include <vector>

#include "encode.h"
#include "host_copy.h"
#include "host_value.h"

namespace mcp_responses {
namespace {

/// A dict has a key that is not exactly a str: its text may be another key's too, so a plain copy
/// is encoded instead.
class OtherKey {};

/// A host object as the encoder walks it. No host code runs during the walk, so borrowed references
/// do.
class HostTree {
 public:
  using Node = PyObject*;

  class Cursor {
   public:
    Cursor(PyObject* container, bool is_object) noexcept
        : container_(container), is_object_(is_object) {}

    bool is_object() const noexcept { return is_object_; }
    bool next() {
      if (!is_object_) {
        if (position_ == PySequence_Fast_GET_SIZE(container_)) return false;
        value_ = PySequence_Fast_GET_ITEM(container_, position_++);
        return true;
      }
      if (PyDict_Next(container_, &position_, &key_, &value_) == 0) return false;
      if (!PyUnicode_CheckExact(key_)) throw OtherKey();
      return true;
    }
    PyObject* value() const noexcept { return value_; }
    TextView key() const { return text(key_); }

   private:
    PyObject* container_;
    PyObject* key_ = nullptr;
    PyObject* value_ = nullptr;
    Py_ssize_t position_ = 0;
    bool is_object_;
  };

  Kind kind(PyObject* node, const std::vector<Cursor>& open) const {
    switch (host_kind(node)) {
      case HostKind::null:
        return Kind::null;
      case HostKind::boolean:
        return Kind::boolean;
      case HostKind::integer:
        return Kind::integer;
      case HostKind::real:
        return Kind::real;
      case HostKind::string:
        return Kind::string;
      case HostKind::list:
      case HostKind::tuple:
        if (open.size() >= most_nesting_) throw NestingError();
        return Kind::list;
      case HostKind::dict:
        if (open.size() >= most_nesting_) throw NestingError();
        return Kind::object;
      case HostKind::other:
        break;
    }
    throw Refused(node);
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
  std::size_t most_nesting_ = most_nesting();
};

template <class Sink>
void encode_host(PyObject* root, Sink& sink) {
  HostTree tree;
  encode(tree, root, sink);
}

template <class Sink>
Sink encoded(PyObject* root) {
  try {
    Sink sink;
    encode_host(root, sink);
    return sink;
  } catch (const OtherKey&) {
    const HostRef copy = plain_copy(root);
    Sink sink;
    encode_host(copy.get(), sink);
    return sink;
  }
}

}  // namespace

HostRef encoded_host_text(PyObject* root) {
  return exact_host_string(encoded<TextSink>(root).view());
}

std::size_t encoded_host_size(PyObject* root) { return encoded<CountSink>(root).bytes(); }

}  // namespace mcp_responses
