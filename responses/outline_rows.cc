#include "outline_rows.h"

#include <algorithm>

#include "errors.h"

namespace mcp_responses {
namespace {

/// The length of the part of `fqn` up to and including its last dot within the first `length` code
/// points; 0 without.
std::size_t up_to_last_dot(const TextView& fqn, std::size_t length) {
  return visit_units(fqn, [length](auto units) {
    std::size_t end = length;
    while (end > 0 && units[end - 1] != '.') --end;
    return end;
  });
}

std::size_t common_length(const TextView& a, const TextView& b) {
  return visit_units(a, [&b](auto a_units) {
    return visit_units(b, [a_units](auto b_units) {
      return static_cast<std::size_t>(std::ranges::mismatch(a_units, b_units).in1 -
                                      a_units.begin());
    });
  });
}

Text slice(const TextView& view, std::size_t start, std::size_t count) {
  return Text::copy_of(view.slice(start, count));
}

bool starts_with_module(const TextView& fqn, const TextView& module) {
  return fqn.size > module.size && fqn[module.size] == '.' &&
         common_length(fqn, module) >= module.size;
}

}  // namespace

Text outline_module(std::span<const Text> fqns) {
  if (fqns.empty()) return {};
  const TextView first = fqns.front().view();
  // The shared parts, each with the dot behind it, are a prefix of the first fqn.
  std::size_t shared = up_to_last_dot(first, first.size);
  for (const Text& fqn : fqns.subspan(1)) {
    const TextView view = fqn.view();
    const std::size_t parents = up_to_last_dot(view, view.size);
    shared = up_to_last_dot(first, std::min(common_length(first.slice(0, shared), view), parents));
  }
  return slice(first, 0, shared == 0 ? 0 : shared - 1);
}

Value name_in_module(const Value& module, Value fqn) {
  const auto module_text = module.text();
  if (!module_text) throw KindError("module", "str", module.kind());
  const auto fqn_text = fqn.text();
  if (!fqn_text) throw AttributeMissing(kind_name(fqn.kind()), "startswith");
  const TextView whole = fqn_text->view();
  const TextView prefix = module_text->view();
  if (!starts_with_module(whole, prefix)) return fqn;
  return slice(whole, prefix.size + 1, whole.size - prefix.size - 1);
}

Object build_file_symbol(const PlainRecord& symbol, const Value& module) {
  return file_symbol(symbol, module);
}

}  // namespace mcp_responses
