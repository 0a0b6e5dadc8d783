#include "code_lines.h"

#include <algorithm>
#include <array>
#include <exception>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

#include "detail/utf8.h"
#include "detail/work_meter.h"

namespace mcp_responses {
namespace {

/// The places in one file, and the result of reading it.
struct File {
  Text path;
  std::string name;
  std::vector<std::int64_t> numbers;  // of the lines at these places
  std::vector<std::pair<std::int64_t, Text>> lines;
  std::string failure;  // empty if the file could be read
};

/// An order for paths that counts the compared bytes. Views of the same memory are equal without a
/// comparison.
class PathOrder {
 public:
  explicit PathOrder(detail::WorkMeter& meter) : meter_(&meter) {}

  bool operator()(const TextView& a, const TextView& b) const {
    if (is_same_view(a, b)) return false;
    count(a, b);
    return a < b;
  }
  bool equal(const TextView& a, const TextView& b) const {
    if (is_same_view(a, b)) return true;
    count(a, b);
    return a == b;
  }

 private:
  static bool is_same_view(const TextView& a, const TextView& b) {
    return a.data == b.data && a.size == b.size && a.repertoire == b.repertoire;
  }
  void count(const TextView& a, const TextView& b) const {
    meter_->add(sizeof(a) + (a.size == b.size ? a.size * unit_size(a.repertoire) : 0));
  }

  detail::WorkMeter* meter_;
};

std::vector<File> grouped_by_file(std::span<const Place> places, const CodeLinesHooks& hooks,
                                  detail::WorkMeter& meter) {
  const PathOrder order(meter);
  std::vector<File> files;
  std::map<TextView, std::size_t, PathOrder> position_of(order);
  auto position = position_of.end();
  for (const Place& place : places) {
    meter.add(sizeof(place));
    const TextView path = place.path.view();
    // Successive places are mostly in the same file.
    if (position == position_of.end() || !order.equal(position->first, path)) {
      bool is_new = false;
      std::tie(position, is_new) = position_of.try_emplace(path, files.size());
      if (is_new) files.push_back({place.path, hooks.name_of(place.path), {}, {}, {}});
    }
    if (place.line >= 1) files[position->second].numbers.push_back(place.line);
  }
  return files;
}

void sort_unique(std::vector<std::int64_t>& numbers, detail::WorkMeter& meter) {
  std::sort(numbers.begin(), numbers.end(), [&meter](std::int64_t a, std::int64_t b) {
    meter.add(1);
    return a < b;
  });
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
}

void read_lines(const WorkTree& tree, File& file, const CheckInterrupt& check_interrupt) {
  try {
    auto reader = tree.open(file.name, check_interrupt);
    if (!reader) return;
    LineFinder finder([&](std::span<char> to) { return reader->read(to, check_interrupt); });
    // Without capacity for all lines, growing would move millions between two interruption checks.
    file.lines.reserve(file.numbers.size());
    for (const std::int64_t number : file.numbers) {
      auto line = finder.find(number);
      if (!line) break;
      file.lines.emplace_back(number, std::move(*line));
    }
  } catch (const Unreadable& error) {
    file.lines.clear();
    file.failure = error.what();
  }
}

/// Returns the error of the file at which reading ended early; null if all were read.
std::exception_ptr read_files(const WorkTree& tree, std::span<File> files,
                              const CheckInterrupt& check_interrupt, detail::WorkMeter& meter) {
  for (File& file : files) {
    sort_unique(file.numbers, meter);
    try {
      read_lines(tree, file, check_interrupt);
    } catch (const SymlinkLoop&) {
      return std::current_exception();
    }
  }
  return nullptr;
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
  detail::WorkMeter meter(hooks.check_interrupt);
  std::vector<File> files = grouped_by_file(places, hooks, meter);
  std::exception_ptr symlink_loop;
  hooks.while_reading(
      [&] { symlink_loop = read_files(tree, files, hooks.check_interrupt, meter); });
  for (const File& file : files) {
    if (!file.failure.empty()) hooks.not_read(file.path, file.failure);
  }
  if (symlink_loop) std::rethrow_exception(symlink_loop);
  std::size_t count = 0;
  for (const File& file : files) count += file.lines.size();
  std::vector<CodeLine> lines;
  lines.reserve(count);
  for (File& file : files) {
    for (auto& [number, text] : file.lines) {
      meter.add(sizeof(CodeLine));
      lines.push_back({{file.path, number}, std::move(text)});
    }
  }
  return lines;
}

}  // namespace mcp_responses
