#pragma once

#include <memory>
#include <vector>

#include "sim/adapters/ftdi/d2xx_host.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// The functions of the vendor library D2XX, by name and ordinal, on the host whose chips were
// plugged in last.
std::vector<LibraryShelf::Symbol> D2xxSymbols();

// That host; null when no chip is there.
std::shared_ptr<D2xxHost> CurrentD2xxHost();

}  // namespace brisk::sim
