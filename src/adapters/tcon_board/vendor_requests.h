#pragma once

#include <cstdint>

// What the board understands on endpoint 0: vendor requests (USB 2.0, chapter 9.3) to the device.
// The first is the EZ-USB FX2's own (its Technical Reference Manual, chapter 3), answered without
// firmware; the others are the firmware's.
namespace brisk::tcon_board {

enum VendorRequest : uint8_t {  // value, index, data
  kWriteInternalRam = 0xA0,     // address, 0, the bytes
  kWriteExternalRam = 0xA3,     // address, 0, the bytes
  kSelectSlave = 0xA4,          // 7-bit address, 0, none
  kWriteRegister = 0xA2,        // register of the selected slave, 0, the byte
  kReadRegister = 0xAE,         // register of the selected slave, 0, the byte
  kSpeed100 = 0xAA,             // 0, 0, none: I2C at 100 kHz
  kSpeed400 = 0xAB,             // 0, 0, none: I2C at 400 kHz
  kWritePort = 0xC1,            // port value, port number, none
  kReadPort = 0xC2,             // as in the request before, port number, the byte
};

// FX2 register CPUCS, in internal RAM: bit 0 holds the CPU in reset.
inline constexpr uint16_t kCpuControl = 0xE600;

// I2C transfers are split into packets of up to 64 bytes, the size of the chip's endpoint 0 at full
// and high speed; every packet is a request of its own. Value: the 7-bit address; index: where the
// packet lies in the transfer, but of reads and of writes that a read follows the first packet
// announces the length of the whole.
inline constexpr uint32_t kPacketMax = 64;
struct PacketRequests {
  uint8_t only;  // first and last at once
  uint8_t first;
  uint8_t further;
  uint8_t last;
};
inline constexpr PacketRequests kBlockWrite = {0xB1, 0xB3, 0xB5, 0xB7};
inline constexpr PacketRequests kBlockRead = {0xB2, 0xB4, 0xB6, 0xB8};
inline constexpr PacketRequests kCommandWrite = {0xB3, 0xB3, 0xB5, 0xB5};  // without a stop

}  // namespace brisk::tcon_board
