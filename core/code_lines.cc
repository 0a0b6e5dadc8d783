#include "code_lines.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "detail/file_opener.h"
#include "detail/line_finder.h"
#include "detail/utf8.h"
#include "detail/work.h"

namespace mcp_responses {
namespace {

/// The places in one file, and the result of reading it.
struct File {
  Text path;
  std::string name;
  std::vector<std::int64_t> numbers;  // of the lines at these places
  std::vector<Text> lines;            // with these numbers, up to the last one that exists
  std::string failure;                // empty if the file could be read
};

std::vector<File> grouped_by_file(std::span<const Place> places, const CodeLinesHooks& hooks) {
  const auto precedes = [](const TextView& a, const TextView& b) {
    if (a.data == b.data && a.size == b.size) return false;  // the same text
    detail::count_work(sizeof(a) + (a.size == b.size ? a.size * unit_size(a.repertoire) : 0));
    return a < b;
  };
  std::vector<File> files;
  std::map<TextView, std::size_t, decltype(precedes)> positions(precedes);
  for (const Place& place : places) {
    detail::count_work(detail::element_work);
    const auto [found, is_new] = positions.try_emplace(place.path.view(), files.size());
    if (is_new) files.push_back({place.path, hooks.name_of(place.path), {}, {}, {}});
    if (place.line >= 1) files[found->second].numbers.push_back(place.line);
  }
  return files;
}

void sort_unique(std::vector<std::int64_t>& numbers) {
  std::sort(numbers.begin(), numbers.end(), [](std::int64_t a, std::int64_t b) {
    detail::count_work(sizeof(a) + sizeof(b));
    return a < b;
  });
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

void read_lines(detail::FileOpener& opener, File& file) {
  auto reader = opener.open(file.name);
  if (!reader) return;
  detail::LineFinder finder([&](std::span<char> to) { return reader->read(to); });
  // The capacity is reserved at once: growing could move millions of lines between two checks.
  file.lines.reserve(file.numbers.size());
  for (const std::int64_t number : file.numbers) {
    auto line = finder.find(number);
    if (!line) return;
    file.lines.push_back(std::move(*line));
  }
}

/// Returns the symlink loop at which reading ended early; nothing if all files were read.
std::optional<SymlinkLoop> read_files(const WorkTree& tree, std::span<File> files) {
  detail::FileOpener opener(tree);
  for (File& file : files) {
    sort_unique(file.numbers);
    try {
      read_lines(opener, file);
    } catch (const detail::Unreadable& error) {
      file.lines.clear();
      file.failure = error.what();
    } catch (const SymlinkLoop& loop) {
      return loop;
    }
  }
  return {};
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
      bytes.append(encoded.data(), detail::encode_utf8(unit, encoded.data()));
    }
  });
  return bytes;
}

std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const CodeLinesHooks& hooks) {
  std::vector<File> files = grouped_by_file(places, hooks);
  std::optional<SymlinkLoop> symlink_loop;
  hooks.while_reading([&] { symlink_loop = read_files(tree, files); });
  std::size_t count = 0;
  for (const File& file : files) {
    if (!file.failure.empty()) hooks.not_read(file.path, file.failure);
    count += file.lines.size();
  }
  if (symlink_loop) throw SymlinkLoop(*symlink_loop);
  std::vector<CodeLine> lines;
  lines.reserve(count);
  for (File& file : files) {
    for (std::size_t i = 0; i < file.lines.size(); ++i) {
      detail::count_work(detail::element_work);
      lines.push_back({{file.path, file.numbers[i]}, std::move(file.lines[i])});
    }
  }
  return lines;
}

}  // namespace mcp_responses
