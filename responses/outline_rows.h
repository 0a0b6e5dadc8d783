// The outline of a source file: the module that its symbols share, and a row for each symbol.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>

#include "records.h"
#include "static_object.h"
#include "text.h"
#include "value.h"

namespace mcp_responses {

/// Computes the module of a file's outline from one fqn after another: the longest dotted prefix
/// that they share, where the last part of each does not count. "shop.cart.Cart" and
/// "shop.cart.Cart.total" share "shop.cart". Parts are compared as a whole.
class OutlineModule {
 public:
  void add(const Text& fqn);
  /// The module of the fqns so far. Empty if they share nothing.
  Text text() const;

 private:
  std::optional<Text> first_;
  std::size_t shared_ = 0;  // length of the prefix of the first fqn, including the dot after it
};

/// The module of these fqns.
Text outline_module(std::span<const Text> fqns);

/// `fqn` without `module` and the dot after it. Requires an fqn that is a string. Throws `KindError` if
/// the module is not one.
Value name_in_module(const Value& module, Value fqn);

/// The row of a symbol: "name" (its fqn without `module` and the dot after it), "kind", "line",
/// "end_line" (only if it differs from the start line), "signature" and "summary", each only if it
/// is not null. With a falsy `module`, "name" is the whole fqn. Reads `fqn`, `kind`,
/// `start_line`, `end_line`, `signature` and `docstring`. Throws `FieldKindError` if there
/// is a module and the fqn is not a string.
template <Record Source>
auto build_file_symbol(const Source& symbol, const Value& module = Text()) {
  Value name = module.truthy()
                   ? name_in_module(module, symbol.value_of_kind(Field::fqn, {Kind::string}))
                   : symbol.value(Field::fqn);
  auto kind =
      symbol.pass_through(Field::kind);  // before the lines: the order is part of the interface
  Value line = symbol.value(Field::start_line);
  Value end_line = symbol.value(Field::end_line);
  if (end_line == line) end_line = {};
  return StaticObject{
      "name"_optional = std::move(name),
      "kind"_optional = std::move(kind),
      "line"_optional = std::move(line),
      "end_line"_optional = std::move(end_line),
      "signature"_optional = symbol.pass_through(Field::signature),
      "summary"_optional = symbol.summary(Field::docstring),
  };
}

}  // namespace mcp_responses
