#pragma once

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "brisk/brisk_types.h"

#include "calls.h"
#include "sim/config/bench.h"

namespace brisk::u2c_recorder {

// The U2C adapter's libraries as ones that only write down their calls.
struct Recorder {
  std::string calls;
  int32_t status = 0;     // what every call answers
  int32_t getStatus = 0;  // what reading a byte answers
  int refused = -1;       // the byte that is not acknowledged
  int32_t handle = 7;     // what opening answers, and every other call must carry
};
inline Recorder recorder;

inline void Note(const std::string& call) {
  recorder.calls += (recorder.calls.empty() ? "" : " ") + call;
}

inline int32_t Answer(int32_t given, const std::string& call) {
  EXPECT_EQ(given, recorder.handle) << call;
  Note(call);
  return recorder.status;
}

template <int kLetter>
int32_t BRISK_CALL Plain(int32_t h) {
  return Answer(h, std::string(1, static_cast<char>(kLetter)));
}

inline int32_t BRISK_CALL OpenAdapter() {
  Note("open");
  return recorder.handle;
}

inline int32_t BRISK_CALL Direction(int32_t h, uint32_t mask, uint32_t outputs) {
  return Answer(h, "dir" + std::to_string(mask) + std::to_string(outputs));
}

inline int32_t BRISK_CALL Io(int32_t h, uint32_t value, uint32_t mask) {
  EXPECT_EQ(mask, 1u);
  if (value == 1) return Answer(h, "line1");
  EXPECT_TRUE(value == 0 || value == 0xFFFFFFFE) << value;
  return Answer(h, value == 0 ? "select" : "line0");
}

inline int32_t BRISK_CALL Put(int32_t h, uint8_t byte) {
  const int32_t answer = Answer(h, Hex(&byte, 1));
  return byte == recorder.refused ? 1 : answer;
}

inline int32_t BRISK_CALL Get(int32_t h, uint8_t* byte, int32_t acknowledge) {
  EXPECT_TRUE(acknowledge == 0 || acknowledge == 1) << acknowledge;
  *byte = 0x5A;
  const int32_t answer = Answer(h, acknowledge != 0 ? "get+" : "get-");
  return recorder.getStatus != 0 ? recorder.getStatus : answer;
}

// Address, memory-address length, memory-address field, data length.
inline std::string Shown(const uint8_t* record) {
  uint16_t length = 0;
  std::memcpy(&length, record + 6, 2);
  return Hex(record, 1) + "," + Hex(record + 1, 1) + "," + Hex(record + 2, 4) + "," +
         std::to_string(length);
}

inline int32_t BRISK_CALL WriteRecord(int32_t h, void* transaction) {
  const auto* record = static_cast<const uint8_t*>(transaction);
  uint16_t length = 0;
  std::memcpy(&length, record + 6, 2);
  return Answer(h, "W(" + Shown(record) + "," + Hex(record + 8, length) + ")");
}

inline int32_t BRISK_CALL ReadRecord(int32_t h, void* transaction) {
  auto* record = static_cast<uint8_t*>(transaction);
  for (int i = 0; i < 256; ++i) record[8 + i] = static_cast<uint8_t>(0xC0 + i);
  return Answer(h, "R(" + Shown(record) + ")");
}

inline int32_t BRISK_CALL I2cCode(int32_t h, uint8_t code) {
  return Answer(h, "i2c" + std::to_string(code));
}

inline int32_t BRISK_CALL SpiCode(int32_t h, uint8_t code) {
  return Answer(h, "spi" + std::to_string(code));
}

inline int32_t BRISK_CALL SpiOut(int32_t h, uint8_t* bytes, uint16_t count) {
  return Answer(h, ">" + Hex(bytes, count));
}

inline int32_t BRISK_CALL SpiIn(int32_t h, uint8_t* bytes, uint16_t count) {
  std::memset(bytes, 0, count);
  return Answer(h, "<" + std::string(count > 1 ? std::to_string(count) : ""));
}

template <typename Function>
sim::LibraryShelf::Symbol Named(const char* name, Function function) {
  return {name, 0, reinterpret_cast<void*>(function)};
}

inline void Install(sim::LibraryShelf& shelf) {
  shelf.Add("U2CCommon", {Named("OpenU2C", OpenAdapter)});
  shelf.Add("i2cbrdg", {Named("U2C_SetIoDirection", Direction), Named("U2C_IoWrite", Io),
                        Named("U2C_Start", Plain<'S'>), Named("U2C_RepeatedStart", Plain<'r'>),
                        Named("U2C_Stop", Plain<'P'>), Named("U2C_PutByteWithAck", Put),
                        Named("U2C_GetByteWithAck", Get), Named("U2C_Write", WriteRecord),
                        Named("U2C_Read", ReadRecord), Named("U2C_SetI2cFreq", I2cCode),
                        Named("U2C_SpiSetFreq", SpiCode), Named("U2C_SpiWrite", SpiOut),
                        Named("U2C_SpiRead", SpiIn), Named("U2C_DropSda", Plain<'d'>),
                        Named("U2C_ReleaseSda", Plain<'D'>), Named("U2C_DropScl", Plain<'c'>),
                        Named("U2C_ReleaseScl", Plain<'C'>)});
}

}  // namespace brisk::u2c_recorder
