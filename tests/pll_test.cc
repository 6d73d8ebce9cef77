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

struct Setting {
  uint32_t target, reference;
  Outputs outputs;
};

// Divider, exponent, multiplier.
constexpr Setting kClocks[] = {
    // 50000 = 150000 / 3, that is 4 x 37500 / 3: the first candidate of all. Below it the target is
    // doubled.
    {50000, 37500, {1, 0, 1}},
    {25000, 37500, {1, 1, 1}},
    {12500, 37500, {1, 2, 1}},
    // 4 x 75000 / 3 and 8 x 75000 / 6 are equal: the smallest divider stays.
    {100000, 75000, {1, 0, 1}},
    {65000, 14318, {11, 0, 56}},
    {25175, 14318, {29, 1, 106}},
    {40000, 14318, {15, 1, 92}},
    {108000, 27000, {2, 0, 13}},
    {162000, 27000, {2, 0, 21}},
    {1234, 27000, {38, 6, 114}},
    {600000, 40000000, {106, 0, 106}},
    {1999999, 65535, {1, 0, 89}},
    {333333, 14318180, kUntouched},
    {4000000000U, 1, kUntouched},
    {UINT32_MAX, 1, {3, 0, 1}},  // 4 x 1 / 5 is 0: the difference wraps to 1
};

TEST_F(Pll, ClockSettings) {
  for (const Setting& test : kClocks) {
    EXPECT_EQ(Find(Pll_Clock, test.target, test.reference), test.outputs)
        << test.target << " of " << test.reference;
  }
  EXPECT_EQ(Find(Pll_Clock, 49999, 37500)[1], 1);
  EXPECT_EQ(Find(Pll_Clock, 1, 37500)[1], 16);  // 65536
}

// Some candidates are equally far off but for the rounding of double precision, which then decides.
TEST_F(Pll, NanduSettings) {
  constexpr struct {
    uint32_t target, reference, word;
  } kWords[] = {{1000, 14318, 0x138E37},   {8976, 14318, 0x138E4F},  {10970, 27000, 0x13B2A8},
                {13961, 20000, 0x119642},  {19943, 24576, 0x1398A8}, {36892, 24576, 0x109A53},
                {65000, 14318, 0x101875},  {25175, 14318, 0x119AC4}, {40000, 14318, 0x119B38},
                {108000, 27000, 0x101A6F}, {1234, 27000, 0x13B463},  {74250, 27000, 0x101A4C}};
  for (const auto& [target, reference, word] : kWords) {
    const Outputs o = Find(Pll_Nandu, target, reference);
    EXPECT_EQ(uint32_t{o[0]} << 16 | uint32_t{o[1]} << 8 | o[2], word)
        << target << " of " << reference;
  }
  EXPECT_EQ(Find(Pll_Nandu, 250001, 27000), kUntouched);  // 500 is 100 away from 400
  EXPECT_EQ(Find(Pll_Nandu, 65000, 999), kUntouched);     // no phase input of 1 to 2
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
