// The parallel port's register writes, one by one: what every primitive puts on which register.
#include <cstdint>
#include <deque>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "adapters/lpt/lpt_i2c.h"
#include "adapters/lpt/lpt_spi.h"
#include "adapters/lpt/ports.h"

namespace brisk::lpt {
namespace {

using Access = std::pair<int, int>;  // port (-1 for a read of the status register), value

// Records writes; status reads come from a list, then 0xFF.
class RecordingPort : public PortIo {
 public:
  void Out(uint16_t port, uint8_t value) override { accesses.emplace_back(port, value); }
  uint8_t In(uint16_t port) override {
    EXPECT_EQ(port, 0x379);
    accesses.emplace_back(-1, 0);
    if (status.empty()) return 0xFF;
    const uint8_t value = status.front();
    status.pop_front();
    return value;
  }
  std::vector<Access> accesses;
  std::deque<uint8_t> status;
};

// Advances by a fixed step with every counter read.
class SteppingClock : public Clock {
 public:
  uint64_t TimeStampCounter() override { return tsc += step; }
  int64_t PerformanceFrequency() override { return 1000000; }
  int64_t PerformanceCounter() override { return counter += 10; }
  uint32_t TickCount() override { return 0; }
  int64_t LocalTime() override { return 0; }
  void Sleep(uint32_t) override {}
  uint64_t tsc = 0;
  uint64_t step = 0;
  int64_t counter = 0;
};

class LptLines : public testing::Test {
 protected:
  std::vector<Access> Take() { return std::exchange(port.accesses, {}); }

  RecordingPort port;
  SteppingClock clock;
  Ports ports{port, clock};
};

// The wait ends as long after the moment before the write as asked, however long the write took;
// and costs one look at the counter when there is nothing to wait for.
TEST_F(LptLines, TheWriteCountsTowardsTheSettleTime) {
  struct SlowPort : PortIo {
    explicit SlowPort(SteppingClock& given) : clock(given) {}
    void Out(uint16_t, uint8_t) override { clock.tsc += cost; }
    uint8_t In(uint16_t) override { return 0xFF; }
    SteppingClock& clock;
    uint64_t cost = 0;
  } slow(clock);
  Ports paced(slow, clock);
  clock.step = 62'500'000;  // between the two looks of the measurement, 1/16 s apart
  ASSERT_EQ(paced.Cpu_GetFrequency(), 1000u);
  clock.step = 1;
  const struct {
    uint32_t kHz;
    uint64_t cost, end;
  } kCases[] = {
      {1000, 0, 1}, {1000, 7000, 7001}, {100, 0, 5001}, {100, 4000, 5001}, {100, 7000, 7002}};
  for (const auto& given : kCases) {
    clock.tsc = 0;
    paced.SetClockRate(given.kHz);
    slow.cost = given.cost;
    paced.Port_Out(0x378, 0);
    EXPECT_EQ(clock.tsc, given.end) << given.kHz << ' ' << given.cost;
  }
}

// The eight data bits of a byte on wiring A: three writes a bit.
std::vector<Access> WiringAByte(uint8_t byte) {
  std::vector<Access> writes;
  for (int bit = 7; bit >= 0; --bit) {
    const int sda = byte >> bit & 1;
    writes.insert(writes.end(), {{0x378, 0xFC | sda}, {0x378, 0xFE | sda}, {0x378, 0xFC | sda}});
  }
  return writes;
}

TEST_F(LptLines, WiringAStartByteStop) {
  LptI2c i2c(ports, kWiringA, 0x378);
  i2c.I2c_Start();
  EXPECT_EQ(Take(),
            (std::vector<Access>{{0x378, 0xFE}, {0x378, 0xFF}, {0x378, 0xFE}, {0x378, 0xFC}}));

  port.status = {0xEF};  // bit 4 low: acknowledged
  EXPECT_EQ(i2c.I2c_Tx(0xFFFFFFA5), 0u);
  std::vector<Access> byte = WiringAByte(0xA5);
  byte.insert(byte.end(), {{0x378, 0xFD}, {0x378, 0xFF}, {-1, 0}, {0x378, 0xFD}});
  EXPECT_EQ(Take(), byte);

  port.status = {0x10};
  EXPECT_EQ(i2c.I2c_Tx(0), 1u);
  Take();
  i2c.I2c_Stop();
  EXPECT_EQ(Take(), (std::vector<Access>{{0x378, 0xFC}, {0x378, 0xFE}, {0x378, 0xFF}}));
}

TEST_F(LptLines, WiringAReceive) {
  LptI2c i2c(ports, kWiringA, 0x378);
  for (const uint32_t last : {0u, 1u, 7u}) {
    for (const int bit : {1, 0, 1, 0, 0, 1, 0, 1}) {
      port.status.push_back(bit != 0 ? 0x10 : 0xEF);
    }
    uint32_t data = 0xFFFFFFFF;
    EXPECT_EQ(i2c.I2c_Rx(&data, last), 0u);
    EXPECT_EQ(data, 0xA5u);
    const std::vector<Access> accesses = Take();
    ASSERT_EQ(accesses.size(), 8u * 4 + 3);
    // SDA of the answer stays as it was put.
    const int sda = last != 0 ? 1 : 0;
    EXPECT_EQ(accesses[32], Access(0x378, 0xFC | sda));
    EXPECT_EQ(accesses[33], Access(0x378, 0xFE | sda));
    EXPECT_EQ(accesses[34], Access(0x378, 0xFC | sda));
  }
  EXPECT_EQ(i2c.I2c_Rx(nullptr, 0), 1u);
  EXPECT_TRUE(Take().empty());
}

TEST_F(LptLines, WiringsBAndCMoveOneRegisterALine) {
  for (const Wiring* wiring : {&kWiringB, &kWiringC}) {
    LptI2c i2c(ports, *wiring, 0x378);
    i2c.I2c_Start();
    EXPECT_EQ(Take(),
              (std::vector<Access>{{0x37A, 0xFF}, {0x378, 0x7F}, {0x378, 0xFF}, {0x37A, 0xF7}}));
    // Bit 7 of the status byte is the level on wiring B and its inverse on C.
    for (const int bit7 : {0, 1}) {
      port.status = {static_cast<uint8_t>(bit7 != 0 ? 0x80 : 0x7F)};
      EXPECT_EQ(i2c.I2c_Tx(0x80), static_cast<uint32_t>(wiring == &kWiringB ? bit7 : 1 - bit7));
      const std::vector<Access> accesses = Take();
      ASSERT_EQ(accesses.size(), 28u);
      EXPECT_EQ(accesses[0], Access(0x378, 0x7F));
      EXPECT_EQ(accesses[1], Access(0x37A, 0xFF));
      EXPECT_EQ(accesses[2], Access(0x37A, 0xF7));
      EXPECT_EQ(accesses[3], Access(0x378, 0xFF));
    }
    i2c.I2c_Stop();
    EXPECT_EQ(Take(), (std::vector<Access>{{0x378, 0xFF}, {0x37A, 0xFF}, {0x378, 0x7F}}));
  }
}

struct SingleBitCase {
  const char* name;
  const Wiring* wiring;
  uint8_t image;
  std::vector<Access> one, zero, in;
};

TEST_F(LptLines, SingleBitsAreBuiltFromTheOutputByte) {
  const std::vector<SingleBitCase> cases = {
      {"A",
       &kWiringA,
       0x54,
       {{0x378, 0x55}, {0x378, 0x57}, {0x378, 0x55}},
       {{0x378, 0x54}, {0x378, 0x56}, {0x378, 0x54}},
       {{0x378, 0x55}, {0x378, 0x57}, {-1, 0}, {0x378, 0x55}}},
      {"B",
       &kWiringB,
       0x54,
       {{0x378, 0xD4}, {0x378, 0xDC}, {0x378, 0xD4}},
       {{0x378, 0x54}, {0x378, 0x5C}, {0x378, 0x54}},
       {{0x378, 0xD4}, {0x378, 0xDC}, {-1, 0}, {0x378, 0xD4}}},
      // The clock bit is cleared at the end of a sent bit, but not of a read one.
      {"C, clock bit set",
       &kWiringC,
       0x0C,
       {{0x378, 0x8C}, {0x378, 0x8C}, {0x378, 0x84}},
       {{0x378, 0x0C}, {0x378, 0x0C}, {0x378, 0x04}},
       {{0x378, 0x8C}, {0x378, 0x8C}, {-1, 0}, {0x378, 0x8C}}},
  };
  for (const SingleBitCase& test : cases) {
    SCOPED_TRACE(test.name);
    LptI2c i2c(ports, *test.wiring, 0x378);
    i2c.BitOut(test.image, 0x80);
    EXPECT_EQ(Take(), test.one);
    i2c.BitOut(test.image, 0);
    EXPECT_EQ(Take(), test.zero);
    const uint8_t mask = test.wiring->sdaIn.mask;
    port.status = {mask, static_cast<uint8_t>(~mask)};
    EXPECT_EQ(i2c.BitIn(test.image), 1);  // never inverted
    EXPECT_EQ(Take(), test.in);
    EXPECT_EQ(i2c.BitIn(test.image), 0);
    Take();
  }
}

TEST_F(LptLines, FlashPins) {
  LptSpi spi(ports, 0x378);
  spi.Init();
  EXPECT_EQ(Take(), (std::vector<Access>{{0x378, 0x00}}));
  spi.Select();
  EXPECT_EQ(Take(), (std::vector<Access>{{0x378, 0x4C}, {0x378, 0x48}, {0x378, 0x40}}));
  spi.SendByte(0x81);
  std::vector<Access> writes = {{0x378, 0x40}, {0x378, 0x44}};
  for (int i = 0; i < 6; ++i) writes.insert(writes.end(), {{0x378, 0x00}, {0x378, 0x04}});
  writes.insert(writes.end(), {{0x378, 0x40}, {0x378, 0x44}, {0x378, 0x40}});
  EXPECT_EQ(Take(), writes);
  spi.SendAddress(0xFF800001);
  const std::vector<Access> address = Take();
  ASSERT_EQ(address.size(), 72u);
  for (size_t bit = 0; bit < 24; ++bit) {
    const int mosi = bit == 0 || bit == 23 ? 0x40 : 0;
    EXPECT_EQ(address[3 * bit], Access(0x378, mosi)) << bit;
    EXPECT_EQ(address[3 * bit + 1], Access(0x378, mosi | 0x04)) << bit;
    EXPECT_EQ(address[3 * bit + 2], Access(0x378, mosi)) << bit;
  }
  spi.Deselect();
  EXPECT_EQ(Take(), (std::vector<Access>{{0x378, 0x48}}));
}

// A data byte is sampled before the clock rises, a status byte after.
TEST_F(LptLines, FlashSamplingEdges) {
  LptSpi spi(ports, 0x378);
  const std::deque<uint8_t> bits = {0x40, 0xBF, 0x40, 0xBF, 0xBF, 0x40, 0xBF, 0x40};
  port.status = bits;
  EXPECT_EQ(spi.ReadByte(), 0xA5);
  const std::vector<Access> data = Take();
  port.status = bits;
  EXPECT_EQ(spi.ReadStatus(), 0xA5);
  const std::vector<Access> status = Take();
  for (size_t bit = 0; bit < 8; ++bit) {
    EXPECT_EQ(data[3 * bit].first, -1);
    EXPECT_EQ(data[3 * bit + 1], Access(0x378, 0x04));
    EXPECT_EQ(data[3 * bit + 2], Access(0x378, 0x00));
    EXPECT_EQ(status[3 * bit], Access(0x378, 0x04));
    EXPECT_EQ(status[3 * bit + 1].first, -1);
    EXPECT_EQ(status[3 * bit + 2], Access(0x378, 0x00));
  }
}

}  // namespace
}  // namespace brisk::lpt
