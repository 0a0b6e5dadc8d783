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

/// So many keys have room in a new dict; for more, a copy of one that has the room is faster.
constexpr std::size_t fit_in_new_dict = 5;

}  // namespace

State::State() {
  for (std::size_t i = 0; i < field_names.size(); ++i) field_names_[i] = interned(field_names[i]);
}

PyObject* State::word(const Word& word) {
  HostRef& string = words_[&word];
  if (!string) string = interned(word.data);
  return string.get();
}

const LayoutDict& State::found_start(const Layout& layout) {
  const auto found = starts_.find(layout);
  if (found != starts_.end()) return found->second;
  LayoutDict start;
  for (std::size_t i = 0; i < layout.shape->size(); ++i) {
    if ((layout.kept >> i & 1) != 0) start.keys.push_back(word(*(*layout.shape)[i]));
  }
  if (start.keys.size() > fit_in_new_dict) {
    start.dict = checked(PyDict_New());
    for (PyObject* key : start.keys) check(PyDict_SetItem(start.dict.get(), key, Py_None));
  }
  return starts_.try_emplace(layout, std::move(start)).first->second;
}

StartedDict::StartedDict(const LayoutDict& start)
    : next_key_(start.keys.data()),
      has_nulls_(static_cast<bool>(start.dict)),
      dict_(checked(has_nulls_ ? PyDict_Copy(start.dict.get()) : PyDict_New())) {}

HostRef to_host(State& state, const Object& object) {
  HostRef dict;
  auto members = object.items();
  if (const Layout layout = object.layout(); layout.shape == nullptr) {
    dict = checked(PyDict_New());
  } else {
    const LayoutDict& start = state.start_of(layout);
    StartedDict shaped(start);
    for (const Member& member : members.first(start.keys.size()))
      shaped.set_next(to_host(state, member.value).get());
    members = members.subspan(start.keys.size());
    dict = std::move(shaped).finished();
  }
  for (const Member& member : members) {
    check(PyDict_SetItem(dict.get(), to_host_text(state, member.key).get(),
                         to_host(state, member.value).get()));
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
