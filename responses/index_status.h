// The response of the index-status tool: the service's state, the branch, the counters and the
// phase of indexing.
#pragma once

#include <utility>

#include "static_object.h"
#include "value.h"

namespace mcp_responses {

/// Arguments of `build_index_status_response`. `progress` is meant to be 0 to 100, `status` and
/// `health` one of a few words; nothing is checked, mapped or clamped. All but the phases are only
/// handed on, as whatever kind a host has for them.
template <class Passed>
struct IndexStatusOf {
  Passed status = {};
  Passed health = {};
  Passed branch = {};
  Passed progress = {};
  Passed files_indexed = 0;
  Passed symbols_indexed = 0;
  Passed last_updated = {};
  Passed errors_count = 0;
  Value phase = {};
  Value phase_detail = {};
};
using IndexStatus = IndexStatusOf<Value>;

/// "status", "health", "branch", "progress", "files_indexed", "symbols_indexed", "last_updated",
/// "errors_count", nulls included, then "phase" and "phase_detail", each only when truthy.
Object build_index_status_response(IndexStatus status);

/// The members of `build_index_status_response`.
template <class Passed>
auto index_status(IndexStatusOf<Passed> status) {
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
