// The lines of a file: found without decoding, equal to decoding and splitting everything first.
#include "contract.h"
#include "line_finder.h"
#include "models/slow_lines.h"

namespace mcp_responses {
namespace {

/// The bytes as they are, or each as a letter or a line break.
std::string file_of(std::string_view bytes, bool as_they_are) {
  if (as_they_are) return std::string(bytes);
  std::string file;
  for (const char byte : bytes) {
    const auto choice = static_cast<std::uint8_t>(byte);
    const auto& pieces = models::breaks_and_the_like;
    choice < 200 ? file.append(1, 'a') : file.append(pieces[choice % std::size(pieces)]);
  }
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = contract::bytes_of(data, size);
  if (bytes.empty()) return 0;
  // The first byte says what the rest means and which lines are asked for.
  const auto first = static_cast<std::uint8_t>(bytes.front());
  const std::string file = file_of(bytes.substr(1), first < 128);
  const auto step = std::int64_t{1} + first % 7;
  const auto lines = models::split_lines(models::decoded(file));
  const auto count = static_cast<std::int64_t>(lines.size());

  LineFinder finder(models::in_pieces(file, 1 + first * 5U));
  for (std::int64_t number = step; number <= count; number += step) {
    const auto line = finder.find(number);
    const std::string what = "line " + std::to_string(number);
    contract::require(line.has_value(), what + " is missing");
    contract::require_equal(code_line_text(*line),
                            models::shown_line(lines[static_cast<std::size_t>(number - 1)]), what);
  }
  contract::require(!finder.find(count + step), "a line past the last");
  return 0;
}

}  // namespace mcp_responses
