#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files.h"
#include "flash_chip.h"
#include "outcome.h"
#include "session.h"

namespace brisk::tool {

// The steps of the flash commands. Each throws why it failed.
class FlashJob {
 public:
  FlashJob(Session& session, const FlashChip& chip) : session_(session), chip_(chip) {}

  void EraseChip();
  // `address` and `size` in whole sectors.
  void EraseSectors(uint32_t address, uint32_t size);

  // Programs `image`, the first bytes of `file`.
  void Program(const std::string& file, const std::vector<uint8_t>& image, uint32_t address);

  // Reads into `file`, and checks that all of it is there.
  void ReadToFile(const std::string& label, const std::string& file, uint32_t address,
                  uint32_t size);

  void Verify(const std::vector<uint8_t>& expected, uint32_t address);

 private:
  // The library waits at most 5 seconds for an erase, and a whole chip can take minutes. A busy
  // flash ignores the identification command.
  bool WaitReady();

  Session& session_;
  const FlashChip& chip_;
  ScratchFolder scratch_;
};

}  // namespace brisk::tool
