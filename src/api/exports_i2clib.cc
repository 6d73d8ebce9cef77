// Exports of the channel transactions.
#include "brisk/brisk.h"

#include "api/call.h"

using brisk::i2c::Channels;

namespace {

template <typename Transaction>
uint8_t OnChannels(Transaction transaction) {
  return brisk::Dispatched(brisk::groups::kChannels, [&](Channels& channels) {
    return static_cast<uint8_t>(brisk::OneWhenDone(transaction(channels)));
  });
}

}  // namespace

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Init(void) { return 1; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Cleanup(void) { return 1; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Scan7bitAddr(uint8_t /*address*/) { return 0; }

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Write(uint8_t channel, uint16_t address,
                                              const uint8_t* first, uint32_t firstLength,
                                              const uint8_t* second, uint32_t secondLength) {
  return OnChannels([&](Channels& channels) {
    return channels.Write(channel, address, {first, firstLength}, {second, secondLength});
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data,
                                             uint32_t length) {
  return OnChannels([&](Channels& channels) {
    return channels.Read(channel, address, {data, length});
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_WriteRead(uint8_t channel, uint16_t address,
                                                  const uint8_t* write, uint32_t writeLength,
                                                  uint8_t* read, uint32_t readLength) {
  return OnChannels([&](Channels& channels) {
    return channels.WriteRead(channel, address, {write, writeLength}, {read, readLength});
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1Byte(uint8_t channel, uint16_t address, uint8_t byte) {
  return OnChannels([&](Channels& channels) {
    return channels.Write(channel, address, {&byte, 1}, {});
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W2Bytes(uint8_t channel, uint16_t address, uint8_t first,
                                                uint8_t second) {
  return OnChannels([&](Channels& channels) {
    return channels.Write(channel, address, {&first, 1}, {&second, 1});
  });
}

BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1ByteR1Byte(uint8_t channel, uint16_t address,
                                                     uint8_t byte, uint8_t* data) {
  return OnChannels([&](Channels& channels) {
    return channels.WriteRead(channel, address, {&byte, 1}, {data, 1});
  });
}
