#pragma once

#include <memory>
#include <span>
#include <string>

#include "sim/adapters/adapter.h"

namespace brisk::sim {

class Bench;

// Makes an adapter and connects it to a bench. Null on failure, with the reason in `whyNot`.
using AdapterFactory = std::unique_ptr<Adapter> (*)(Bench& bench, std::string* whyNot);

struct AdapterKind {
  const char* name;  // as in "adapter=lpt+ft2232c"
  AdapterFactory make;
};

// Every adapter that exists.
std::span<const AdapterKind> AdapterKinds();

}  // namespace brisk::sim
