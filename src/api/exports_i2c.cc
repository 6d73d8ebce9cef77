#include <cstdint>

#include "brisk/brisk.h"

#include "api/call.h"
#include "base/debug.h"

using brisk::BackEnd;
using brisk::debugLog;
using brisk::DispatchedThenLogged;
using brisk::LoggedThenDispatched;

namespace {

// Values as the debug lines show them.
unsigned Shown(const uint32_t* value) { return value != nullptr ? *value : 0; }
unsigned Shown(const uint8_t* value) { return value != nullptr ? *value : 0; }
unsigned First(const uint8_t* bytes, uint32_t length) { return length != 0 ? Shown(bytes) : 0; }
const char* Shown(const char* text) { return text != nullptr ? text : ""; }
unsigned Address(const void* pointer) {
  return static_cast<unsigned>(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace

BRISK_API void BRISK_CALL I2c_Start(void) {
  LoggedThenDispatched([] { debugLog.Print(0, "I2c_Start\n"); },
                       [](BackEnd& board) { board.I2c_Start(); });
}

BRISK_API void BRISK_CALL I2c_RStart(void) {
  LoggedThenDispatched([] { debugLog.Print(0, "I2c_RStart\n"); },
                       [](BackEnd& board) { board.I2c_RStart(); });
}

BRISK_API void BRISK_CALL I2c_Stop(void) {
  LoggedThenDispatched([] { debugLog.Print(0, "I2c_Stop\n"); },
                       [](BackEnd& board) { board.I2c_Stop(); });
}

BRISK_API uint32_t BRISK_CALL I2c_Tx(uint32_t byte) {
  return LoggedThenDispatched([&] { debugLog.Print(0, "I2c_Tx : 0x%08x\n", byte); },
                              [&](BackEnd& board) { return board.I2c_Tx(byte); });
}

BRISK_API uint32_t BRISK_CALL I2c_Rx(uint32_t* data, uint32_t last) {
  return DispatchedThenLogged(
      [&](BackEnd& board) { return board.I2c_Rx(data, last); },
      [&] { debugLog.Print(0, "I2c_Rx : 0x%08x ack=%d\n", Shown(data), static_cast<int>(last)); });
}

BRISK_API void BRISK_CALL I2c_BitOut(uint8_t bit) {
  LoggedThenDispatched([&] { debugLog.Print(0, "I2c_BitOut : 0x%08x\n", unsigned{bit}); },
                       [&](BackEnd& board) { board.I2c_BitOut(bit); });
}

BRISK_API uint8_t BRISK_CALL I2c_BitIn(void) {
  return DispatchedThenLogged(
      [](BackEnd& board) { return board.I2c_BitIn(); },
      [](uint8_t bit) { debugLog.Print(0, "I2c_BitIn : 0x%08x\n", unsigned{bit}); });
}

BRISK_API uint32_t BRISK_CALL I2cWrite(uint8_t byte) {
  return LoggedThenDispatched([&] { debugLog.Print(0, "I2cWrite :  0x%08x\n", unsigned{byte}); },
                              [&](BackEnd& board) { return board.I2cWrite(byte); });
}

BRISK_API uint32_t BRISK_CALL I2cRead(uint8_t* data, uint32_t last) {
  return DispatchedThenLogged([&](BackEnd& board) { return board.I2cRead(data, last); },
                              [&] {
                                debugLog.Print(0, "I2cRead : data = 0x%08x, ack = %d\n",
                                               Shown(data), static_cast<int>(last));
                              });
}

BRISK_API uint32_t BRISK_CALL I2cWriteHead(uint8_t device, uint8_t subAddress) {
  return LoggedThenDispatched(
      [&] {
        debugLog.Print(0, "I2cWriteHead:device=0x%08x, subadr=0x%08x\n", unsigned{device},
                       unsigned{subAddress});
      },
      [&](BackEnd& board) { return board.I2cWriteHead(device, subAddress); });
}

BRISK_API uint32_t BRISK_CALL I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data) {
  return LoggedThenDispatched(
      [&] {
        debugLog.Print(0, "I2cWriteByte :  device=0x%08x, subadr=0x%08x, data=0x%08x\n",
                       unsigned{device}, unsigned{subAddress}, unsigned{data});
      },
      [&](BackEnd& board) { return board.I2cWriteByte(device, subAddress, data); });
}

BRISK_API uint32_t BRISK_CALL I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data) {
  return DispatchedThenLogged(
      [&](BackEnd& board) { return board.I2cReadByte(device, subAddress, data); },
      [&] {
        debugLog.Print(0, "I2cReadByte :  device=0x%08x, subadr=0x%08x, data=0x%08x\n",
                       unsigned{device}, unsigned{subAddress}, Shown(data));
      });
}

BRISK_API uint32_t BRISK_CALL I2cWriteData(uint8_t device, const uint8_t* command,
                                           uint32_t commandLength, const uint8_t* data,
                                           uint32_t dataLength) {
  return LoggedThenDispatched(
      [&] {
        debugLog.Print(
            0, "I2cWriteData :  device=0x%08x, cmd=0x%08x, cmdlen=%d, data=0x%08x, data len=%d\n",
            unsigned{device}, First(command, commandLength), static_cast<int>(commandLength),
            First(data, dataLength), static_cast<int>(dataLength));
      },
      [&](BackEnd& board) {
        return board.I2cWriteData(device, command, commandLength, data, dataLength);
      });
}

BRISK_API uint32_t BRISK_CALL I2cReadData(uint8_t device, const uint8_t* command,
                                          uint32_t commandLength, uint8_t* data,
                                          uint32_t dataLength) {
  return DispatchedThenLogged(
      [&](BackEnd& board) {
        return board.I2cReadData(device, command, commandLength, data, dataLength);
      },
      [&] {
        debugLog.Print(
            0, "I2cReadData : device=0x%08x, cmd=0x%08x, cmdlen=%d, data=0x%08x, data len=%d\n",
            unsigned{device}, First(command, commandLength), static_cast<int>(commandLength),
            First(data, dataLength), static_cast<int>(dataLength));
      });
}

BRISK_API void BRISK_CALL I2cSetClockRate(uint32_t kHz) {
  LoggedThenDispatched(
      [&] { debugLog.Print(0, "I2cSetClockRate : %d KHz", static_cast<int>(kHz)); },
      [&](BackEnd& board) { board.I2cSetClockRate(kHz); });
}

BRISK_API uint32_t BRISK_CALL I2c_String(const char* command) {
  return LoggedThenDispatched([&] { debugLog.Print(0, "I2c_String : %s\n", Shown(command)); },
                              [&](BackEnd& board) { return board.I2c_String(command); });
}

BRISK_API uint32_t BRISK_CALL I2c_ReadString(char* result, const char* command) {
  return DispatchedThenLogged([&](BackEnd& board) { return board.I2c_ReadString(result, command); },
                              [&] {
                                debugLog.Print(0, "I2c_ReadString :  0x%08x, %s\n", Address(result),
                                               Shown(command));
                              });
}

BRISK_API int32_t BRISK_CALL I2c_ReadStringEx(const char* command) {
  return DispatchedThenLogged(
      [&](BackEnd& board) { return board.I2c_ReadStringEx(command); },
      [&] { debugLog.Print(0, "I2c_ReadStringEx : %s\n", Shown(command)); });
}

BRISK_API uint32_t BRISK_CALL I2c_WriteString(char* count, const char* text) {
  return DispatchedThenLogged([&](BackEnd& board) { return board.I2c_WriteString(count, text); },
                              [&] { debugLog.Print(0, "I2c_WriteString : %s\n", Shown(text)); });
}
