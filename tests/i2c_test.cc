// Transactions and string commands through the exported functions, as they appear on the wires, on
// every wiring of the parallel port.
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "brisk/brisk.h"

#include "support/bench_test.h"
#include "support/i2c_monitor.h"

namespace brisk {
namespace {

struct Adapter {
  const char* name;
  uint8_t deviceType;
};

class I2cOnWires : public BenchTest, public testing::WithParamInterface<Adapter> {
 protected:
  void SetUp() override { Connect(std::string("ten-bit=0x1A5,adapter=") + GetParam().name); }

  // As BenchTest's, with the monitor on the new bench's wires. Both lines come up idle first: the
  // images of the first wiring start with both lines low.
  void Connect(const std::string& options) {
    Configure(options);
    BriskSetDevice(GetParam().deviceType);
    I2c_Stop();
    monitor = {};
    bench().board().i2c().AddDevice(monitor);
  }

  I2cMonitor monitor;
};

INSTANTIATE_TEST_SUITE_P(Wirings, I2cOnWires,
                         testing::Values(Adapter{"lpt", 0}, Adapter{"lpt-b", 5},
                                         Adapter{"lpt-c", 9}),
                         [](const auto& test) {
                           return "DeviceType" + std::to_string(test.param.deviceType);
                         });

TEST_P(I2cOnWires, RegisterTransactions) {
  EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 10+ 55+ P");
  uint8_t data = 0;
  EXPECT_EQ(I2cReadByte(0xF4, 0x10, &data), 1u);
  EXPECT_EQ(data, 0x55);
  EXPECT_EQ(monitor.Take(), "S F4+ 10+ Sr F5+ 55- P");

  const uint8_t command[] = {0x20};
  const uint8_t bytes[] = {0x11, 0x22, 0x33};
  uint8_t back[3] = {};
  EXPECT_EQ(I2cWriteData(0xF4, command, 1, bytes, 3), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ 11+ 22+ 33+ P");
  EXPECT_EQ(I2cReadData(0xF4, command, 1, back, 3), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ Sr F5+ 11+ 22+ 33- P");
  EXPECT_EQ(std::memcmp(bytes, back, 3), 0);

  EXPECT_EQ(I2cWriteData(0xF4, nullptr, 0, nullptr, 0), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ P");
  // A slave that has been addressed for reading holds its first bit: a 1 leaves room for the stop.
  EXPECT_EQ(I2cWriteByte(0xF4, 0x20, 0x80), 1u);
  monitor.Take();
  EXPECT_EQ(I2cReadData(0xF4, command, 1, nullptr, 0), 1u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ Sr F5+ P");
}

TEST_P(I2cOnWires, TransactionFromSingleCalls) {
  EXPECT_EQ(I2cWriteHead(0xF4, 0x30), 1u);
  EXPECT_EQ(I2cWrite(0x77), 1u);
  EXPECT_EQ(I2c_Tx(0x12345688), 0u);
  I2c_Stop();
  EXPECT_EQ(monitor.Take(), "S F4+ 30+ 77+ 88+ P");
  EXPECT_EQ(I2cWriteHead(0xF4, 0x30), 1u);
  I2c_RStart();
  EXPECT_EQ(I2cWrite(0xF5), 1u);
  uint32_t word = 0xFFFFFFFF;
  EXPECT_EQ(I2c_Rx(&word, 0), 0u);
  EXPECT_EQ(word, 0x77u);
  uint8_t byte = 0;
  EXPECT_EQ(I2cRead(&byte, 1), 1u);
  EXPECT_EQ(byte, 0x88);
  I2c_Stop();
  EXPECT_EQ(monitor.Take(), "S F4+ 30+ Sr F5+ 77+ 88- P");
}

TEST_P(I2cOnWires, NobodyAnswers) {
  uint8_t data = 0x3C;
  uint8_t many[2] = {0x3C, 0x3C};
  const uint8_t command[] = {1, 2};
  EXPECT_EQ(I2cWriteByte(0x42, 1, 2), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  EXPECT_EQ(I2cReadByte(0x42, 1, &data), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  EXPECT_EQ(data, 0x3C);
  EXPECT_EQ(I2cWriteData(0x42, command, 2, command, 2), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  EXPECT_EQ(I2cReadData(0x42, command, 2, many, 2), 0u);
  EXPECT_EQ(monitor.Take(), "S 42- Sr 43- P");
  EXPECT_EQ(I2cLib_Write(0, 0x43, command, 2, command, 2), 0);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0x42, 7, &data), 0);
  EXPECT_EQ(monitor.Take(), "S 42- P");
  I2c_Start();
  EXPECT_EQ(I2c_Tx(0x42), 1u);
  EXPECT_EQ(I2cWrite(0x42), 0u);
  uint32_t word = 0;
  EXPECT_EQ(I2c_Rx(&word, 1), 0u);
  EXPECT_EQ(word, 0xFFu);
  I2c_Stop();
}

// Which missing acknowledges end a transaction, and which do not.
TEST_P(I2cOnWires, MissingAcknowledges) {
  struct Case {
    const char* nak;  // which byte of the bus traffic is not acknowledged, counting from 1
    uint32_t result;
    const char* wires;
  };
  const uint8_t command[] = {0x20, 0x21, 0x22};
  const uint8_t data[] = {0x31, 0x32};
  for (const Case& test :
       {Case{"nak@1", 0, "S F4- P"}, Case{"nak@2", 1, "S F4+ 20- 21+ 22+ 31+ 32+ P"},
        Case{"nak@4", 0, "S F4+ 20+ 21+ 22- P"}, Case{"nak@5", 0, "S F4+ 20+ 21+ 22+ 31- P"},
        Case{"nak@6", 0, "S F4+ 20+ 21+ 22+ 31+ 32- P"}}) {
    SCOPED_TRACE(test.nak);
    Connect(std::string("adapter=") + GetParam().name + ",fault=" + test.nak);
    EXPECT_EQ(I2cWriteData(0xF4, command, 3, data, 2), test.result);
    EXPECT_EQ(monitor.Take(), test.wires);
  }
  for (const Case& test :
       {Case{"nak@2", 0, "S F4+ 20- 21+ 22+ P"}, Case{"nak@4", 0, "S F4+ 20+ 21+ 22- P"},
        Case{"nak@5", 0, "S F4+ 20+ 21+ 22+ 31- 32+ P"}}) {
    SCOPED_TRACE(test.nak);
    Connect(std::string("adapter=") + GetParam().name + ",fault=" + test.nak);
    EXPECT_EQ(I2cLib_Write(0, 0xF4, command, 3, data, 2), test.result);
    EXPECT_EQ(monitor.Take(), test.wires);
  }
  uint8_t byte = 0x3C;
  const auto connect = [&](const char* nak) {
    Connect(std::string("adapter=") + GetParam().name + ",fault=" + nak);
  };
  connect("nak@2");
  EXPECT_EQ(I2cLib_WriteRead(0, 0xF4, command, 2, &byte, 1), 0);
  EXPECT_EQ(monitor.Take(), "S F4+ 20- 21+ P");
  connect("nak@3");
  EXPECT_EQ(I2cLib_WriteRead(0, 0xF4, command, 1, &byte, 1), 0);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ Sr F5- P");
  connect("nak@1");
  EXPECT_EQ(I2cLib_Read(0, 0xF4, &byte, 1), 0);
  EXPECT_EQ(monitor.Take(), "S F5- P");
  EXPECT_EQ(byte, 0x3C);

  connect("nak@1");
  EXPECT_EQ(I2cWriteHead(0xF4, 0x10), 0u);
  I2c_Stop();
  EXPECT_EQ(monitor.Take(), "S F4- P");
  connect("nak@2");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), 0u);
  EXPECT_EQ(monitor.Take(), "S F4+ 10- P");
  connect("nak@3");
  EXPECT_EQ(I2cWriteByte(0xF4, 0x10, 0x55), 0u);
  EXPECT_EQ(monitor.Take(), "S F4+ 10+ 55- P");
  connect("nak@2");
  EXPECT_EQ(I2cReadByte(0xF4, 0x10, &byte), 0u);
  EXPECT_EQ(monitor.Take(), "S F4+ 10- P");
  connect("nak@3");
  EXPECT_EQ(I2cReadByte(0xF4, 0x10, &byte), 0u);
  EXPECT_EQ(monitor.Take(), "S F4+ 10+ Sr F5- P");

  // Of a block read only the read address counts.
  connect("nak@1");
  EXPECT_EQ(I2cReadData(0xF4, command, 2, nullptr, 0), 1u);
  EXPECT_EQ(monitor.Take().substr(0, 12), "S F4- Sr F5+");
  connect("nak@2");
  EXPECT_EQ(I2cReadData(0xF4, command, 2, nullptr, 0), 1u);
  EXPECT_EQ(monitor.Take().substr(0, 20), "S F4+ 20- 21+ Sr F5+");
  connect("nak@4");
  EXPECT_EQ(I2cReadData(0xF4, command, 2, &byte, 1), 0u);
  EXPECT_EQ(monitor.Take(), "S F4+ 20+ 21+ Sr F5- P");
  EXPECT_EQ(byte, 0x3C);
}

TEST_P(I2cOnWires, BufferTransactions) {
  const uint8_t first[] = {0x40, 0x01};
  const uint8_t second[] = {0x02, 0x03};
  EXPECT_EQ(I2cLib_Write(9, 0x00F5, first, 2, second, 2), 1);  // bit 0 is cleared
  EXPECT_EQ(monitor.Take(), "S F4+ 40+ 01+ 02+ 03+ P");
  uint8_t back[3] = {};
  EXPECT_EQ(I2cLib_WriteRead(9, 0xF4, first, 1, back, 3), 1);
  EXPECT_EQ(monitor.Take(), "S F4+ 40+ Sr F5+ 01+ 02+ 03- P");
  EXPECT_EQ(back[2], 3);
  EXPECT_EQ(I2cLib_W1Byte(0, 0xF4, 0x41), 1);
  EXPECT_EQ(monitor.Take(), "S F4+ 41+ P");
  EXPECT_EQ(I2cLib_Read(0, 0xF4, back, 2), 1);
  EXPECT_EQ(monitor.Take(), "S F5+ 02+ 03- P");
  EXPECT_EQ(I2cLib_W2Bytes(0, 0xF4, 0x41, 0x99), 1);
  EXPECT_EQ(monitor.Take(), "S F4+ 41+ 99+ P");
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF4, 0x41, back), 1);
  EXPECT_EQ(monitor.Take(), "S F4+ 41+ Sr F5+ 99- P");
  EXPECT_EQ(back[0], 0x99);
}

// 0xF2A5 is the 10-bit address 0x1A5 in two-byte form.
TEST_P(I2cOnWires, TenBitAddresses) {
  const uint8_t bytes[] = {0x05, 0x66};
  EXPECT_EQ(I2cLib_Write(0, 0xF3A5, bytes, 2, nullptr, 0), 1);
  EXPECT_EQ(monitor.Take(), "S F2+ A5+ 05+ 66+ P");
  uint8_t back = 0;
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF2A5, 0x05, &back), 1);
  EXPECT_EQ(monitor.Take(), "S F2+ A5+ 05+ Sr F3+ A5+ 66- P");
  EXPECT_EQ(back, 0x66);
  // Both address bytes go out whoever acknowledges.
  EXPECT_EQ(I2cLib_Write(0, 0xF6A5, bytes, 2, nullptr, 0), 0);
  EXPECT_EQ(monitor.Take(), "S F6- A5- P");
}

TEST_P(I2cOnWires, NullBuffersMoveNoLine) {
  const uint64_t before = HardwareAccesses();
  const uint8_t byte = 0;
  EXPECT_EQ(I2c_Rx(nullptr, 1), 1u);
  EXPECT_EQ(I2cRead(nullptr, 1), 0u);
  EXPECT_EQ(I2cReadByte(0xF4, 0, nullptr), 0u);
  EXPECT_EQ(I2cWriteData(0xF4, nullptr, 1, &byte, 1), 0u);
  EXPECT_EQ(I2cWriteData(0xF4, &byte, 1, nullptr, 1), 0u);
  EXPECT_EQ(I2cReadData(0xF4, &byte, 1, nullptr, 1), 0u);
  EXPECT_EQ(I2cLib_Write(0, 0xF4, nullptr, 1, nullptr, 0), 0);
  EXPECT_EQ(I2cLib_Read(0, 0xF4, nullptr, 1), 0);
  EXPECT_EQ(I2cLib_WriteRead(0, 0xF4, &byte, 1, nullptr, 1), 0);
  EXPECT_EQ(I2cLib_W1ByteR1Byte(0, 0xF4, 0, nullptr), 0);
  EXPECT_EQ(I2c_String(nullptr), 1u);
  EXPECT_EQ(I2c_ReadString(nullptr, "F4-70-F5="), 1u);
  char text[8] = "before";
  EXPECT_EQ(I2c_ReadString(text, nullptr), 1u);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(I2c_ReadStringEx(nullptr), -2);
  EXPECT_EQ(Lpt_Input(nullptr), 1u);
  SPIReadByte(0, nullptr);
  EXPECT_EQ(SPIProgramFromFile(0, 256, nullptr, 1), 0u);
  EXPECT_EQ(SPIProgramToFile(0, 256, nullptr), 0u);
  EXPECT_EQ(HardwareAccesses(), before);
}

struct StringCase {
  const char* command;
  uint32_t result;
  const char* wires;
};

TEST_P(I2cOnWires, WriteStrings) {
  for (const StringCase& test : {
           StringCase{"F4-02-55", 0, "S F4+ 02+ 55+ P"},
           {"F4-10=1234.", 0, "S F4+ 10+ 34+ 12+ P"},
           {"F4-10+123456", 0, "S F4+ 10+ 56+ 34+ 12+ P"},
           {"F4-10-01=0203", 0, "S F4+ 10+ 01+ 03+ 02+ P"},
           {"F4-10", 0, "S F4+ 10+ P"},
           {"F4-10.", 0, "S F4+ 10+ P"},
           {"F4-10-01.-02", 0, "S F4+ 10+ 01+ P"},  // the stop ends the command
           {"f4x0a-fF", 0, "S F4+ 0A+ FF+ P"},
           {"F4-10-1G", 0, "S F4+ 10+ 00+ P"},
           {"F4-10-G1-22", 0, "S F4+ 10+ 00+ 22+ P"},
           {"F4-10=12G4", 0, "S F4+ 10+ 00+ 12+ P"},
           {"F4-10*12", 1, "S F4+ 10+ P"},
           {"F4-10-11*", 1, "S F4+ 10+ 11+ P"},
           {"42-10-11", 1, "S 42- P"},
           // Blanks before digits are skipped inside the field only, so what follows is misread.
           {"F4- 10-1", 1, "S F4+ 10+ P"},
           {"F4-10-\t", 1, "S F4+ 10+ P"},
           {"F4-10- ", 1, "S F4+ 10+ P"},
           {"F4-10-  ", 0, "S F4+ 10+ 00+ P"},
           // Cut short.
           {"", 1, ""},
           {"F", 1, ""},
           {"F4", 1, ""},
           {"F4-1", 1, ""},
           {"F4-10-", 1, "S F4+ 10+ P"},
           {"F4-10-1", 1, "S F4+ 10+ P"},
           {"F4-10=123", 1, "S F4+ 10+ P"},
           {"F4-10+12345", 1, "S F4+ 10+ P"},
       }) {
    SCOPED_TRACE(test.command);
    EXPECT_EQ(I2c_String(test.command), test.result);
    EXPECT_EQ(monitor.Take(), test.wires);
  }
}

TEST_P(I2cOnWires, ReadStrings) {
  EXPECT_EQ(I2c_String("F4-40+AB0CDE"), 0u);  // registers 40 41 42 = DE 0C AB
  monitor.Take();
  struct Case {
    const char* command;
    uint32_t result;
    const char* text;
    int32_t value;
    const char* wires;
  };
  for (const Case& test : {
           Case{"F4-40-F5-", 0, "DE", 0xDE, "S F4+ 40+ Sr F5+ DE- P"},
           {"F4-41-F5-", 0, "0C", 0x0C, "S F4+ 41+ Sr F5+ 0C- P"},
           {"f4-40-f5=", 0, "0CDE", 0x0CDE, "S F4+ 40+ Sr F5+ DE+ 0C- P"},
           {"F4-40-F5+", 0, "AB0CDE", 0xAB0CDE, "S F4+ 40+ Sr F5+ DE+ 0C+ AB- P"},
           {"F4-40-F5=ignored", 0, "0CDE", 0x0CDE, "S F4+ 40+ Sr F5+ DE+ 0C- P"},
           {"F4-40-F5?", 0, "untouched", 0, "S F4+ 40+ Sr F5+ P"},
           {"42-40-43=", 1, "", -2, "S 42- P"},
           {"F4-40-F5", 1, "", -2, ""},
           {"F4-40", 1, "", -2, ""},
           {"", 1, "", -2, ""},
           // The read address's acknowledge is not examined.
           {"F4-40-43-", 0, "FF", 0xFF, "S F4+ 40+ Sr 43- FF- P"},
       }) {
    SCOPED_TRACE(test.command);
    char text[16] = "untouched";
    EXPECT_EQ(I2c_ReadString(text, test.command), test.result);
    EXPECT_STREQ(text, test.text);
    EXPECT_EQ(monitor.Take(), test.wires);
    EXPECT_EQ(I2c_ReadStringEx(test.command), test.value);
    EXPECT_EQ(monitor.Take(), test.wires);
  }
}

// Only the device's acknowledge ends a string command.
TEST_P(I2cOnWires, MissingAcknowledgesInStrings) {
  for (const char* nak : {"nak@2", "nak@3"}) {
    SCOPED_TRACE(nak);
    const bool value = std::strcmp(nak, "nak@3") == 0;
    Connect(std::string("adapter=") + GetParam().name + ",fault=" + nak);
    EXPECT_EQ(I2c_String("F4-10-11-22"), 0u);
    EXPECT_EQ(monitor.Take(), value ? "S F4+ 10+ 11- 22+ P" : "S F4+ 10- 11+ 22+ P");
  }
  Connect(std::string("adapter=") + GetParam().name + ",fault=nak@2");
  EXPECT_EQ(I2c_ReadStringEx("F4-70-F5-"), 0);
  EXPECT_EQ(monitor.Take().substr(0, 14), "S F4+ 70- Sr F");
}

// Single bits are built on the byte that Lpt_Output wrote last for the same device type, without
// its two lowest bits.
TEST_P(I2cOnWires, SingleBitsOnTheOutputByte) {
  const uint8_t bit = GetParam().deviceType == 0 ? 0x01 : 0x80;
  EXPECT_EQ(Lpt_Output(0x57), 0u);
  BriskSetDevice(GetParam().deviceType == 0 ? 5 : 0);
  EXPECT_EQ(Lpt_Output(0xA3), 0u);
  BriskSetDevice(GetParam().deviceType);
  I2c_BitOut(0);
  EXPECT_EQ(bench().ports().In(0x378), 0x54);
  I2c_BitOut(0x40);
  EXPECT_EQ(bench().ports().In(0x378), 0x54 | bit);
}

// A line that is held low: every operation ends, and reports it where its result can.
TEST_P(I2cOnWires, StuckLines) {
  for (const char* fault : {"sda-low", "scl-low"}) {
    SCOPED_TRACE(fault);
    Connect(std::string("adapter=") + GetParam().name + ",fault=" + fault);
    uint8_t data = 0x3C;
    const uint32_t result = I2cReadByte(0xF4, 0x10, &data);
    if (std::strcmp(fault, "sda-low") == 0) {
      EXPECT_EQ(result, 1u);  // the line looks like an acknowledge, and like data bits of 0
      EXPECT_EQ(data, 0);
    } else {
      EXPECT_EQ(result, 0u);  // nobody sees a clock, so nobody acknowledges
    }
  }
}

}  // namespace
}  // namespace brisk
