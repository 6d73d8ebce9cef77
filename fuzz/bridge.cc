// Arbitrary bytes, at arbitrary times, as the answers of both bridges to every operation: each ends
// within its waits, and nothing is written beyond what the operation stores.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "api/attach.h"
#include "sim/config/bench.h"
#include "tests/support/scripted_port.h"

namespace {

constexpr uint64_t kMs = 1'000'000;
constexpr uint8_t kPort = 12;

// Bytes of the input: what to call, then what answers every write.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  uint8_t Byte() { return at_ < size_ ? data_[at_++] : uint8_t{0}; }
  bool Empty() const { return at_ >= size_; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

void Operate(Input& input) {
  // Exact allocations, so that one byte further is caught.
  const size_t length = input.Byte() % 8;
  std::vector<uint8_t> in(length, 0x5A);
  std::vector<uint8_t> out(length, 0xA5);
  std::vector<char> text(input.Byte() % 48, '9');
  text.push_back('\0');
  auto count = std::make_unique<char>(static_cast<char>(input.Byte()));
  auto word = std::make_unique<uint32_t>(0);
  auto byte = std::make_unique<uint8_t>(uint8_t{0});
  const auto size = static_cast<uint32_t>(length);
  const uint16_t address = (input.Byte() & 1) != 0 ? 0xF234 : 0x00A0;
  switch (input.Byte() % 14) {
    case 0:
      I2c_Tx(input.Byte());
      break;
    case 1:
      I2c_Rx(word.get(), input.Byte());
      break;
    case 2:
      I2cWrite(input.Byte());
      break;
    case 3:
      I2cRead(byte.get(), 1);
      break;
    case 4:
      I2c_ReadString(count.get(), text.data());
      break;
    case 5:
      I2c_WriteString(count.get(), text.data());
      break;
    case 6:
      I2cLib_Write(0, address, in.data(), size, in.data(), size);
      break;
    case 7:
      I2cLib_Read(0, address, out.data(), size);
      break;
    case 8:
      I2cLib_WriteRead(0, address, in.data(), size, out.data(), size);
      break;
    case 9:
      I2cWriteByte(0xF4, 1, 2);
      break;
    case 10:
      I2cReadByte(0xF4, 1, byte.get());
      break;
    case 11:
      I2cWriteData(0xF4, in.data(), size, in.data(), size);
      break;
    case 12:
      I2cReadData(0xF4, in.data(), size, out.data(), size);
      break;
    default:
      I2cLib_W1ByteR1Byte(0, address, 1, byte.get());
      break;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool attached = [] {
    if (!brisk::sim::ReplaceBench("adapter=none").empty()) std::abort();
    brisk::AttachLibrary();
    return true;
  }();
  if (!attached || size < 2) return 0;
  Input input(data, size);
  brisk::ScriptedLine line;
  brisk::sim::Bench& bench = brisk::sim::bench();
  line.PlugInto(bench, kPort);
  line.onWrite = [&](std::string_view) {
    for (uint8_t left = input.Byte() % 12; left > 0; --left) {
      const char byte = static_cast<char>(input.Byte());
      line.Reply({&byte, 1}, input.Byte() % 32 * kMs);
    }
  };
  const bool text = (input.Byte() & 1) != 0;
  BriskSetDevice(text ? 7 : 3);
  // Half of the time the handshake is answered properly, so that operations run connected.
  if ((input.Byte() & 1) != 0) {
    const auto answers = std::exchange(line.onWrite, [&](std::string_view written) {
      if (written == "TalvoCli\n") line.Reply("CLI_ACK");
      if (written == "uart_2_i2c\n") line.Reply("UI2C_ACK");
      if (written == "MagicCli\n") line.Reply("CLIMagic\n");
    });
    text ? uart_mag_connect(kPort, 115200) : uart_connect(kPort, 115200);
    line.onWrite = answers;
  } else {
    text ? uart_mag_connect(kPort, 115200) : uart_connect(kPort, 115200);
  }
  while (!input.Empty()) {
    const uint64_t start = bench.clock().Now();
    Operate(input);
    // At most 21 ms for each of the waits, four for a received byte; 18 bytes in a transaction.
    if (bench.clock().Now() - start > 4 * 18 * 31 * kMs) std::abort();
  }
  line.onWrite = [](std::string_view) {};
  uart_disconnect();
  uart_mag_disconnect();
  return 0;
}
