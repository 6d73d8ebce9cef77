#pragma once

#include <vector>

#include "sim/pc/connectors.h"

namespace brisk::sim {

// The functions of the adapter's two libraries, on the adapter that is plugged in.
std::vector<LibraryShelf::Symbol> U2cCommonSymbols();  // U2CCommon
std::vector<LibraryShelf::Symbol> U2cBridgeSymbols();  // i2cbrdg

}  // namespace brisk::sim
