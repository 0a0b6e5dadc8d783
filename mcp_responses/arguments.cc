#include "arguments.h"

#include <algorithm>
#include <string>
#include <vector>

#include "errors.h"
#include "py_errors.h"

namespace mcp_responses {
namespace {

const char* plural(std::size_t count) { return count == 1 ? "" : "s"; }

std::string quoted(PyObject* name) {
  const char* characters = PyUnicode_AsUTF8(name);  // a parameter's name: ASCII
  if (characters == nullptr) throw PythonError();
  return std::string("'") + characters + "'";
}

/// "'a'", "'a' and 'b'", "'a', 'b', and 'c'".
std::string listed(const std::vector<PyObject*>& names) {
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool is_last = i > 0 && i + 1 == names.size();
    if (is_last) list += names.size() == 2 ? " and " : ", and ";
    if (i > 0 && !is_last) list += ", ";
    list += quoted(names[i]);
  }
  return list;
}

/// The position of the parameter with this name, most likely `expected`; names.size() if there is
/// none.
std::size_t position_of(std::span<PyObject* const> names, PyObject* name, std::size_t expected) {
  // Names are usually interned, so that equal names are the same object.
  std::size_t at = expected;
  for (std::size_t left = names.size(); left > 0; --left, ++at) {
    if (at >= names.size()) at = 0;
    if (names[at] == name) return at;
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (checked(PyObject_RichCompareBool, name, names[i], Py_EQ) != 0) return i;
  }
  return names.size();
}

/// Returns the parameter's position.
std::size_t bind_named(const PyParameters& parameters, PyObject* name, PyObject* value,
                       std::size_t expected, std::span<PyObject*> arguments) {
  if (!PyUnicode_Check(name)) {
    raise(PyExc_TypeError, "%s() keywords must be strings", parameters.function);
  }
  const std::size_t position = position_of(parameters.names, name, expected);
  if (position == parameters.names.size()) {
    raise(PyExc_TypeError, "%s() got an unexpected keyword argument '%.500S'", parameters.function,
          name);
  }
  if (arguments[position] != nullptr) {
    raise(PyExc_TypeError, "%s() got multiple values for argument '%.500S'", parameters.function,
          name);
  }
  arguments[position] = value;
  return position;
}

[[noreturn]] void raise_too_many_positional(const PyParameters& parameters, std::size_t given,
                                            std::span<PyObject* const> arguments) {
  const std::size_t max_count = parameters.positional;
  const auto optional = std::ranges::count_if(parameters.defaults.first(max_count),
                                              [](auto* object) { return object != nullptr; });
  const std::size_t min_count = max_count - static_cast<std::size_t>(optional);
  const std::string accepted = min_count < max_count ? "from " + std::to_string(min_count) +
                                                           " to " + std::to_string(max_count)
                                                     : std::to_string(max_count);
  const auto by_name = static_cast<std::size_t>(std::ranges::count_if(
      arguments.subspan(max_count), [](auto* object) { return object != nullptr; }));
  std::string and_by_name;
  if (by_name > 0) {
    and_by_name = std::string(" positional argument") + plural(given) + " (and " +
                  std::to_string(by_name) + " keyword-only argument" + plural(by_name) + ")";
  }
  raise(PyExc_TypeError, "%s() takes %s positional argument%s but %zu%s %s given",
        parameters.function, accepted.c_str(), min_count < max_count ? "s" : plural(max_count),
        given, and_by_name.c_str(), given == 1 && by_name == 0 ? "was" : "were");
}

/// Sets the missing arguments of the parameters from `first` to `last` to their defaults.
void fill_defaults(const PyParameters& parameters, std::size_t first, std::size_t last,
                   const char* kind, std::span<PyObject*> arguments) {
  bool is_complete = true;
  for (std::size_t i = first; i < last; ++i) {
    if (arguments[i] == nullptr) arguments[i] = parameters.defaults[i];
    is_complete &= arguments[i] != nullptr;
  }
  if (is_complete) return;
  std::vector<PyObject*> missing;
  for (std::size_t i = first; i < last; ++i) {
    if (arguments[i] == nullptr) missing.push_back(parameters.names[i]);
  }
  raise(PyExc_TypeError, "%s() missing %zu required %s argument%s: %s", parameters.function,
        missing.size(), kind, plural(missing.size()), listed(missing).c_str());
}

}  // namespace

std::string accepted_types(std::string_view annotation) {
  std::vector<std::string_view> types;
  while (!annotation.empty()) {
    const std::string_view type = annotation.substr(0, annotation.find_first_of(" ["));
    const bool is_literal = type == "Literal";  // of strings
    if (type == "Any") return json_types;
    types.emplace_back(is_literal ? std::string_view("str") : type);
    if (type == "list") types.emplace_back("tuple");
    const std::size_t separator = annotation.rfind(" | ");  // annotations have two types at most
    annotation.remove_prefix(separator == annotation.npos ? annotation.size() : separator + 3);
  }
  return alternatives(types);
}

void bind_arguments(const PyParameters& parameters, const CallArguments& given,
                    std::span<PyObject*, max_parameters> arguments) {
  std::ranges::fill(arguments, nullptr);
  std::copy_n(given.values, std::min(given.by_position, parameters.positional), arguments.begin());
  const Py_ssize_t named = given.names == nullptr ? 0 : PyTuple_GET_SIZE(given.names);
  std::size_t expected = given.by_position;  // most callers keep the order of the parameters
  for (Py_ssize_t i = 0; i < named; ++i) {
    PyObject* const value = given.values[given.by_position + static_cast<std::size_t>(i)];
    PyObject* const name = PyTuple_GET_ITEM(given.names, i);
    expected = bind_named(parameters, name, value, expected, arguments) + 1;
  }
  if (given.by_position > parameters.positional)
    raise_too_many_positional(parameters, given.by_position, arguments);
  fill_defaults(parameters, 0, parameters.positional, "positional", arguments);
  fill_defaults(parameters, parameters.positional, parameters.names.size(), "keyword-only",
                arguments);
}

}  // namespace mcp_responses
