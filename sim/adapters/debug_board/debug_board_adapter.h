#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "brisk/brisk_types.h"

#include "sim/board/board_master.h"
#include "sim/config/adapter.h"
#include "sim/config/bench.h"

namespace brisk::sim {

// The USB debug board: what its firmware does with the packets on its two pipes. A command packet
// on pipe 0 is followed by a data packet, there or (for commands that answer) on pipe 1, and by a
// status byte on pipe 1: 0, or 1 after a command that the board does not know or a byte that no I2C
// device acknowledged. A transfer out of that order fails and the board waits for a command again,
// which a packet on pipe 0 in place of the reply's or status byte's transfer already is.
class DebugBoardAdapter final : public Adapter {
 public:
  static constexpr size_t kPacket = 64;

  explicit DebugBoardAdapter(Bench& bench);
  ~DebugBoardAdapter() override;

  bool Present();
  bool WritePipe0(std::span<const uint8_t> packet);
  // The reply, or the status byte. The result is the bytes that came, 0 when the transfer failed.
  size_t ReadPipe1(std::span<uint8_t> packet);

  uint8_t port(uint8_t number) const { return ports_[number]; }
  void SetPort(uint8_t number, uint8_t value) { ports_[number] = value; }
  uint8_t lptOutput() const { return lptOutput_; }  // as it left the board, mirrored
  std::span<const uint8_t> pll() const { return pll_; }
  // System handles that the library's user still holds.
  int openHandles = 0;

 private:
  enum class Expects : uint8_t { kCommand, kData, kReply, kStatus };

  bool Answers();
  void Execute();
  bool Ports();
  bool Flash();
  bool Registers();
  void Script();
  bool ScriptStep(size_t at, bool reading, bool* end);
  void FlashCommand(uint8_t code, bool withAddress);

  Bench& bench_;
  BoardMaster master_;
  Expects expects_ = Expects::kCommand;
  std::array<uint8_t, kPacket> command_{};
  std::array<uint8_t, kPacket> data_{};
  uint8_t status_ = 0;
  bool gone_ = false;
  std::array<uint8_t, 256> ports_{};
  uint8_t lptOutput_ = 0;
  std::array<uint8_t, 14> pll_{};
};

std::unique_ptr<Adapter> MakeDebugBoard(Bench& bench, std::string* whyNot);

// The library's functions, on the board of the current bench. Handles are opaque.
void* BRISK_CALL WinIoOpenDev();
void* BRISK_CALL WinIoOpenPipe(const char* name);
uint32_t BRISK_CALL WinIoBulkWrite(void* pipe, void* buffer, uint32_t length, uint32_t* count);
uint32_t BRISK_CALL WinIoBulkRead(void* pipe, void* buffer, uint32_t length, uint32_t* count);
void BRISK_CALL WinIoCloseHandle(void* handle);

}  // namespace brisk::sim
