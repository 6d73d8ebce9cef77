#pragma once

#include <array>
#include <cstdint>

namespace brisk::tcon_board {

// The contract of the timing-controller board's USB driver. A Linux system has no such driver:
// there the platform answers these requests with libusb.

// {AE18AA60-7F6A-11D4-97DD-00010229B959}, in memory order.
inline constexpr std::array<uint8_t, 16> kTconInterfaceClass = {
    0x60, 0xAA, 0x18, 0xAE, 0x6A, 0x7F, 0xD4, 0x11, 0x97, 0xDD, 0x00, 0x01, 0x02, 0x29, 0xB9, 0x59};
inline constexpr uint16_t kTconVendorId = 0x04B4;

// Device-control codes.
inline constexpr uint32_t kGetDriverVersion = 0x220000;
inline constexpr uint32_t kGetSecondVersion = 0x220004;
inline constexpr uint32_t kGetAlternateSetting = 0x220008;
inline constexpr uint32_t kGetAddress = 0x220010;
inline constexpr uint32_t kControlTransfer = 0x220020;   // header + data, in and out
inline constexpr uint32_t kBufferedTransfer = 0x220024;  // header + data, in and out
inline constexpr uint32_t kResetPort = 0x220030;
inline constexpr uint32_t kGetDeviceName = 0x22003C;
inline constexpr uint32_t kGetFriendlyName = 0x220040;
inline constexpr uint32_t kAbortEndpoint = 0x220044;
inline constexpr uint32_t kDirectTransfer = 0x22004B;  // header in, the caller's buffer out
inline constexpr uint32_t kGetSpeed = 0x22004C;

inline constexpr uint32_t kSpeedFull = 1;
inline constexpr uint32_t kSpeedHigh = 2;

// From this version on the driver knows direct transfers.
inline constexpr uint32_t kDirectTransferVersion = 0x01050500;

// What every transfer and descriptor request sends, little-endian and without padding, followed by
// the data where the mode carries data in the request.
#pragma pack(push, 1)
struct TransferHeader {
  uint8_t requestType = 0;  // bit 7 direction, bits 6..5 type, bits 4..0 recipient
  uint8_t request = 0;
  uint16_t value = 0;
  uint16_t index = 0;
  uint16_t length = 0;   // of the data stage
  uint32_t timeOut = 0;  // seconds
  uint8_t reserved = 0;
  uint8_t endpoint = 0;
  uint32_t ntStatus = 0;    // filled by the driver
  uint32_t usbdStatus = 0;  // filled by the driver
  uint32_t packetOffset = 0;
  uint32_t packetLength = 0;
  uint32_t dataOffset = 0;  // from the start of the record
  uint32_t dataLength = 0;
};
#pragma pack(pop)

inline constexpr uint32_t kHeaderSize = 38;
static_assert(sizeof(TransferHeader) == kHeaderSize);

// Isochronous transfers carry one such record per packet between header and data.
inline constexpr uint32_t kPacketInfoSize = 8;

}  // namespace brisk::tcon_board
