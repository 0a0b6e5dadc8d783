#include "state.h"

#include "host_copy.h"
#include "host_value.h"

namespace mcp_responses {
namespace {

HostRef interned(const char* name) { return checked(PyUnicode_InternFromString(name)); }

HostRef to_host_key(State& state, const Text& text) {
  if (&text.holder() == &word_holder) {
    return HostRef::borrow(state.word(*static_cast<const Word*>(text.payload().pointer)));
  }
  return to_host_string(text);
}

HostRef to_host_list(State& state, const List& elements) {
  HostRef list = checked(PyList_New(0));
  for (const Value& element : elements)
    check(PyList_Append(list.get(), to_host(state, element).get()));
  return list;
}

HostRef to_host_dict(State& state, const Object& members) {
  HostRef dict;
  std::size_t shaped = 0;
  if (const Shape shape = members.shape(); !shape.empty()) {
    const ShapeDict& start = state.shape(shape);
    const std::vector<PyObject*>& keys = start.keys;
    dict = checked(PyDict_Copy(start.dict.get()));
    for (shaped = 0; shaped < keys.size(); ++shaped) {
      const Value& value = members.items()[shaped].value;
      if (!value.is_null())
        check(PyDict_SetItem(dict.get(), keys[shaped], to_host(state, value).get()));
    }
  } else {
    dict = checked(PyDict_New());
  }
  for (const Member& member : members.items().subspan(shaped)) {
    check(PyDict_SetItem(dict.get(), to_host_key(state, member.key).get(),
                         to_host(state, member.value).get()));
  }
  return dict;
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

const ShapeDict& State::shape(Shape shape) {
  const auto found = shapes_.find(shape.data());
  if (found != shapes_.end()) return found->second;
  ShapeDict made{checked(PyDict_New()), {}};
  for (const Word* key : shape) {
    made.keys.push_back(word(*key));
    check(PyDict_SetItem(made.dict.get(), made.keys.back(), Py_None));
  }
  return shapes_.try_emplace(shape.data(), std::move(made)).first->second;
}

HostRef to_host(State& state, const Value& value) {
  const bool is_container = value.kind() == Kind::list || value.kind() == Kind::object;
  if (PyObject* object = held_object(value))
    return is_container ? plain_copy(object) : HostRef::borrow(object);
  switch (value.kind()) {
    case Kind::null:
      return HostRef::borrow(Py_None);
    case Kind::boolean:
      return HostRef::borrow(*value.boolean() ? Py_True : Py_False);
    case Kind::integer:
      return checked(PyLong_FromLongLong(*value.integer()));
    case Kind::real:
      return checked(PyFloat_FromDouble(*value.real()));
    case Kind::string:
      return to_host_key(state, *value.text());
    case Kind::list:
      return to_host_list(state, *value.list());
    case Kind::object:
      break;
  }
  return to_host_dict(state, *value.object());
}

}  // namespace mcp_responses
