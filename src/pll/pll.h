#pragma once

#include <cstdint>

#include "base/status.h"

namespace brisk::pll {

// Divider settings of the board's clock generators. Pure computations. Both fail, with
// nothing stored, when a pointer is null, the target or the reference is 0, or no candidate comes
// under the largest error allowed. Of equally good candidates the first in search order is taken.

// Reference divider, multiplier and power-of-two post-divider. Targets below 50000 are doubled
// until they reach it, `exponent` times. Largest error allowed: below 10000, in the unit of the
// frequencies.
Status Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider, uint16_t* exponent,
                 uint16_t* multiplier);

// One 24-bit setting word, given as its bytes. Largest error allowed: below 100, in units of 500.
Status Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high, uint16_t* middle,
                 uint16_t* low);

}  // namespace brisk::pll
