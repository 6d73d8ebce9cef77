#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "sim/board/wires.h"
#include "sim/common/file_handle.h"

namespace brisk::sim {

class Faults;
class VirtualClock;

struct FlashChip {
  const char* name;
  uint32_t id;  // JEDEC: manufacturer, memory type, capacity
  uint32_t size;
  uint32_t chipEraseMs;
};

std::span<const FlashChip> FlashChips();

// A serial NOR flash of the W25Q kind on the SPI lines, modes 0 and 3. It obeys write enable and
// disable, status, identification, read, page program, 64 KiB sector erase and chip erase; any
// other command is ignored, and all but status while it is busy. A command counts when chip select
// rises on a byte boundary.
//
// Busy times are the data sheets' typical ones: 0.7 ms a page, 150 ms a sector. The chip erase is
// quicker than real (0.5 s per MiB; W25Q parts take 3 to 40 s), so that with the smaller chips it
// ends within the 5 s that a driver may wait; the option `chip-erase-ms` sets the real one.
class NorFlash final : public SpiDevice {
 public:
  static constexpr uint32_t kPageSize = 256;
  static constexpr uint32_t kSectorSize = 0x10000;

  // Instructions, as every serial NOR flash of the 25 series knows them (JEDEC).
  enum Instruction : uint8_t {
    kPageProgram = 0x02,
    kReadData = 0x03,
    kWriteDisable = 0x04,
    kReadStatus = 0x05,
    kWriteEnable = 0x06,
    kReadIdentification = 0x9F,
    kChipErase = 0xC7,
    kSectorErase = 0xD8,
  };

  // `chipEraseMs` 0 = the chip's own.
  NorFlash(const FlashChip& chip, uint32_t chipEraseMs, VirtualClock& clock, Faults& faults);
  NorFlash(const NorFlash&) = delete;
  NorFlash& operator=(const NorFlash&) = delete;
  ~NorFlash() override = default;

  // Takes the contents from a file, which is created blank when it is missing and filled up to the
  // chip's size when it is shorter; from then on everything programmed or erased is written to it.
  // Empty when done, else what is wrong.
  std::string AttachImage(const std::string& path);

  void LinesChanged(bool cs, bool sck, bool mosi) override;
  bool Miso() const override { return miso_; }

  std::vector<uint8_t>& memory() { return memory_; }  // behind the file's back
  const FlashChip& chip() const { return chip_; }
  bool Busy() const;  // by the clock; with the fault flash-busy for as long as that says
  bool WriteEnabled() const { return writeEnabled_; }

 private:
  struct Command;

  void Selected();
  void Deselected();
  void ByteReceived(uint8_t byte);
  void CommandReceived(uint8_t code);
  uint8_t Status();
  uint8_t NextOfId();
  uint8_t NextData();
  void Program();
  void EraseSector();
  void Erase(uint32_t first, uint32_t count, uint64_t nanoseconds);
  void StayBusy(uint64_t nanoseconds);
  // Into the image file. When that fails, standard error is told once and the file is given up.
  void Save(uint32_t first, uint32_t count);

  static const Command kCommands[];

  const FlashChip& chip_;
  const uint64_t chipEraseNs_;
  VirtualClock& clock_;
  Faults& faults_;
  std::vector<uint8_t> memory_;
  FileHandle image_;

  const Command* command_ = nullptr;  // null = none yet, or one that is ignored
  bool cs_ = true;
  bool sck_ = false;
  bool miso_ = true;
  bool sending_ = false;
  uint32_t bits_ = 0;   // rising clock edges since selection, modulo 8
  uint32_t bytes_ = 0;  // whole bytes since selection
  uint8_t in_ = 0;
  uint8_t out_ = 0;
  uint32_t address_ = 0;
  std::array<uint8_t, kPageSize> latch_{};
  uint32_t latched_ = 0;  // data bytes received for the page
  bool writeEnabled_ = false;
  uint64_t busyUntil_ = 0;
};

}  // namespace brisk::sim
