// Arbitrary text as string commands: nothing is read beyond the terminator, and every command that
// started the bus stops it.
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
  void Start() override { started = true; }
  void RepeatedStart() override { started = true; }
  void Stop() override { started = false; }
  brisk::Status Send(uint8_t) override { return Answer(0, brisk::Cause::kNoAcknowledge); }
  brisk::Status Receive(uint8_t* byte, uint32_t) override {
    *byte = answers_;
    return Answer(1, brisk::Cause::kTimeOut);
  }
  bool started = false;

 private:
  brisk::Status Answer(unsigned bit, brisk::Cause cause) const {
    return (answers_ >> bit & 1) != 0 ? brisk::Status(cause) : brisk::Status();
  }
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

  brisk::i2c::StringCommands strings(bus);
  static_cast<void>(strings.Write(command.data()));
  if (bus.started) std::abort();
  const auto value = strings.Read(command.data());
  if (bus.started || value.value().number > 0xFFFFFF) std::abort();
  return 0;
}
