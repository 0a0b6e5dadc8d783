// Blocks, with the native mask and with the portable one, are compared with loops over single units.
// Copies and searches of several blocks are tested by fuzz_encode.
#include "detail/block.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "detail/escapes.h"

namespace mcp_responses::detail {
namespace {

template <class Unit>
class BlockOf : public testing::Test {};
using Units = testing::Types<std::uint8_t, std::uint16_t, std::uint32_t>;
TYPED_TEST_SUITE(BlockOf, Units);

constexpr auto is_zero = [](auto units) { return units == 0; };
constexpr auto is_space = [](auto units) { return units == ' '; };

/// Random units. About half of them are limits of the predicates or of the unit itself.
template <class Unit>
std::vector<Unit> random_units(std::mt19937& random, std::size_t count) {
  constexpr std::array<std::uint32_t, 10> special = {0,    ' ',  0x1F,   '"',    '\\',
                                                     0x7F, 0x80, 0x2022, 0x5C5C, 0xFFFFFFFF};
  std::vector<Unit> units(count);
  for (Unit& unit : units)
    unit = static_cast<Unit>(random() % 2 == 0 ? special[random() % special.size()] : random());
  return units;
}

template <class Unit, class Predicate>
std::uint32_t mask_by_loop(std::span<const Unit> units, Predicate predicate) {
  std::uint32_t mask = 0;
  for (std::size_t i = 0; i < units.size(); ++i)
    if (predicate(units[i])) mask |= 1U << (i * sizeof(Unit));
  return mask;
}

template <class Unit, class Mask, class Predicate>
void expect_same_as_loop(std::span<const Unit> units, Predicate predicate) {
  // The array ends where the units end, so that the sanitizer detects a read past them.
  const auto exact = std::make_unique<Unit[]>(units.size());
  std::copy(units.begin(), units.end(), exact.get());
  std::vector<Unit> padded(units.begin(), units.end());
  padded.resize(Block<Unit>::size);
  const Block<Unit, Mask> block(exact.get(), units.size());
  const std::uint32_t mask = mask_by_loop<Unit>(padded, predicate);
  EXPECT_EQ((block.match_mask(predicate)), mask) << testing::PrintToString(units);
  EXPECT_EQ((Block<Unit, Mask>::template none_in<Block<Unit>::size>(padded.data(), predicate)),
            mask == 0)
      << testing::PrintToString(units);
}

TYPED_TEST(BlockOf, MatchesTheSameUnitsWithEachMaskAndWithALoop) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    const auto units = random_units<TypeParam>(random, random() % (Block<TypeParam>::size + 1));
    const auto expect_same = [&units](auto predicate) {
      expect_same_as_loop<TypeParam, NativeMask>(units, predicate);
      expect_same_as_loop<TypeParam, PortableMask>(units, predicate);
    };
    expect_same(needs_escape);
    expect_same(is_zero);
    expect_same(is_space);
    if (this->HasFailure()) return;
  }
}

}  // namespace
}  // namespace mcp_responses::detail
