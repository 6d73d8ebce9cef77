// Exports of the bus primitives, register transactions and string commands.
#include <cstdint>
#include <cstdio>

#include "brisk/brisk.h"

#include "api/call.h"
#include "base/text.h"

using brisk::Cause;
using brisk::CDebug;
using brisk::DeviceType;
using brisk::DispatchedThenLogged;
using brisk::LoggedThenDispatched;
using brisk::OneWhenDone;
using brisk::Shown;
using brisk::Status;

namespace groups = brisk::groups;
namespace i2c = brisk::i2c;

namespace {

// Values as the debug lines show them: 0 for what is not there.
unsigned Value(const uint32_t* value) { return value != nullptr ? *value : 0; }
unsigned Value(const uint8_t* value) { return value != nullptr ? *value : 0; }
unsigned First(const uint8_t* bytes, uint32_t length) { return length != 0 ? Value(bytes) : 0; }
unsigned Address(const void* pointer) {
  return static_cast<unsigned>(reinterpret_cast<uintptr_t>(pointer));
}

// The acknowledge bit, or what a bridge sent for it: 0 = acknowledged.
uint32_t Sent(Status status, const DeviceType& type) {
  if (status.ok() || type.sendAlwaysDone) return 0;
  return status.code() != 0 ? status.code() : 1;
}

// 0 = received, also where a library moved a byte and complains of it; a bridge's own status else,
// and 1 when none came in time.
uint32_t Received(i2c::Bus& bus, uint32_t* data, uint32_t last, const DeviceType& type) {
  if (data == nullptr) return type.receiveWithoutPointer;
  uint8_t byte = 0;
  const Status status = bus.Receive(&byte, last);
  if (status.cause() == Cause::kTimeOut) return 1;
  if (status.cause() != Cause::kNoAdapter) *data = byte;
  return status.cause() == Cause::kRejected ? status.code() : 0;
}

// As 2, 4 or 6 upper-case hex digits, high byte first; nothing for a size that the language does
// not know.
uint32_t ReadText(i2c::StringCommands& strings, char* result, const char* command) {
  if (result == nullptr) return 1;
  const auto read = strings.Read(command);
  if (!read.ok()) {
    *result = '\0';
    return 1;
  }
  const auto [number, bytes] = read.value();
  if (bytes != 0) {
    std::snprintf(result, 2 * bytes + 1, "%0*X", static_cast<int>(2 * bytes), unsigned{number});
  }
  return 0;
}

constexpr int32_t kNoNumber = -2;

// The contract of raw frames: what came, or 1 for every failure; 255 for a frame that was taken.
// Their count travels through the pointer that is a text elsewhere.
constexpr uint32_t kFrameFailed = 1;
constexpr uint32_t kFrameTaken = 255;
uint8_t* Count(char* count) { return reinterpret_cast<uint8_t*>(count); }

}  // namespace

BRISK_API void BRISK_CALL I2c_Start(void) {
  LoggedThenDispatched([](CDebug& log) { log.Print(0, "I2c_Start\n"); }, groups::kBus,
                       [](i2c::Bus& bus) { bus.Start(); });
}

BRISK_API void BRISK_CALL I2c_RStart(void) {
  LoggedThenDispatched([](CDebug& log) { log.Print(0, "I2c_RStart\n"); }, groups::kBus,
                       [](i2c::Bus& bus) { bus.RepeatedStart(); });
}

BRISK_API void BRISK_CALL I2c_Stop(void) {
  LoggedThenDispatched([](CDebug& log) { log.Print(0, "I2c_Stop\n"); }, groups::kBus,
                       [](i2c::Bus& bus) { bus.Stop(); });
}

BRISK_API uint32_t BRISK_CALL I2c_Tx(uint32_t byte) {
  return LoggedThenDispatched([&](CDebug& log) { log.Print(0, "I2c_Tx : 0x%08x\n", byte); },
                              groups::kBus,
                              [&](i2c::Bus& bus, const DeviceType& type) {
                                return Sent(bus.Send(static_cast<uint8_t>(byte)), type);
                              });
}

BRISK_API uint32_t BRISK_CALL I2c_Rx(uint32_t* data, uint32_t last) {
  return DispatchedThenLogged(
      groups::kBus,
      [&](i2c::Bus& bus, const DeviceType& type) { return Received(bus, data, last, type); },
      [&](CDebug& log) {
        log.Print(0, "I2c_Rx : 0x%08x ack=%d\n", Value(data), static_cast<int>(last));
      });
}

BRISK_API void BRISK_CALL I2c_BitOut(uint8_t bit) {
  LoggedThenDispatched([&](CDebug& log) { log.Print(0, "I2c_BitOut : 0x%08x\n", unsigned{bit}); },
                       groups::kBits, [&](i2c::Bits& bits) { bits.BitOut(bit != 0); });
}

BRISK_API uint8_t BRISK_CALL I2c_BitIn(void) {
  return DispatchedThenLogged(
      groups::kBits, [](i2c::Bits& bits) -> uint8_t { return bits.BitIn() ? 1 : 0; },
      [](CDebug& log, uint8_t bit) { log.Print(0, "I2c_BitIn : 0x%08x\n", unsigned{bit}); });
}

BRISK_API uint32_t BRISK_CALL I2cWrite(uint8_t byte) {
  return LoggedThenDispatched(
      [&](CDebug& log) { log.Print(0, "I2cWrite :  0x%08x\n", unsigned{byte}); }, groups::kBus,
      [&](i2c::Bus& bus, const DeviceType& type) { return Answer(bus.Send(byte), type); });
}

BRISK_API uint32_t BRISK_CALL I2cRead(uint8_t* data, uint32_t last) {
  return DispatchedThenLogged(
      groups::kBus,
      [&](i2c::Bus& bus, const DeviceType& type) -> uint32_t {
        return data != nullptr ? Answer(ReceiveInto(bus, data, last), type) : 0;
      },
      [&](CDebug& log) {
        log.Print(0, "I2cRead : data = 0x%08x, ack = %d\n", Value(data), static_cast<int>(last));
      });
}

BRISK_API uint32_t BRISK_CALL I2cWriteHead(uint8_t device, uint8_t subAddress) {
  return LoggedThenDispatched(
      [&](CDebug& log) {
        log.Print(0, "I2cWriteHead:device=0x%08x, subadr=0x%08x\n", unsigned{device},
                  unsigned{subAddress});
      },
      groups::kHeads,
      [&](i2c::BusRegisters& heads) { return OneWhenDone(heads.WriteHead(device, subAddress)); });
}

BRISK_API uint32_t BRISK_CALL I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  return LoggedThenDispatched(
      [&](CDebug& log) {
        log.Print(0, "I2cWriteByte :  device=0x%08x, subadr=0x%08x, data=0x%08x\n",
                  unsigned{device}, unsigned{subAddress}, unsigned{data});
      },
      groups::kRegisters,
      [&](i2c::ByteRegisters& registers, const DeviceType& type) {
        return Answer(registers.WriteByte(device, subAddress, data), type);
      });
}

BRISK_API uint32_t BRISK_CALL I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  return DispatchedThenLogged(
      groups::kRegisters,
      [&](i2c::ByteRegisters& registers, const DeviceType& type) {
        return Answer(registers.ReadByte(device, subAddress, data), type);
      },
      [&](CDebug& log) {
        log.Print(0, "I2cReadByte :  device=0x%08x, subadr=0x%08x, data=0x%08x\n", unsigned{device},
                  unsigned{subAddress}, Value(data));
      });
}

BRISK_API uint32_t BRISK_CALL I2cWriteData(uint8_t device, const uint8_t* command,
                                           uint32_t commandLength, const uint8_t* data,
                                           uint32_t dataLength) {
  return LoggedThenDispatched(
      [&](CDebug& log) {
        log.Print(
            0, "I2cWriteData :  device=0x%08x, cmd=0x%08x, cmdlen=%d, data=0x%08x, data len=%d\n",
            unsigned{device}, First(command, commandLength), static_cast<int>(commandLength),
            First(data, dataLength), static_cast<int>(dataLength));
      },
      groups::kBlocks,
      [&](i2c::BlockRegisters& blocks) {
        return OneWhenDone(blocks.WriteData(device, {command, commandLength}, {data, dataLength}));
      });
}

BRISK_API uint32_t BRISK_CALL I2cReadData(uint8_t device, const uint8_t* command,
                                          uint32_t commandLength, uint8_t* data,
                                          uint32_t dataLength) {
  return DispatchedThenLogged(
      groups::kBlocks,
      [&](i2c::BlockRegisters& blocks) {
        return OneWhenDone(blocks.ReadData(device, {command, commandLength}, {data, dataLength}));
      },
      [&](CDebug& log) {
        log.Print(0,
                  "I2cReadData : device=0x%08x, cmd=0x%08x, cmdlen=%d, data=0x%08x, data len=%d\n",
                  unsigned{device}, First(command, commandLength), static_cast<int>(commandLength),
                  First(data, dataLength), static_cast<int>(dataLength));
      });
}

BRISK_API void BRISK_CALL I2cSetClockRate(uint32_t kHz) {
  LoggedThenDispatched(
      [&](CDebug& log) { log.Print(0, "I2cSetClockRate : %d KHz", static_cast<int>(kHz)); },
      groups::kClock, [&](i2c::BusClock& clock) { clock.SetClockRate(kHz); });
}

BRISK_API uint32_t BRISK_CALL I2c_String(const char* command) {
  return LoggedThenDispatched(
      [&](CDebug& log) { log.Print(0, "I2c_String : %s\n", Shown(command)); },
      groups::kWriteStrings,
      [&](i2c::StringCommands& strings) { return ZeroWhenDone(strings.Write(command)); });
}

// A text by the command language, or a frame's value where the device has frames instead.
BRISK_API uint32_t BRISK_CALL I2c_ReadString(char* result, const char* command) {
  return brisk::CalledThenLogged(
      [&](const brisk::Selected& selected) {
        if (selected.device->frames == nullptr) {
          return CallOn(selected, groups::kReadStrings, [&](i2c::StringCommands& strings) {
            return ReadText(strings, result, command);
          });
        }
        return CallOn(selected, groups::kReadFrames, [&](brisk::RegisterFrames& frames) {
          const auto read = frames.ReadFrame(Count(result), command);
          return read.ok() ? read.value() : kFrameFailed;
        });
      },
      [&](CDebug& log) {
        log.Print(0, "I2c_ReadString :  0x%08x, %s\n", Address(result), Shown(command));
      });
}

BRISK_API int32_t BRISK_CALL I2c_ReadStringEx(const char* command) {
  return DispatchedThenLogged(
      groups::kReadNumbers,
      [&](i2c::StringCommands& strings) {
        const auto read = strings.Read(command);
        return read.ok() ? static_cast<int32_t>(read.value().number) : kNoNumber;
      },
      [&](CDebug& log) { log.Print(0, "I2c_ReadStringEx : %s\n", Shown(command)); });
}

BRISK_API uint32_t BRISK_CALL I2c_WriteString(char* count, const char* text) {
  return DispatchedThenLogged(
      groups::kWriteFrames,
      [&](brisk::RegisterFrames& frames) {
        return frames.WriteFrame(Count(count), text).ok() ? kFrameTaken : kFrameFailed;
      },
      [&](CDebug& log) { log.Print(0, "I2c_WriteString : %s\n", Shown(text)); });
}
