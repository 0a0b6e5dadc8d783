// Texts that collide in the standard library's hash, and what they do to the time of a call.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "text.h"

namespace models {

/// 8 bytes that make the MurmurHash64A of `first` and them, with libstdc++'s seed, the same for
/// every `first`: they undo what it did to the state.
inline std::uint64_t made_to_collide(std::uint64_t first) {
  constexpr std::uint64_t factor = 0xC6A4A7935BD1E995;
  constexpr std::uint64_t inverse = 0x5F7A0EA7E59B19BD;
  static_assert(factor * inverse == 1);
  const auto folded = [](std::uint64_t bits) { return bits ^ bits >> 47; };
  const std::uint64_t seed = 0xC70F6907 ^ 16 * factor;
  const std::uint64_t state = (seed ^ folded(first * factor) * factor) * factor;
  return folded(state * inverse) * inverse;
}

/// Distinct texts of 16 characters up to U+00FF, none of them U+0000.
inline std::vector<mcp_responses::Text> texts_for_look_ups(std::size_t count, bool colliding) {
  std::vector<mcp_responses::Text> texts;
  std::size_t first_hash = 0;
  for (std::uint64_t first = 1; texts.size() < count; first += 0x9E3779B97F4A7C15) {
    const std::uint64_t halves[] = {first, colliding ? made_to_collide(first) : ~std::uint64_t{}};
    std::string bytes(sizeof(halves), ' ');
    std::memcpy(bytes.data(), halves, sizeof(halves));
    if (bytes.find('\0') != bytes.npos) continue;
    const std::size_t hash = std::hash<std::string>()(bytes);
    if (texts.empty()) first_hash = hash;
    if (colliding && hash != first_hash) throw std::logic_error("no collision");
    const auto* const units = reinterpret_cast<const std::uint8_t*>(bytes.data());
    texts.push_back(mcp_responses::Text::copy_of(std::span(units, bytes.size())));
  }
  return texts;
}

/// How many times as long `look_up` takes with texts that collide as with others; of each the
/// shortest of three runs.
template <class LookUp>
double slowdown_by_collisions(std::size_t count, LookUp look_up) {
  const auto shortest = [&](bool colliding) {
    const std::vector<mcp_responses::Text> texts = texts_for_look_ups(count, colliding);
    std::chrono::duration<double> best = std::chrono::hours(1);
    for (int run = 0; run < 3; ++run) {
      const auto start = std::chrono::steady_clock::now();
      look_up(texts);
      best =
          std::min<std::chrono::duration<double>>(best, std::chrono::steady_clock::now() - start);
    }
    return best;
  };
  return shortest(true) / shortest(false);
}

}  // namespace models
