#pragma once

#include <cstdint>
#include <vector>

namespace brisk::sim {

// The simulated board's descriptors, as a device sends them (USB 2.0, chapter 9): an FX2 controller
// with one configuration whose interface has an alternate setting with every kind of endpoint.
std::vector<uint8_t> Fx2DeviceDescriptor();
std::vector<uint8_t> Fx2ConfigDescriptor();
// Empty when there is no such string.
std::vector<uint8_t> Fx2StringDescriptor(uint8_t index);

}  // namespace brisk::sim
