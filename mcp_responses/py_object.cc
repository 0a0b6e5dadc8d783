#include "py_object.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "errors.h"
#include "py_errors.h"

namespace mcp_responses {

bool fits_64_bits(PyObject* integer) noexcept {
  int overflow = 0;
  PyLong_AsLongLongAndOverflow(integer, &overflow);
  return overflow == 0;
}

std::int64_t integer_in_slow(PyObject* object) {
  int overflow = 0;
  const long long content = PyLong_AsLongLongAndOverflow(object, &overflow);
  if (overflow != 0) throw UnsupportedObject(object);
  return content;
}

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

PyRef exact_string_of(const TextView& characters) {
  assert(joined_repertoire(characters, {}) == characters.repertoire);
  PyRef string = checked(PyUnicode_New, static_cast<Py_ssize_t>(characters.size),
                         highest_in(characters.repertoire));
  if (characters.size > 0) {
    std::memcpy(PyUnicode_DATA(string.get()), characters.data,
                characters.size * unit_size(characters.repertoire));
  }
  return string;
}

std::size_t max_nesting() noexcept {
  return static_cast<std::size_t>(
      std::clamp(Py_GetRecursionLimit(), 400, int{NestingError::max_levels}));
}

}  // namespace mcp_responses
