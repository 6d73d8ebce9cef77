#pragma once

#include <cstdint>
#include <vector>

#include "brisk/brisk_types.h"

#include "sim/pc/connectors.h"

namespace brisk::sim {

// The functions of the adapter's two libraries, on the adapter of the current bench.
std::vector<LibraryShelf::Symbol> U2cCommonSymbols();  // U2CCommon
std::vector<LibraryShelf::Symbol> U2cBridgeSymbols();  // i2cbrdg

int32_t BRISK_CALL OpenU2cDevice();

}  // namespace brisk::sim
