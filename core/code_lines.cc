#include "code_lines.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "detail/utf8.h"

namespace mcp_responses {
namespace {

/// One file that is asked for, and what came of it.
struct File {
  Text path;
  std::string name;
  std::vector<std::int64_t> numbers;  // of the lines wanted, ascending
  std::vector<std::pair<std::int64_t, Text>> lines;
  std::string not_read;  // why; empty when it was
};

std::vector<File> files_of(std::span<const Place> places, const CodeLinesHooks& hooks) {
  std::vector<File> files;
  std::map<TextView, std::size_t> position_of;
  auto position = position_of.end();
  for (const Place& place : places) {
    const TextView path = place.path.view();
    // Places in one file mostly follow each other.
    if (position == position_of.end() || position->first != path) {
      bool is_new = false;
      std::tie(position, is_new) = position_of.try_emplace(path, files.size());
      if (is_new) files.push_back({place.path, hooks.name_of(place.path), {}, {}, {}});
    }
    if (place.line >= 1) files[position->second].numbers.push_back(place.line);
  }
  for (File& file : files) {
    std::ranges::sort(file.numbers);
    file.numbers.erase(std::unique(file.numbers.begin(), file.numbers.end()), file.numbers.end());
  }
  return files;
}

void look_up(const WorkTree& tree, File& file, const CodeLinesHooks& hooks) {
  try {
    auto reader = tree.open(file.name, hooks.check_interrupt);
    if (!reader) return;
    LineFinder finder(
        [&](std::span<char> to) { return reader->read(to, hooks.check_interrupt); });
    for (const std::int64_t number : file.numbers) {
      auto line = finder.find(number);
      if (!line) break;
      file.lines.emplace_back(number, std::move(*line));
    }
  } catch (const Unreadable& error) {
    file.lines.clear();
    file.not_read = error.what();
  }
}

}  // namespace

std::string file_name(const Text& path) {
  std::string bytes;
  visit_units(path.view(), [&](auto units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
      const std::uint32_t unit = units[i];
      if (unit == 0) throw NulInPath();
      if (unit >= 0xDC80 && unit <= 0xDCFF) {
        bytes.push_back(static_cast<char>(unit - 0xDC00));
        continue;
      }
      if (is_surrogate(unit)) throw SurrogateError(path, i);
      std::array<char, 4> encoded;
      bytes.append(encoded.data(), encode_utf8(unit, encoded.data()));
    }
  });
  return bytes;
}

std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const CodeLinesHooks& hooks) {
  std::vector<File> files = files_of(places, hooks);
  std::exception_ptr failure;
  hooks.while_reading([&] {
    for (File& file : files) {
      try {
        look_up(tree, file, hooks);
      } catch (const SymlinkLoop&) {
        failure = std::current_exception();  // what was not read before is told first
        return;
      }
    }
  });
  std::vector<CodeLine> lines;
  for (File& file : files) {
    if (!file.not_read.empty()) hooks.not_read(file.path, file.not_read);
    for (auto& [number, text] : file.lines) lines.push_back({{file.path, number}, std::move(text)});
  }
  if (failure) std::rethrow_exception(failure);
  return lines;
}

}  // namespace mcp_responses
