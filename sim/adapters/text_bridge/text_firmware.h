#pragma once

#include <memory>

#include "sim/adapters/bridges/bridge_firmware.h"

namespace brisk::sim {

// The bridge with text lines. A line is a whole transaction, its bytes in hexadecimal:
//
//   A0 05 12      writes 05 12 to the device A0
//   A1            reads from it
//   A0 05 A1      writes 05, then reads: the last byte is the first with the read flag. So a write
//                 whose last byte happens to be that cannot be told from it
//   F2 34 05      10-bit addresses have two bytes; F3 34 reads, always in a line of its own
//   1             the PC has what it wanted; no answer
//
// Every other line is answered with "1" or "0" and a line feed. The bridge is not told how much the
// PC wants to read, so after the status of a read it sends characters with a pause between them
// until the PC sends anything. A nibble goes out as '0' plus its value, so that 10 to 15 are the
// six characters after '9'.
std::unique_ptr<BridgeFirmware> MakeTextFirmware(const Site& site, BridgeLine& line);

}  // namespace brisk::sim
