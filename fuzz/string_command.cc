// Arbitrary text as string commands: nothing is read beyond the terminator, every command that
// started the bus stops it, and a read writes at most seven characters.
#include "i2c/string_command.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

// A bus whose answers come from the fuzzer's input.
class Bus : public brisk::i2c::Bus {
 public:
  explicit Bus(uint8_t answers) : answers_(answers) {}
  void I2c_Start() override { started = true; }
  void I2c_RStart() override { started = true; }
  void I2c_Stop() override { started = false; }
  uint32_t I2c_Tx(uint32_t byte) override {
    if (byte > 0xFF) std::abort();
    return answers_ & 1;
  }
  uint32_t I2c_Rx(uint32_t* data, uint32_t) override {
    *data = answers_;
    return answers_ >> 1 & 1;
  }
  bool started = false;

 private:
  uint8_t answers_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  Bus bus(data[0]);
  // An allocation of exactly the text and its NUL, so that one byte further is caught.
  std::vector<char> command(data + 1, data + size);
  command.push_back('\0');
  command.shrink_to_fit();

  brisk::i2c::String(bus, command.data());
  if (bus.started) std::abort();
  std::vector<char> result(7, '#');
  brisk::i2c::ReadString(bus, result.data(), command.data());
  if (bus.started) std::abort();
  const int32_t value = brisk::i2c::ReadStringEx(bus, command.data());
  if (bus.started || value < -2 || value > 0xFFFFFF) std::abort();
  return 0;
}
