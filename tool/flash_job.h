#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "files.h"
#include "flash_chip.h"
#include "outcome.h"
#include "session.h"

namespace brisk::tool {

// The steps of the flash commands. Each returns why it failed, or nothing.
class FlashJob {
 public:
  FlashJob(Session& session, const FlashChip& chip) : session_(session), chip_(chip) {}

  std::optional<Failure> EraseChip();
  // `address` and `size` in whole sectors.
  std::optional<Failure> EraseSectors(uint32_t address, uint32_t size);

  // Programs `image`, the first bytes of `file`.
  std::optional<Failure> Program(const std::string& file, const std::vector<uint8_t>& image,
                                 uint32_t address);

  // Reads into `file`, and checks that all of it is there.
  std::optional<Failure> ReadToFile(const std::string& label, const std::string& file,
                                    uint32_t address, uint32_t size);

  std::optional<Failure> Verify(const std::vector<uint8_t>& expected, uint32_t address);

 private:
  // The library waits at most 5 seconds for an erase, and a whole chip can take minutes. A busy
  // flash ignores the identification command.
  bool WaitReady();
  Failure Stopped(const std::string& tried, const std::string& state) const;

  Session& session_;
  const FlashChip& chip_;
  ScratchFolder scratch_;
};

}  // namespace brisk::tool
