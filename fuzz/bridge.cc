// Arbitrary bytes, at arbitrary times, as the answers of both bridges to every operation: each ends
// within its waits, and nothing is written beyond what the operation stores.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"

#include "api/attach.h"
#include "sim/config/bench.h"
#include "tests/support/calls.h"
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
  // Allocations of exactly the sizes in the calls, so that one byte further is caught.
  const std::string size = std::to_string(input.Byte() % 8);
  const std::string bytes = size == "0" ? "-" : "5A*" + size;
  const std::string address = (input.Byte() & 1) != 0 ? "F234" : "A0";
  std::string text(input.Byte() % 48, '9');
  auto count = std::make_unique<char>(static_cast<char>(input.Byte()));
  const std::string calls[] = {"I2c_Tx 5A",
                               "I2c_Rx 1",
                               "I2cWrite 5A",
                               "I2cRead 1 1",
                               "I2cLib_Write 0 " + address + ' ' + bytes + ' ' + bytes,
                               "I2cLib_Read 0 " + address + ' ' + size,
                               "I2cLib_WriteRead 0 " + address + ' ' + bytes + ' ' + size,
                               "I2cLib_W1ByteR1Byte 0 " + address + " 1 1",
                               "I2cWriteByte F4 1 2",
                               "I2cReadByte F4 1 1",
                               "I2cWriteData F4 " + bytes + ' ' + bytes,
                               "I2cReadData F4 " + bytes + ' ' + size};
  const size_t which = input.Byte() % (std::size(calls) + 2);
  if (which < std::size(calls)) {
    brisk::CallLine(calls[which]).Run();
  } else {
    text.shrink_to_fit();
    (which == std::size(calls) ? I2c_ReadString : I2c_WriteString)(count.get(), text.c_str());
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
  const auto answers = line.onWrite;
  if ((input.Byte() & 1) != 0) {
    line.onWrite = [&](std::string_view written) {
      if (written == "TalvoCli\n") line.Reply("CLI_ACK");
      if (written == "uart_2_i2c\n") line.Reply("UI2C_ACK");
      if (written == "MagicCli\n") line.Reply("CLIMagic\n");
    };
  }
  text ? uart_mag_connect(kPort, 115200) : uart_connect(kPort, 115200);
  line.onWrite = answers;
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
