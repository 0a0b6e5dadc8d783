#include "py_object.h"

#include <algorithm>

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

std::size_t max_nesting() noexcept {
  return static_cast<std::size_t>(
      std::clamp(Py_GetRecursionLimit(), 400, int{NestingError::max_levels}));
}

}  // namespace mcp_responses
