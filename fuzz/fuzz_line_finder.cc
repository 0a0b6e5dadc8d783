// Lines of a file equal those of a model that decodes the whole file and splits it.
#include "contract.h"
#include "models/slow_lines.h"

namespace mcp_responses {
namespace {

/// The bytes unchanged, or a letter or line break for each.
std::string file_of(std::string_view bytes, bool unchanged) {
  if (unchanged) return std::string(bytes);
  std::string file;
  for (const char byte : bytes) {
    const auto choice = static_cast<std::uint8_t>(byte);
    const auto& pieces = models::breaks_and_similar;
    choice < 200 ? file.append(1, 'a') : file.append(pieces[choice % std::size(pieces)]);
  }
  return file;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes = contract::bytes_of(data, size);
  if (bytes.empty()) return 0;
  // The first byte determines how the rest is interpreted and which lines are searched.
  const auto first = static_cast<std::uint8_t>(bytes.front());
  const std::string file = file_of(bytes.substr(1), first < 128);
  const std::size_t wrong = models::wrong_line(file, 1 + first * 5U, 1 + first % 7U);
  contract::require(wrong == 0, "line " + std::to_string(wrong));
  return 0;
}

}  // namespace mcp_responses
