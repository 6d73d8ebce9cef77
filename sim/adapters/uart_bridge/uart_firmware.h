#pragma once

#include <memory>

#include "sim/adapters/bridges/bridge_firmware.h"

namespace brisk::sim {

// The bridge with binary frames. It wakes with a command line; a second command begins the frame
// mode, in which a text line of the command alphabet still ends it. Frames, by their first byte:
//
//   FA, FB       START; no answer
//   FC           STOP; no answer
//   FD byte      send the byte; the answer is FF and 00 when it was acknowledged, else 01
//   FE more      receive a byte; the answer is FF 00 FF and the byte
//   50 code reg  read or write 1, 2 or 4 of the controller's registers, the bytes to write behind
//                the frame; the answer is FF, how many, and the bytes read. High byte first on the
//                line, low byte first in the registers
//
// A receive frame asks for a byte before the PC has said whether another follows, and PCs pass the
// same argument with every byte of a read. So with a non-zero argument the ninth clock waits for
// the next frame: acknowledged when that receives again, else not. With 0 it is acknowledged at
// once.
std::unique_ptr<BridgeFirmware> MakeUartFirmware(const Site& site, BridgeLine& line);

}  // namespace brisk::sim
