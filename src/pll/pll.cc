#include "pll/pll.h"

#include <cmath>
#include <cstdlib>

// Clock generator: core frequency = multiplier * reference / divider, halved `exponent` times; its
// registers hold divider - 2 and multiplier - 3.
// The other one: VCO = (m + 1) * reference / (n + 1), divided by a post-divider of 1, 2, 4 or 8.
// Its phase detector wants 1 to 2 MHz at its input, its VCO runs from 100 to 400 MHz. The setting
// word is a marker, the post-divider's code from bit 15, n from bit 9 and m.
namespace brisk::pll {
namespace {

constexpr uint32_t kMinCoreFrequency = 50000;
constexpr int64_t kClockErrorLimit = 10000;
constexpr int64_t kFarOff = 16000;  // from here the multiplier advances by 3

struct ClockChoice {
  int64_t error = kClockErrorLimit;
  uint32_t divider = 0;
  uint32_t multiplier = 0;
};

// The magnitude of the difference taken as a signed 32-bit value, which wraps for frequencies that
// lie 2^31 and more apart. Widened, so that -2^31 counts as far off.
int64_t Distance(uint32_t a, uint32_t b) {
  return std::llabs(static_cast<int64_t>(static_cast<int32_t>(a - b)));
}

// Divider by divider, multipliers upwards. Far from the target the search takes strides, which skip
// candidates: settings that tools have stored depend on it.
ClockChoice SearchClock(uint32_t core, uint32_t reference) {
  ClockChoice best;
  for (uint32_t divider = 3; divider <= 129; ++divider) {
    for (uint32_t multiplier = 4; multiplier <= 130;) {
      const int64_t error = Distance(multiplier * reference / divider, core);
      if (error < best.error) best = {error, divider, multiplier};
      multiplier += error > kFarOff ? 3 : 1;
    }
  }
  return best;
}

struct PostDivider {
  double divider;
  uint32_t code;
};
constexpr PostDivider kPostDividers[] = {{1, 0}, {2, 1}, {4, 3}, {8, 7}};

constexpr uint32_t kNanduMarker = 0x100000;

struct NanduChoice {
  double error = 100;
  uint32_t word = 0;  // never 0 once a candidate is found
};

// Frequencies here are in MHz; the wanted one is twice the target, which is in kHz.
void TryPostDividers(double vco, double wanted, uint32_t setting, NanduChoice& best) {
  for (const PostDivider& post : kPostDividers) {
    const double error = std::fabs(vco / post.divider - wanted);
    if (error < best.error) best = {error, kNanduMarker + post.code * 0x8000 + setting};
  }
}

NanduChoice SearchNandu(uint32_t target, uint32_t reference) {
  NanduChoice best;
  const double wanted = target / 500.0;
  for (uint32_t n = 0; n < 64; ++n) {
    const double phaseInput = reference / 1000.0 / (n + 1);
    if (!(1 <= phaseInput && phaseInput <= 2)) continue;
    for (uint32_t m = 0; m < 512; ++m) {
      const double vco = (m + 1) * phaseInput;
      if (100 <= vco && vco <= 400) TryPostDividers(vco, wanted, n * 0x200 + m, best);
    }
  }
  return best;
}

}  // namespace

Status Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider, uint16_t* exponent,
                 uint16_t* multiplier) {
  if (divider == nullptr || exponent == nullptr || multiplier == nullptr) {
    return Cause::kBadArgument;
  }
  if (target == 0 || reference == 0) return Cause::kBadArgument;
  uint16_t doublings = 0;
  uint32_t core = target;
  for (; core < kMinCoreFrequency; core *= 2) ++doublings;
  const ClockChoice best = SearchClock(core, reference);
  if (best.divider == 0) return Cause::kBadArgument;
  *divider = static_cast<uint16_t>(best.divider - 2);
  *exponent = doublings;
  *multiplier = static_cast<uint16_t>(best.multiplier - 3);
  return {};
}

Status Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high, uint16_t* middle,
                 uint16_t* low) {
  if (high == nullptr || middle == nullptr || low == nullptr) return Cause::kBadArgument;
  if (target == 0 || reference == 0) return Cause::kBadArgument;
  const uint32_t word = SearchNandu(target, reference).word;
  if (word == 0) return Cause::kBadArgument;
  *high = static_cast<uint16_t>(word >> 16);
  *middle = static_cast<uint16_t>(word >> 8 & 0xFF);
  *low = static_cast<uint16_t>(word & 0xFF);
  return {};
}

}  // namespace brisk::pll
