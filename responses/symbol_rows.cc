#include "symbol_rows.h"

namespace mcp_responses {

Object build_symbol_search_result(const PlainRecord& symbol, Value file_path) {
  return symbol_search_result(symbol, std::move(file_path));
}

Object build_symbol_full_details(const PlainRecord& symbol, Value file_path) {
  return symbol_full_details(symbol, std::move(file_path));
}

}  // namespace mcp_responses
