#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "adapters/ftdi/command_queue.h"
#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/status.h"
#include "base/bytes.h"
#include "platform/clock.h"

namespace brisk::ftdi {

inline constexpr uint32_t kAnswerTimeoutMs = 5000;
inline constexpr size_t kInputBufferSize = 0x20000;

// True when more than `milliseconds` have passed since the local time `start`; also when the user
// has set the clock back behind it, so that no wait outlives a change of the clock.
bool TimedOut(Clock& clock, int64_t start, uint32_t milliseconds);

// The line to the MPSSEs: commands gather in a queue, a flush sends them to one interface, and the
// answers are fetched. One queue serves all handles unless another is selected. Waits for answers
// last at most 5 seconds and then give kCommandNotCompleted. Locked by its owner; a flush allocates
// nothing.
class MpsseLine {
 public:
  MpsseLine(D2xx& d2xx, Clock& clock) : d2xx_(d2xx), clock_(clock) {}
  MpsseLine(const MpsseLine&) = delete;
  MpsseLine& operator=(const MpsseLine&) = delete;

  // The steps from a fresh handle to a synchronised MPSSE, stopping at the first failure.
  StatusCode Configure(uint32_t handle);
  // How long the chip keeps a short answer back; below 2 ms is refused.
  StatusCode SetLatency(uint32_t handle, uint8_t milliseconds);
  Answer<uint8_t> GetLatency(uint32_t handle) { return d2xx_.GetLatencyTimer(handle); }

  void ClearQueue() { queue_->Clear(); }
  void Queue(uint8_t byte) { queue_->Append(byte); }
  void Queue(std::initializer_list<uint8_t> bytes) {
    for (const uint8_t byte : bytes) queue_->Append(byte);
  }
  // Sends the queue in pieces of at most 4096 bytes; it is empty afterwards whatever happened. An
  // empty queue costs no transfer. A short write of one piece is final; a longer queue goes on
  // behind what was written, and fails with 20 after 5 seconds without progress.
  StatusCode Flush(uint32_t handle);
  // Clears the queue and sends these commands alone.
  StatusCode SendCommands(uint32_t handle, Bytes commands);
  StatusCode SendCommands(uint32_t handle, std::initializer_list<uint8_t> commands) {
    return SendCommands(handle, Bytes(commands.begin(), commands.size()));
  }

  StatusCode WaitForAnswer(uint32_t handle);
  // Waiting bytes, as many as fit into the input buffer; the rest stays waiting. They last until
  // the next call.
  Answer<Bytes> ReadWaiting(uint32_t handle);
  StatusCode DropWaiting(uint32_t handle);

  Clock& clock() { return clock_; }

  // Commands go to another queue than the object's own while one of these lives.
  class QueueSelection {
   public:
    QueueSelection(MpsseLine& line, CommandQueue& queue) : line_(line), previous_(line.queue_) {
      line_.queue_ = &queue;
    }
    ~QueueSelection() { line_.queue_ = previous_; }
    QueueSelection(const QueueSelection&) = delete;
    QueueSelection& operator=(const QueueSelection&) = delete;

   private:
    MpsseLine& line_;
    CommandQueue* previous_;
  };

 private:
  StatusCode Synchronise(uint32_t handle);
  bool FindsEcho(uint32_t handle, uint8_t command, bool resend);
  bool ScanForEcho(uint32_t handle, uint32_t waiting, uint8_t command, bool* afterEcho);
  StatusCode WriteInPieces(uint32_t handle, Bytes bytes);
  Buffer Piece(uint32_t waiting) { return Buffer(input_).first(std::min(waiting, kMostInput)); }

  static constexpr uint32_t kMostInput = kInputBufferSize;

  D2xx& d2xx_;
  Clock& clock_;
  CommandQueue ownQueue_;
  CommandQueue* queue_ = &ownQueue_;
  std::array<uint8_t, kInputBufferSize> input_;
};

}  // namespace brisk::ftdi
