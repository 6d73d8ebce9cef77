#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "brisk/brisk_types.h"

// The USB debug board: what its closed library offers, and the packets on its two bulk pipes.
//
//   command packet  64 bytes, pipe 0: what to do
//   data packet     64 bytes, pipe 0 with the command's data, or pipe 1 with the board's reply
//   status byte     pipe 1; its value says nothing
//
// Every operation is one or more exchanges of these three, in this order. Both packets are zero
// where nothing is said.
namespace brisk::debug_board {

inline constexpr char kLibraryName[] = "WinIo";
inline constexpr char kPipe0[] = "PIPE00";
inline constexpr char kPipe1[] = "PIPE01";

// W6563_OpenDev: a handle, every bit of it set when no board answers. Handles are the system's to
// close, or W6563_CloseHandle's where it has no such handles.
using OpenDevFunction = void*(BRISK_CALL*)();
// W6563_OpenPipe: null for none.
using OpenPipeFunction = void*(BRISK_CALL*)(const char* name);
// W6563_BulkWrite and W6563_BulkRead; `count` receives the bytes moved. The first of them fetches
// the reply when it is given pipe 1. Bit 0 of the result says done.
using BulkFunction = uint32_t(BRISK_CALL*)(void* pipe, void* buffer, uint32_t length,
                                           uint32_t* count);
using CloseHandleFunction = void(BRISK_CALL*)(void* handle);

inline constexpr size_t kPacketSize = 64;
using Packet = std::array<uint8_t, kPacketSize>;

// Byte 0 of a command packet: which way its data packet travels.
enum class Direction : uint8_t { kToBoard = 0x38, kFromBoard = 0x3A };

// Bytes 0 and 1 of a command packet. The parameters follow from byte 2; addresses are big-endian.
struct BoardCommand {
  Direction direction;
  uint8_t code;
};

inline constexpr BoardCommand kPortWrite{Direction::kToBoard, 0x1A};      // register, value
inline constexpr BoardCommand kPortRead{Direction::kFromBoard, 0x1B};     // register
inline constexpr BoardCommand kLptOutput{Direction::kToBoard, 0x24};      // 0xA0, mirrored byte
inline constexpr BoardCommand kLptInput{Direction::kFromBoard, 0x25};     // 0xA0
inline constexpr BoardCommand kPllWrite{Direction::kToBoard, 0x26};       // 0xA0, PLL values
inline constexpr BoardCommand kFlashEnable{Direction::kToBoard, 0x1C};    // no parameters
inline constexpr BoardCommand kFlashStatus{Direction::kFromBoard, 0x1E};  // no parameters
inline constexpr BoardCommand kFlashErase{Direction::kToBoard, 0x21};     // no parameters
inline constexpr BoardCommand kFlashSector{Direction::kToBoard, 0x20};    // 24-bit address
inline constexpr BoardCommand kFlashProgram{Direction::kToBoard, 0x1F};   // address, count, data
inline constexpr BoardCommand kFlashRead{Direction::kFromBoard, 0x1D};    // address, count
inline constexpr BoardCommand kFlashId{Direction::kFromBoard, 0x22};      // no parameters
inline constexpr BoardCommand kI2cRegWrite{Direction::kToBoard, 0x16};    // operands in the data
inline constexpr BoardCommand kI2cRegRead{Direction::kFromBoard, 0x15};   // device, 0, register

// First parameter of the emulated parallel port and of the PLL command.
inline constexpr uint8_t kBoardUnit = 0xA0;

inline constexpr size_t kProgramHeader = 6;                          // bytes before the data
inline constexpr size_t kProgramMax = kPacketSize - kProgramHeader;  // 58
inline constexpr size_t kReadMax = kPacketSize;

// I2C scripts: one opcode per position from byte 1; the byte sent or read stands at the same
// position of the data packet.
namespace script {
inline constexpr uint8_t kStart = 0x00;
inline constexpr uint8_t kStop = 0x01;
inline constexpr uint8_t kNoAcknowledge = 0x03;  // ends a kReadLast
inline constexpr uint8_t kSend = 0x05;
inline constexpr uint8_t kReadLast = 0x06;
inline constexpr uint8_t kRead = 0x07;  // read and acknowledge
inline constexpr uint8_t kEnd = 0x17;
inline constexpr size_t kFirst = 1;           // first position
inline constexpr size_t kFull = kPacketSize;  // position when no opcode fits any more
inline constexpr size_t kPositions = kFull - kFirst;
}  // namespace script

// A command packet with its data packet.
struct Frame {
  explicit Frame(Direction direction) { command[0] = static_cast<uint8_t>(direction); }
  explicit Frame(BoardCommand what, std::initializer_list<uint8_t> parameters = {})
      : Frame(what.direction) {
    command[1] = what.code;
    std::copy(parameters.begin(), parameters.end(), command.begin() + 2);
  }

  bool ToBoard() const { return command[0] == static_cast<uint8_t>(Direction::kToBoard); }

  Packet command{};
  Packet data{};
};

// The emulated port is wired upside down: bit k of one side is bit 7 - k of the other, for k from 0
// to 6. The eighth line is not connected and counts as 0.
constexpr uint8_t MirrorToBoard(uint8_t value) {
  uint8_t mirrored = 0;
  for (int k = 0; k < 7; ++k) {
    if ((value >> k & 1) != 0) mirrored = static_cast<uint8_t>(mirrored | 0x80 >> k);
  }
  return mirrored;
}

constexpr uint8_t MirrorFromBoard(uint8_t value) {
  uint8_t mirrored = 0;
  for (int k = 0; k < 7; ++k) {
    if ((value & 0x80 >> k) != 0) mirrored = static_cast<uint8_t>(mirrored | 1 << k);
  }
  return mirrored;
}

}  // namespace brisk::debug_board
