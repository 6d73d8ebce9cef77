#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What goes over the line between PC and bridge. The bridge has a command line; in its frame mode
// every action on the I2C bus is a frame instead:
//
//   frame                             reply
//   start, restart, stop              none
//   transmit, byte                    marker, acknowledge (0 = acknowledged)
//   receive, acknowledge argument     marker, status (0 = good), marker, byte
//   register frame, 1 to 20 bytes     marker, width in bytes, then the register of a read
namespace brisk::uart_bridge {

inline constexpr std::string_view kWake = "TalvoCli\n";
inline constexpr std::string_view kAwake = "CLI_ACK";
inline constexpr std::string_view kEnterFrameMode = "uart_2_i2c\n";
inline constexpr std::string_view kInFrameMode = "UI2C_ACK";
inline constexpr std::string_view kLeaveFrameMode = "uartleave\n";

enum FrameCode : uint8_t {
  kStart = 0xFA,
  kRestart = 0xFB,
  kStop = 0xFC,
  kTransmit = 0xFD,
  kReceive = 0xFE,
  kMarker = 0xFF,
};

inline constexpr size_t kMaxRegisterFrame = 20;
inline constexpr uint8_t kWidestRegister = 4;

// The second byte of a register frame says how wide the register is; any byte but these means four
// bytes.
struct WidthCodes {
  uint8_t one;
  uint8_t two;

  constexpr uint8_t WidthOf(uint8_t code) const {
    if (code == one) return 1;
    return code == two ? 2 : kWidestRegister;
  }
};
inline constexpr WidthCodes kReadWidths = {.one = 0xE8, .two = 0xE9};
inline constexpr WidthCodes kWriteWidths = {.one = 0xE1, .two = 0xE2};

}  // namespace brisk::uart_bridge
