#pragma once

#include "device/device.h"
#include "device/device_types.h"

namespace brisk {

// A group of exports: the family that serves it where a device offers one, and the cell of the
// table that answers where it does not. A device offers a family exactly where its cell is kOwn.
template <typename Family>
struct Group {
  Family* Device::*family;
  Cell DeviceType::*cell;
};
template <typename Family>
Group(Family* Device::*, Cell DeviceType::*) -> Group<Family>;

namespace groups {
inline constexpr Group kDisplay{&Device::display, &DeviceType::picture};
inline constexpr Group kDebugWords{&Device::debugWords, &DeviceType::picture};
inline constexpr Group kWords{&Device::words, &DeviceType::word};
inline constexpr Group kLines{&Device::lines, &DeviceType::lines};
inline constexpr Group kGenerator{&Device::generator, &DeviceType::generator};
inline constexpr Group kBus{&Device::bus, &DeviceType::bus};
inline constexpr Group kBits{&Device::bits, &DeviceType::bits};
inline constexpr Group kWriteStrings{&Device::strings, &DeviceType::string};
inline constexpr Group kReadNumbers{&Device::strings, &DeviceType::stringEx};
inline constexpr Group kReadStrings{&Device::strings, &DeviceType::readString};
inline constexpr Group kReadFrames{&Device::frames, &DeviceType::readString};
inline constexpr Group kWriteFrames{&Device::frames, &DeviceType::writeString};
inline constexpr Group kHeads{&Device::heads, &DeviceType::head};
inline constexpr Group kRegisters{&Device::registers, &DeviceType::registers};
inline constexpr Group kBlocks{&Device::blocks, &DeviceType::blocks};
inline constexpr Group kClock{&Device::clock, &DeviceType::clock};
inline constexpr Group kFlash{&Device::flash, &DeviceType::flash};
inline constexpr Group kFlashId{&Device::flash, &DeviceType::flashId};
inline constexpr Group kChannels{&Device::channels, &DeviceType::channels};
}  // namespace groups

}  // namespace brisk
