#include "empty_responses.h"

#include "pagination.h"
#include "static_object.h"

namespace mcp_responses {
namespace {

constexpr StringLiteral not_initialized = literal<"Repository not initialized">;

Object failure() { return StaticObject{"error"_key = not_initialized}; }

Object failed_job() {
  return StaticObject{"message"_key = not_initialized, "status"_key = literal<"failed">};
}

Object table() {
  const List no_rows;
  return {
      {"status"_key,
       StaticObject{"status"_key = literal<"not_initialized">, "health"_key = literal<"unknown">,
                    "branch"_key = Value(), "progress"_key = 0, "files_indexed"_key = 0,
                    "symbols_indexed"_key = 0, "errors_count"_key = 0}},
      {"search"_key, build_empty_paginated_response("symbols"_key)},
      {"symbol"_key, StaticObject{"found"_key = false, "message"_key = not_initialized}},
      {"file"_key, StaticObject{"error"_key = not_initialized, "symbols"_key = no_rows}},
      {"files"_key, build_empty_paginated_response("files"_key)},
      {"architecture"_key, StaticObject{"components"_key = no_rows}},
      {"git"_key,
       StaticObject{"error"_key = not_initialized, "files"_key = no_rows, "total_count"_key = 0,
                    "truncated"_key = false, "has_more"_key = false, "offset"_key = 0}},
      {"quality"_key,
       StaticObject{"dead_symbols"_key = no_rows, "total_count"_key = 0, "truncated"_key = false,
                    "has_more"_key = false, "offset"_key = 0}},
      {"context"_key, failed_job()},
      {"tests"_key, StaticObject{"tests"_key = no_rows, "total_count"_key = 0}},
      {"explore"_key, StaticObject{"error"_key = not_initialized, "results"_key = no_rows}},
      {"remember"_key, failure()},
      {"wiki"_key,
       StaticObject{"built"_key = false, "message"_key = not_initialized, "pages"_key = no_rows}},
      {"force_reindex"_key, failed_job()},
  };
}

}  // namespace

const Object& EMPTY_TOOL_RESPONSES() {
  static const Object responses = table();
  return responses;
}

Object get_empty_response(const Text& tool_name) {
  const auto response = EMPTY_TOOL_RESPONSES().get(tool_name).object();
  return response ? *response : failure();
}

}  // namespace mcp_responses
