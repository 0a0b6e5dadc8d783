// Lines of a file equal those of a model that decodes the whole file and splits it.
#include <algorithm>
#include <span>

#include "contract.h"
#include "detail/line_finder.h"
#include "models/slow_cuts.h"
#include "models/slow_lines.h"

namespace mcp_responses {
namespace {

/// A few letters between line breaks, parts of them, and bytes that are similar.
std::string with_breaks(models::Choices& choices) {
  static constexpr std::string_view bytes =
      "\n\v\f\r\x1c\x1d\x1e\x1f\x80\x81\x84\x85\xA8\xAA\xC2\xE2\xF0";
  const std::size_t max_letters = choices.one_of({4U, 200U});
  std::string file;
  while (!choices.used_up()) {
    file.append(choices.below(max_letters), 'a');
    file +=
        choices.one_of<std::string_view>({bytes.substr(choices.below(bytes.size()), 1), "\r\n",
                                          "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80"});
  }
  return file;
}

/// Lines of several kilobytes: white space, characters of all sizes, and ill-formed bytes.
std::string with_long_lines(models::Choices& choices) {
  std::string file;
  for (int runs = 0; runs < 20 && !choices.used_up(); ++runs) {
    const auto piece = choices.one_of<std::string_view>(
        {" ", "\t", "\u3000", "\u2003", "x", "é", "漢", "😀", "\x80", "\xF0\x9F\x98", "\n", "\r\n"});
    const std::size_t max_count = choices.one_of({2U, 300U, 300U, 9000U});
    for (std::size_t count = choices.below(max_count); count > 0; --count) file += piece;
  }
  return file;
}

/// Returns at most `size` bytes of a text at a time.
detail::LineFinder::ReadFn in_pieces(std::string_view text, std::size_t size) {
  return [text, size](std::span<char> to) mutable {
    const std::size_t count = text.copy(to.data(), std::min(size, to.size()));
    text.remove_prefix(count);
    return count;
  };
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  models::Choices choices(contract::bytes_of(data, size));
  const std::size_t piece_size = choices.one_of({1U, 7U, 64U, 1000U, 9000U});
  const std::size_t step = 1 + choices.below(7);
  const std::size_t format = choices.below(3);
  const std::string file = format == 0   ? std::string(choices.rest())
                           : format == 1 ? with_breaks(choices)
                                         : with_long_lines(choices);
  const auto lines = models::split_lines(models::decoded(file));
  detail::LineFinder finder(in_pieces(file, piece_size));
  for (std::size_t number = step; number <= lines.size() + step; number += step) {
    const auto line = finder.find(static_cast<std::int64_t>(number));
    const std::string label = "line " + std::to_string(number);
    contract::require(line.has_value() == (number <= lines.size()), label);
    if (!line) break;
    contract::require_equal(*line, models::cut(models::stripped(lines[number - 1]), 200), label);
  }
  return 0;
}

}  // namespace mcp_responses
