#include "state.h"

#include <span>

#include "host_copy.h"
#include "host_value.h"

namespace mcp_responses {
namespace {

HostRef interned(const char* name) { return checked(PyUnicode_InternFromString(name)); }

HostRef to_host_text(State& state, const Handle& text) {
  const auto* const word = static_cast<const Word*>(text.payload().pointer);
  if (&text.holder() == &word_holder && word != nullptr) {
    return HostRef::borrow(state.word(*word));
  }
  return to_host_string(text);
}

HostRef to_host_list(State& state, const List& elements) {
  HostRef list = checked(PyList_New(0));
  for (const Value& element : elements)
    check(PyList_Append(list.get(), to_host(state, element).get()));
  return list;
}

void set(State& state, PyObject* dict, PyObject* key, const Value& value) {
  PyObject* const leaf = host_leaf(value);
  check(leaf != nullptr ? PyDict_SetItem(dict, key, leaf)
                        : PyDict_SetItem(dict, key, to_host(state, value).get()));
}

}  // namespace

State::State() {
  for (std::size_t i = 0; i < field_names.size(); ++i) field_names_[i] = interned(field_names[i]);
}

PyObject* State::word(const Word& word) {
  HostRef& string = words_[&word];
  if (!string) string = interned(word.data);
  return string.get();
}

const LayoutDict& State::start_of(const Layout& layout) {
  const auto found = starts_.find(layout);
  if (found != starts_.end()) return found->second;
  LayoutDict start{checked(PyDict_New()), {}};
  for (std::size_t i = 0; i < layout.shape->size(); ++i) {
    if ((layout.kept >> i & 1) == 0) continue;
    start.keys.push_back(word(*(*layout.shape)[i]));
    check(PyDict_SetItem(start.dict.get(), start.keys.back(), Py_None));
  }
  return starts_.try_emplace(layout, std::move(start)).first->second;
}

HostRef to_host(State& state, const Object& object) {
  HostRef dict;
  auto members = object.items();
  if (const Layout layout = object.layout(); layout.shape == nullptr) {
    dict = checked(PyDict_New());
  } else {
    const LayoutDict& start = state.start_of(layout);
    dict = checked(PyDict_Copy(start.dict.get()));
    for (PyObject* key : start.keys) {
      if (!members.front().value.is_null()) set(state, dict.get(), key, members.front().value);
      members = members.subspan(1);
    }
  }
  for (const Member& member : members) {
    set(state, dict.get(), to_host_text(state, member.key).get(), member.value);
  }
  return dict;
}

HostRef to_host(State& state, const Value& value) {
  if (PyObject* leaf = host_leaf(value)) return HostRef::borrow(leaf);
  if (PyObject* container = host_container(value)) return plain_copy(container);
  switch (value.kind()) {
    case Kind::integer:
      return checked(PyLong_FromLongLong(*value.integer()));
    case Kind::real:
      return checked(PyFloat_FromDouble(*value.real()));
    case Kind::string:
      return to_host_text(state, value);
    case Kind::list:
      return to_host_list(state, *value.list());
    default:
      return to_host(state, *value.object());
  }
}

}  // namespace mcp_responses
