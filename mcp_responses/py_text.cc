#include "py_text.h"

#include <cassert>
#include <cstring>

#include "py_errors.h"

namespace mcp_responses {
namespace {

/// The highest code point of a repertoire, which determines the representation of a str.
Py_UCS4 highest_in(Repertoire repertoire) noexcept {
  switch (repertoire) {
    case Repertoire::ascii:
      return 0x7F;
    case Repertoire::latin1:
      return 0xFF;
    case Repertoire::bmp:
      return 0xFFFF;
    default:
      return 0x10FFFF;
  }
}

}  // namespace

const detail::ValueOps py_string_ops{
    .kind = Kind::string,
    .retain = retain_object,
    .release = release_object,
    .text = [](detail::Payload payload) noexcept { return view_of(object_in(payload)); }};

Text to_text(PyRef string) {
  ensure_ready(string.get());
  if (!PyUnicode_CheckExact(string.get())) string = checked(PyUnicode_FromObject, string.get());
  return {py_string_ops, detail::Payload{.pointer = string.release()}};
}

PyRef string_of(const Text& text) {
  if (&text.ops() == &py_string_ops) return PyRef::borrow(object_in(text.payload()));
  return new_string(text.view());
}

PyRef new_string(const TextView& characters) {
  assert(joined_repertoire(characters, {}) == characters.repertoire);
  PyRef string = checked(PyUnicode_New, static_cast<Py_ssize_t>(characters.size),
                         highest_in(characters.repertoire));
  if (characters.size > 0) {
    std::memcpy(PyUnicode_DATA(string.get()), characters.data,
                characters.size * unit_size(characters.repertoire));
  }
  return string;
}

PyRef string_of(const Cut& cut) {
  const auto size = static_cast<Py_ssize_t>(cut.kept.size + cut.mark.size);
  const Repertoire repertoire = joined_repertoire(cut.kept, cut.mark);
  PyRef string = checked(PyUnicode_New, size, highest_in(repertoire));
  join(cut.kept, cut.mark, repertoire, PyUnicode_DATA(string.get()));
  return string;
}

PyRef first_sentence_of(PyObject* docstring) {
  ensure_ready(docstring);
  SummaryBuffer buffer;
  const Cut cut = first_sentence(view_of(docstring), buffer);
  return cut.kept.size == 0 ? PyRef::borrow(Py_None) : string_of(cut);
}

}  // namespace mcp_responses
