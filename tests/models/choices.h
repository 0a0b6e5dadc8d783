// Choices: arbitrary bytes, a fuzzer's or a random generator's, read as decisions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

namespace models {

class Choices {
 public:
  explicit Choices(std::string_view bytes) : bytes_(bytes) {}

  bool used_up() const { return bytes_.empty(); }

  /// 0 when the bytes are used up.
  std::uint64_t bits(std::size_t bytes = 8) {
    std::uint64_t bits = 0;
    for (; bytes > 0; --bytes) bits = bits << 8 | byte();
    return bits;
  }

  /// From 0 up to below `bound`, which is at most 2 to the 16th.
  std::size_t below(std::size_t bound) { return bits(bound <= 256 ? 1 : 2) % bound; }

  template <class Content>
  Content one_of(std::initializer_list<Content> contents) {
    return contents.begin()[below(contents.size())];
  }

 private:
  unsigned byte() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(bytes_.front());
    bytes_.remove_prefix(1);
    return byte;
  }

  std::string_view bytes_;
};

inline std::string random_bytes(std::mt19937_64& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace models
