// The response of the index-status tool: state, branch, counters and phase of indexing.
#pragma once

#include <utility>

#include "static_object.h"
#include "value.h"

namespace mcp_responses {

/// The arguments of `build_index_status_response`. `progress` is a percentage; `status` and `health`
/// are one of a few words. No value is checked or clamped. The type `Passed` is Value, or a foreign
/// object: only the phases are inspected.
template <class Passed>
struct IndexStatusOf {
  Passed status = {};
  Passed health = {};
  Passed branch = {};
  Passed progress = {};
  // The defaults of numbers are unused for a PyRef, which cannot be created from 0: the extension gives
  // every member.
  Passed files_indexed = 0;
  Passed symbols_indexed = 0;
  Passed last_updated = {};
  Passed errors_count = 0;
  Value phase = {};
  Value phase_detail = {};
};
using IndexStatus = IndexStatusOf<Value>;

/// "status", "health", "branch", "progress", "files_indexed", "symbols_indexed", "last_updated",
/// "errors_count", nulls included, then "phase" and "phase_detail", each only if truthy.
template <class Passed = Value>
auto build_index_status_response(IndexStatusOf<Passed> status) {
  const auto if_truthy = [](Value value) { return value.truthy() ? std::move(value) : Value(); };
  return StaticObject{
      "status"_key = std::move(status.status),
      "health"_key = std::move(status.health),
      "branch"_key = std::move(status.branch),
      "progress"_key = std::move(status.progress),
      "files_indexed"_key = std::move(status.files_indexed),
      "symbols_indexed"_key = std::move(status.symbols_indexed),
      "last_updated"_key = std::move(status.last_updated),
      "errors_count"_key = std::move(status.errors_count),
      "phase"_optional = if_truthy(std::move(status.phase)),
      "phase_detail"_optional = if_truthy(std::move(status.phase_detail)),
  };
}

}  // namespace mcp_responses
