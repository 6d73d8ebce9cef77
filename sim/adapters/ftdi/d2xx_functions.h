#pragma once

#include <memory>
#include <vector>

#include "sim/adapters/ftdi/d2xx_host.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// The D2XX functions by name and ordinal, working on the host that was made current last.
std::vector<LibraryShelf::Symbol> D2xxSymbols();

// With none, no chip is there.
void SetD2xxHost(std::shared_ptr<D2xxHost> host);
std::shared_ptr<D2xxHost> CurrentD2xxHost();

}  // namespace brisk::sim
