#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "adapters/ftdi/command_queue.h"
#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/registry.h"
#include "adapters/ftdi/status.h"

namespace brisk::ftdi {

inline constexpr uint32_t kAnswerTimeoutMs = 5000;
inline constexpr size_t kInputBufferSize = 0x20000;

// True when more than `milliseconds` have passed since the local time `start`; also when the user
// has set the clock back behind it, so that no wait outlives a change of the clock.
bool TimedOut(int64_t start, uint32_t milliseconds);

// True when the list positions of this D2XX device type and description belong to the family.
bool IsFullSpeedInterface(uint32_t type, std::string_view description);
bool IsHiSpeedInterface(uint32_t type, std::string_view description);
// "A" or "B" from a hi-speed description, in any case of letters; 0 for neither.
char ChannelOf(std::string_view description);

// Positions in D2XX's device list of the interfaces that match, as many as there are.
using DeviceList = std::vector<uint32_t>;

// FT2232C interfaces and what both speeds share: finding and opening, MPSSE mode, and the command
// queue through which every handle's commands go. Locked by its owner.
class CMpsseDevices {
 public:
  explicit CMpsseDevices(D2xx& d2xx) : d2xx_(d2xx) {}
  CMpsseDevices(const CMpsseDevices&) = delete;
  CMpsseDevices& operator=(const CMpsseDevices&) = delete;

  // `counting` leaves out the interfaces that somebody has open.
  Status ListDevices(bool counting, DeviceList* list);
  Status GetDeviceNameLocation(uint32_t index, char* name, uint32_t nameSize, uint32_t* location);
  Status OpenByNameLocation(const char* name, uint32_t location, uint32_t* handle);
  Status OpenTheDevice(uint32_t* handle);
  Status CloseFullSpeed(uint32_t handle);
  Status IsOpenFullSpeed(uint32_t handle);

  // The steps from a fresh handle to a synchronised MPSSE, stopping at the first failure.
  Status Configure(uint32_t handle);
  Status ResetAndPurge(uint32_t handle);
  Status SetLatency(uint32_t handle, uint8_t milliseconds);
  Status GetLatency(uint32_t handle, uint8_t* milliseconds);
  Status Synchronise(uint32_t handle);

  void ClearQueue() { queue_->Clear(); }
  void Queue(uint8_t byte, bool clearFirst = false) {
    if (clearFirst) queue_->Clear();
    queue_->Append(byte);
  }
  // Sends the queue in pieces of at most 4096 bytes; it is empty afterwards whatever happened. An
  // empty queue costs no transfer. A short write of one piece is final; a longer queue goes on
  // behind what was written, and fails with 20 after 5 seconds without progress.
  Status Flush(uint32_t handle);
  // Clears the queue and sends these commands alone.
  Status SendCommands(uint32_t handle, std::span<const uint8_t> commands);

  // Waits until answer bytes are there: 20 after 5 seconds.
  Status WaitForAnswer(uint32_t handle, uint32_t* count);
  // Waiting bytes into `input`, as many as fit; the rest stays waiting.
  Status ReadWaiting(uint32_t handle, std::span<const uint8_t>* bytes);
  Status DropWaiting(uint32_t handle);

  static uint32_t FullSpeedClock(uint32_t divisor);
  Status SetLoopback(uint32_t handle, bool on);

  // Commands go to another queue than the object's own while one of these lives.
  class QueueSelection {
   public:
    QueueSelection(CMpsseDevices& devices, CommandQueue& queue)
        : devices_(devices), previous_(devices.queue_) {
      devices_.queue_ = &queue;
    }
    ~QueueSelection() { devices_.queue_ = previous_; }
    QueueSelection(const QueueSelection&) = delete;
    QueueSelection& operator=(const QueueSelection&) = delete;

   private:
    CMpsseDevices& devices_;
    CommandQueue* previous_;
  };

 protected:
  using Matcher = bool (*)(uint32_t type, std::string_view description);

  Status Enumerate(Matcher matches, bool unopenedOnly, DeviceList* list);
  // As Enumerate, with no match being a failure.
  Status EnumerateSome(Matcher matches, DeviceList* list);
  Status Detail(Matcher matches, uint32_t index, DeviceDetail* detail);
  static Status CopyName(const std::string& description, char* name, uint32_t nameSize);
  D2xx& d2xx() { return d2xx_; }

 private:
  Status VerifyNameLocation(std::string_view name, uint32_t location);
  Status EchoTest(uint32_t handle, uint8_t command, bool resend);
  Status WriteInPieces(uint32_t handle, std::span<const uint8_t> bytes);

  D2xx& d2xx_;
  Registry<OpenDeviceRecord> registry_;
  CommandQueue ownQueue_;
  CommandQueue* queue_ = &ownQueue_;
  std::array<uint8_t, kInputBufferSize> input_;
};

}  // namespace brisk::ftdi
