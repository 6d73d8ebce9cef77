#pragma once

#include <cstdint>

#include "base/status.h"

namespace brisk::image {

// The serial output of the controller's picture port: words of 1 to 32 bits, most significant
// first.
class WordWriter {
 public:
  virtual ~WordWriter() = default;
  virtual void SendWord(uint32_t bits, uint32_t value) = 0;
};

// Reads controller registers with string commands.
class RegisterReader {
 public:
  virtual ~RegisterReader() = default;
  virtual Outcome<uint32_t> ReadRegister(const char* command) = 0;
};

}  // namespace brisk::image
