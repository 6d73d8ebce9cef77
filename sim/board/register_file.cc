#include "sim/board/register_file.h"

namespace brisk::sim {

uint16_t RegisterFile::Register16(uint8_t address) const {
  const uint8_t high = registers_[static_cast<uint8_t>(address + 1)];
  return static_cast<uint16_t>(high << 8 | registers_[address]);
}

void RegisterFile::SetRegister16(uint8_t address, unsigned value) {
  registers_[address] = static_cast<uint8_t>(value);
  registers_[static_cast<uint8_t>(address + 1)] = static_cast<uint8_t>(value >> 8);
}

bool RegisterFile::Addressed(bool read) {
  subAddressNext_ = !read;
  return true;
}

bool RegisterFile::Receive(uint8_t byte) {
  if (subAddressNext_) {
    subAddress_ = byte;
    subAddressNext_ = false;
  } else {
    registers_[subAddress_++] = byte;
  }
  return true;
}

}  // namespace brisk::sim
