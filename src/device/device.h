#pragma once

#include <cstdint>

#include "base/status.h"
#include "flash/flash.h"
#include "i2c/bus.h"
#include "i2c/channels.h"
#include "i2c/registers.h"
#include "i2c/string_command.h"
#include "image/port_words.h"
#include "image/transfer.h"

namespace brisk {

// Finding and opening the hardware, for devices that do it at a moment of their own.
class Connection {
 public:
  virtual ~Connection() = default;
  virtual uint32_t Connect() = 0;  // how many boards were found
};

// The output byte and the input byte of a parallel port, or what an adapter makes of them.
class PortLines {
 public:
  virtual ~PortLines() = default;
  virtual Status Output(uint8_t value) = 0;
  virtual Status Input(uint8_t* value) = 0;
};

// Registers of a board's own controller, or port pins written as a pair of them. The code of a
// status is the answer of the board's library, or 1 for done where there is none.
class PortRegisters {
 public:
  virtual ~PortRegisters() = default;
  virtual Status WritePort(uint8_t port, uint8_t value) = 0;
  virtual Status ReadPort(uint8_t /*port*/, uint8_t* /*value*/) { return Cause::kUnsupported; }
};

// The board's clock generator: values as its data sheet orders them.
class ClockGenerator {
 public:
  virtual ~ClockGenerator() = default;
  virtual Status WriteDividers(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e) = 0;
};

// Register frames of a serial bridge in its own binary form, given as text with two digits a byte;
// `count` points to the number of frame bytes and receives the width of the register.
class RegisterFrames {
 public:
  virtual ~RegisterFrames() = default;
  virtual Outcome<uint32_t> ReadFrame(uint8_t* count, const char* text) = 0;
  virtual Status WriteFrame(uint8_t* count, const char* text) = 0;
};

// What a device offers: a family of operations for everything that its hardware has, null for the
// rest. What an operation that is not offered answers to the exports is a row of device_types.h.
// Operations run one at a time and return when the bus work is done.
struct Device {
  Connection* onSelect = nullptr;  // connects when the device type is selected
  Connection* onUse = nullptr;     // connects before every operation, unless it is connected

  i2c::Bus* bus = nullptr;
  i2c::Bits* bits = nullptr;
  i2c::BusRegisters* heads = nullptr;  // addresses sent without a stop
  i2c::StringCommands* strings = nullptr;
  RegisterFrames* frames = nullptr;
  i2c::ByteRegisters* registers = nullptr;
  i2c::BlockRegisters* blocks = nullptr;
  i2c::BusClock* clock = nullptr;
  i2c::Channels* channels = nullptr;

  flash::Flash* flash = nullptr;

  image::WordWriter* words = nullptr;  // the controller's picture port
  image::PictureTransfer* display = nullptr;
  image::PortWords* debugWords = nullptr;  // the serial debug output beside it

  PortLines* lines = nullptr;
  PortRegisters* ports = nullptr;
  ClockGenerator* generator = nullptr;
};

}  // namespace brisk
