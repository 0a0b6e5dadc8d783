#include "code_lines.h"

#include <algorithm>
#include <array>
#include <map>
#include <stdexcept>
#include <utility>

#include "detail/file_opener.h"
#include "detail/line_finder.h"
#include "detail/utf8.h"
#include "detail/work.h"

namespace mcp_responses {
namespace {

void sort_unique(std::vector<std::int64_t>& numbers) {
  std::sort(numbers.begin(), numbers.end(), [](std::int64_t a, std::int64_t b) {
    detail::count_work(sizeof(a) + sizeof(b));
    return a < b;
  });
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

void read_file(detail::FileOpener& opener, FileLines& file) {
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

}  // namespace

std::string file_name(const Text& path) {
  std::string bytes;
  visit_units(path.view(), [&](auto units) {
    for (std::size_t i = 0; i < units.size(); ++i) {
      const std::uint32_t unit = units[i];
      if (unit == 0) throw std::invalid_argument("embedded null byte");
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

std::vector<FileLines> grouped_by_file(std::span<const Place> places) {
  const auto precedes = [](const TextView& a, const TextView& b) {
    if (a.data == b.data && a.size == b.size) return false;  // the same text
    detail::count_work(sizeof(a) + (a.size == b.size ? a.size * unit_size(a.repertoire) : 0));
    return a < b;
  };
  std::vector<FileLines> files;
  std::map<TextView, std::size_t, decltype(precedes)> positions(precedes);
  for (std::size_t i = 0; i < places.size(); ++i) {
    const auto& [path, line] = places[i];
    detail::count_work(detail::element_work);
    const auto [found, is_new] = positions.try_emplace(path.view(), files.size());
    if (is_new) files.push_back({path, i, {}, {}, {}, {}});
    if (line >= 1) files[found->second].numbers.push_back(line);
  }
  return files;
}

std::optional<SymlinkLoop> read_lines(const WorkTree& tree, std::span<FileLines> files) {
  detail::FileOpener opener(tree);
  for (FileLines& file : files) {
    sort_unique(file.numbers);
    try {
      read_file(opener, file);
    } catch (const detail::Unreadable& error) {
      file.lines.clear();
      file.failure = error.what();
    } catch (const SymlinkLoop& loop) {
      return loop;
    }
  }
  return {};
}

std::vector<CodeLine> code_lines(const WorkTree& tree, std::span<const Place> places,
                                 const NotRead& not_read) {
  std::vector<FileLines> files = grouped_by_file(places);
  for (FileLines& file : files) file.name = file_name(file.path);
  const std::optional<SymlinkLoop> loop = read_lines(tree, files);
  std::vector<CodeLine> lines;
  for (FileLines& file : files) {
    if (!file.failure.empty() && not_read) not_read(file.path, file.failure);
    for (std::size_t i = 0; i < file.lines.size(); ++i) {
      detail::count_work(detail::element_work);
      lines.push_back({{file.path, file.numbers[i]}, std::move(file.lines[i])});
    }
  }
  if (loop) throw SymlinkLoop(*loop);
  return lines;
}

}  // namespace mcp_responses
