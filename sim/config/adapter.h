#pragma once

#include <memory>
#include <span>
#include <string>

namespace brisk::sim {

class Bench;

// Interface hardware between the simulated PC and the board. It hooks itself into the bench's
// connectors (ports, vendor libraries, serial ports, devices) when it is made and moves the board's
// lines; it lives as long as the bench.
class Adapter {
 public:
  Adapter() = default;
  Adapter(const Adapter&) = delete;
  Adapter& operator=(const Adapter&) = delete;
  virtual ~Adapter() = default;
};

// Null on failure, with the reason in `whyNot`.
using AdapterFactory = std::unique_ptr<Adapter> (*)(Bench& bench, std::string* whyNot);

struct AdapterKind {
  const char* name;  // as in "adapter=lpt+ft2232c"
  AdapterFactory make;
};

std::span<const AdapterKind> AdapterKinds();

}  // namespace brisk::sim
