#include "outline_rows.h"

#include <algorithm>

#include "detail/work.h"
#include "errors.h"

namespace mcp_responses {
namespace {

/// The length of the longest prefix of `fqn` that ends with a dot and has at most `length` code
/// points; 0 if there is none.
std::size_t length_to_last_dot(const TextView& fqn, std::size_t length) {
  return visit_units(fqn, [length](auto units) {
    std::size_t end = length;
    while (end > 0 && units[end - 1] != '.') --end;
    return end;
  });
}

std::size_t common_length(const TextView& a, const TextView& b) {
  if (a.data == b.data && a.repertoire == b.repertoire) return std::min(a.size, b.size);
  return visit_units(a, [&b](auto a_units) {
    return visit_units(b, [a_units](auto b_units) {
      const auto [a_end, b_end] =
          std::mismatch(a_units.begin(), a_units.end(), b_units.begin(), b_units.end());
      return static_cast<std::size_t>(a_end - a_units.begin());
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

void OutlineModule::add(const Text& fqn) {
  const TextView view = fqn.view();
  detail::count_work(detail::element_work + view.size);
  const std::size_t parents = length_to_last_dot(view, view.size);
  if (!first_) {
    first_ = fqn;
    shared_ = parents;
    return;
  }
  const TextView first = first_->view();
  const std::size_t common = common_length(first.slice(0, shared_), view);
  shared_ = length_to_last_dot(first, std::min(common, parents));
}

Text OutlineModule::text() const {
  return shared_ == 0 ? Text() : slice(first_->view(), 0, shared_ - 1);
}

Text outline_module(std::span<const Text> fqns) {
  OutlineModule module;
  for (const Text& fqn : fqns) module.add(fqn);
  return module.text();
}

Value name_in_module(const Value& module, Value fqn) {
  const auto module_text = module.text();
  if (!module_text) throw KindError("module", {Kind::string}, module.kind());
  const TextView whole = *fqn.view();
  const TextView prefix = module_text->view();
  if (!starts_with_module(whole, prefix)) return fqn;
  return slice(whole, prefix.size + 1, whole.size - prefix.size - 1);
}

}  // namespace mcp_responses
