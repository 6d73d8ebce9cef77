// The divider searches through their exports, on a device type that has them. The expected settings
// and digests were found by a search over all candidates, in 64-bit arithmetic and in double
// precision, that was written for it.
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>

#include "brisk/brisk.h"

#include "support/bench_test.h"
#include "support/files.h"

namespace brisk {
namespace {

using Outputs = std::array<uint16_t, 3>;
using Search = uint32_t(BRISK_CALL*)(uint32_t, uint32_t, uint16_t*, uint16_t*, uint16_t*);
constexpr Outputs kUntouched = {0xDEAD, 0xBEEF, 0xF00D};

// What a search stores; it stores all or nothing, as it says.
Outputs Find(Search search, uint32_t target, uint32_t reference) {
  Outputs o = kUntouched;
  const uint32_t result = search(target, reference, &o[0], &o[1], &o[2]);
  EXPECT_EQ(result, o == kUntouched ? 1U : 0U) << target << " of " << reference;
  return o;
}

class Pll : public BenchTest {};

constexpr struct {
  Search search;
  uint32_t target, reference;
  Outputs outputs;
} kSettings[] = {
    // Divider, exponent, multiplier. 50000 = 150000 / 3, that is 4 x 37500 / 3: the first candidate
    // of all. Below it the target is doubled.
    {Pll_Clock, 50000, 37500, {1, 0, 1}},
    {Pll_Clock, 25000, 37500, {1, 1, 1}},
    {Pll_Clock, 12500, 37500, {1, 2, 1}},
    // 4 x 75000 / 3 and 8 x 75000 / 6 are equal: the smallest divider stays.
    {Pll_Clock, 100000, 75000, {1, 0, 1}},
    {Pll_Clock, 1999999, 65535, {1, 0, 89}},
    {Pll_Clock, 333333, 14318180, kUntouched},
    {Pll_Clock, 4000000000U, 1, kUntouched},
    {Pll_Clock, UINT32_MAX, 1, {3, 0, 1}},  // 4 x 1 / 5 is 0: the difference wraps to 1
    // The bytes of a word. Some candidates are equally far off but for the rounding of double
    // precision, which then decides.
    {Pll_Nandu, 1000, 14318, {0x13, 0x8E, 0x37}},
    {Pll_Nandu, 8976, 14318, {0x13, 0x8E, 0x4F}},
    {Pll_Nandu, 10970, 27000, {0x13, 0xB2, 0xA8}},
    {Pll_Nandu, 13961, 20000, {0x11, 0x96, 0x42}},
    {Pll_Nandu, 19943, 24576, {0x13, 0x98, 0xA8}},
    {Pll_Nandu, 36892, 24576, {0x10, 0x9A, 0x53}},
    {Pll_Nandu, 250001, 27000, kUntouched},  // 500 is 100 away from 400
    {Pll_Nandu, 65000, 999, kUntouched},     // no phase input of 1 to 2
};

TEST_F(Pll, Settings) {
  for (const auto& [search, target, reference, outputs] : kSettings) {
    EXPECT_EQ(Find(search, target, reference), outputs) << target << " of " << reference;
  }
  EXPECT_EQ(Find(Pll_Clock, 49999, 37500)[1], 1);
  EXPECT_EQ(Find(Pll_Clock, 1, 37500)[1], 16);  // 65536
}

TEST_F(Pll, DigestsOfManySearches) {
  std::mt19937 random(7);
  const auto digest = [&](Search search, const std::vector<uint32_t>& references, uint32_t most) {
    uint32_t all = Digest(std::vector<int>{});
    for (size_t i = 0; i < 1500; ++i) {
      uint32_t reference = references[i % references.size()];
      if (reference == 0) reference = random();
      all = Digest(Find(search, 1 + random() % most, reference), all);
    }
    return all;
  };
  EXPECT_EQ(digest(Pll_Clock, {14318, 27000, 14318180, 1, 65535, 40000000, 0}, 1000000),
            0x2A447BF2U);
  EXPECT_EQ(digest(Pll_Nandu, {27000, 14318, 1000, 999, 128001, 64000}, 300000), 0x1F8C7512U);
}

TEST_F(Pll, BadArgumentsLeaveTheOutputsAlone) {
  constexpr struct {
    uint32_t target, reference;
    int nullOutput;  // -1 = none
  } kCalls[] = {{0, 14318, -1},    {50000, 0, -1},    {0, 0, -1},
                {50000, 37500, 0}, {50000, 37500, 1}, {50000, 37500, 2}};
  for (const auto& call : kCalls) {
    for (const Search search : {Search{Pll_Clock}, Search{Pll_Nandu}}) {
      Outputs o = kUntouched;
      const auto at = [&](int i) {
        return i == call.nullOutput ? nullptr : &o[static_cast<size_t>(i)];
      };
      EXPECT_EQ(search(call.target, call.reference, at(0), at(1), at(2)), 1U);
      EXPECT_EQ(o, kUntouched);
    }
  }
}

}  // namespace
}  // namespace brisk
