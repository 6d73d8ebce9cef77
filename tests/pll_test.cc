// The divider searches against every candidate there is.
#include "pll/pll.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <random>
#include <set>
#include <vector>

namespace brisk::flash {
namespace {

using Outputs = std::array<uint16_t, 3>;
constexpr Outputs kUntouched = {0xDEAD, 0xBEEF, 0xF00D};

Outputs Clock(uint32_t target, uint32_t reference, uint32_t* result = nullptr) {
  Outputs o = kUntouched;
  const uint32_t r = Pll_Clock(target, reference, &o[0], &o[1], &o[2]);
  if (result != nullptr) *result = r;
  return o;
}

Outputs Nandu(uint32_t target, uint32_t reference, uint32_t* result = nullptr) {
  Outputs o = kUntouched;
  const uint32_t r = Pll_Nandu(target, reference, &o[0], &o[1], &o[2]);
  if (result != nullptr) *result = r;
  return o;
}

// Which multipliers the search visits for one divider: after a far-off one, the third next.
std::set<int> Visited(int64_t reference, int divider, int64_t core) {
  std::set<int> visited;
  for (int m = 4; m <= 130;) {
    visited.insert(m);
    const int64_t frequency = (m * reference) % (int64_t{1} << 32) / divider;
    int64_t difference = (frequency - core) % (int64_t{1} << 32);
    if (difference >= int64_t{1} << 31) difference -= int64_t{1} << 32;
    if (difference < -(int64_t{1} << 31)) difference += int64_t{1} << 32;
    m += difference > 16000 || difference < -16000 ? 3 : 1;
  }
  return visited;
}

// Collects every candidate with its error first and picks the best then, in 64-bit arithmetic.
std::optional<Outputs> BestClock(uint32_t target, uint32_t reference) {
  int64_t core = target;
  int doublings = 0;
  while (core < 50000) {
    core *= 2;
    ++doublings;
  }
  struct Candidate {
    int64_t error;
    int divider, multiplier;
  };
  std::vector<Candidate> candidates;
  for (int n = 3; n <= 129; ++n) {
    for (const int m : Visited(reference, n, core)) {
      const int64_t product = int64_t{m} * reference % (int64_t{1} << 32);
      const auto wrapped = static_cast<int32_t>(static_cast<uint32_t>(product / n - core));
      candidates.push_back({wrapped < 0 ? -int64_t{wrapped} : wrapped, n, m});
    }
  }
  const auto best = std::min_element(candidates.begin(), candidates.end(),
                                     [](auto& a, auto& b) { return a.error < b.error; });
  if (best->error >= 10000) return std::nullopt;
  return Outputs{static_cast<uint16_t>(best->divider - 2), static_cast<uint16_t>(doublings),
                 static_cast<uint16_t>(best->multiplier - 3)};
}

std::optional<Outputs> BestNandu(uint32_t target, uint32_t reference) {
  double bestError = 100;
  std::optional<Outputs> best;
  for (int n = 0; n <= 63; ++n) {
    const double p = (reference / 1000.0) / (n + 1);
    for (int m = 0; m <= 511; ++m) {
      for (int power = 0; power < 4; ++power) {
        const double v = (m + 1) * p;
        if (p < 1 || p > 2 || v < 100 || v > 400) continue;
        const double difference = v / (1 << power) - target / 500.0;
        const double error = difference < 0 ? -difference : difference;
        if (error >= bestError) continue;
        bestError = error;
        const int code = (1 << power) - 1;
        const int word = 1 << 20 | code << 15 | n << 9 | m;
        best = Outputs{static_cast<uint16_t>(word >> 16), static_cast<uint16_t>(word >> 8 & 255),
                       static_cast<uint16_t>(word & 255)};
      }
    }
  }
  return best;
}

TEST(PllClock, FindsWhatASearchOverAllCandidatesFinds) {
  std::mt19937 random(7);
  constexpr uint32_t kReferences[] = {14318, 27000, 14318180, 1, 65535, 40000000};
  int found = 0;
  for (int i = 0; i < 1500; ++i) {
    const uint32_t reference = i % 7 == 6 ? random() : kReferences[i % 7];
    const uint32_t target = 1 + random() % (i % 3 == 0 ? 2000000 : 600000);
    uint32_t result = 2;
    const Outputs outputs = Clock(target, reference, &result);
    const auto best = BestClock(target, reference);
    ASSERT_EQ(result, best ? 0U : 1U) << target << " of " << reference;
    ASSERT_EQ(outputs, best.value_or(kUntouched)) << target << " of " << reference;
    found += best ? 1 : 0;
  }
  EXPECT_GT(found, 500);
  EXPECT_LT(found, 1500);
}

TEST(PllNandu, FindsWhatASearchOverAllCandidatesFinds) {
  std::mt19937 random(8);
  constexpr uint32_t kReferences[] = {27000, 14318, 1000, 999, 128001, 64000};
  int found = 0;
  for (int i = 0; i < 1200; ++i) {
    const uint32_t reference = kReferences[i % 6];
    const uint32_t target = 1 + random() % 300000;
    uint32_t result = 2;
    const Outputs outputs = Nandu(target, reference, &result);
    const auto best = BestNandu(target, reference);
    ASSERT_EQ(result, best ? 0U : 1U) << target << " of " << reference;
    ASSERT_EQ(outputs, best.value_or(kUntouched)) << target << " of " << reference;
    found += best ? 1 : 0;
  }
  EXPECT_GT(found, 500);
  EXPECT_LT(found, 1200);
}

// Worked out by hand.
TEST(PllClock, KnownSettings) {
  // 50000 = 150000 / 3, that is 4 x 37500 / 3: the first candidate of all.
  EXPECT_EQ(Clock(50000, 37500), (Outputs{1, 0, 1}));
  // 25000 is doubled once; 12500 twice.
  EXPECT_EQ(Clock(25000, 37500), (Outputs{1, 1, 1}));
  EXPECT_EQ(Clock(12500, 37500), (Outputs{1, 2, 1}));
  EXPECT_EQ(Clock(49999, 37500)[1], 1);
  EXPECT_EQ(Clock(25000, 14318)[1], 1);
  EXPECT_EQ(Clock(1, 37500)[1], 16);  // 65536
}

TEST(PllClock, TiesKeepTheSmallestDivider) {
  // 100000 / 1 is reached by 3/3 x ... only with multipliers from 4 on: 4 x 75000 / 3 and
  // 8 x 75000 / 6 are equal.
  EXPECT_EQ(Clock(100000, 75000), (Outputs{1, 0, 1}));
}

TEST(PllNandu, KnownSettings) {
  // 27 MHz: phase inputs of 1 to 2 need N from 13 to 26; 27 / 18 = 1.5 exactly at N = 17 is later
  // than 27 / 15 = 1.8 at N = 14. 180 = 100 x 1.8: M = 99, divider 1.
  const Outputs o = Nandu(90000, 27000);
  EXPECT_EQ(o[0] & 0xF0, 0x10);
  const int word = o[0] << 16 | o[1] << 8 | o[2];
  const int n = word >> 9 & 63;
  const int m = word & 511;
  EXPECT_GE(n, 13);
  EXPECT_LE(n, 26);
  EXPECT_NEAR((m + 1) * 27.0 / (n + 1) / ((word >> 15 & 7) + 1), 180.0, 1e-9);
}

// Candidates that are equally far off but for the rounding of double precision, which decides among
// them. The expected words are those of the same search in Python.
TEST(PllNandu, RoundsAsDoublesDo) {
  constexpr struct {
    uint32_t target, reference, word;
  } kTies[] = {{1000, 14318, 0x138E37},  {8976, 14318, 0x138E4F},  {10970, 27000, 0x13B2A8},
               {13961, 20000, 0x119642}, {19943, 24576, 0x1398A8}, {36892, 24576, 0x109A53}};
  for (const auto& [target, reference, word] : kTies) {
    const Outputs o = Nandu(target, reference);
    EXPECT_EQ(uint32_t{o[0]} << 16 | uint32_t{o[1]} << 8 | o[2], word)
        << target << " of " << reference;
  }
}

struct BadCall {
  uint32_t target, reference;
  int nullOutput;  // -1 = none
};

TEST(Pll, BadArgumentsLeaveTheOutputsAlone) {
  constexpr BadCall kCalls[] = {{0, 14318, -1},    {50000, 0, -1},    {0, 0, -1},
                                {50000, 37500, 0}, {50000, 37500, 1}, {50000, 37500, 2}};
  for (const BadCall& call : kCalls) {
    Outputs o = kUntouched;
    const auto at = [&](int i) {
      return i == call.nullOutput ? nullptr : &o[static_cast<size_t>(i)];
    };
    EXPECT_EQ(Pll_Clock(call.target, call.reference, at(0), at(1), at(2)), 1U);
    EXPECT_EQ(Pll_Nandu(call.target, call.reference, at(0), at(1), at(2)), 1U);
    EXPECT_EQ(o, kUntouched);
  }
}

TEST(Pll, NoCandidateLeavesTheOutputsAlone) {
  uint32_t result = 0;
  EXPECT_EQ(Clock(4000000000U, 1, &result), kUntouched);
  EXPECT_EQ(result, 1U);
  EXPECT_EQ(Nandu(250001, 27000, &result), kUntouched);  // 500 is 100 away from 400
  EXPECT_EQ(result, 1U);
  EXPECT_EQ(Nandu(65000, 999, &result), kUntouched);  // no phase input of 1 to 2
  EXPECT_EQ(result, 1U);
}

}  // namespace
}  // namespace brisk::flash
