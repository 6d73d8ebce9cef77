#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "sim/adapters/bridges/bridge_firmware.h"

namespace brisk::sim {

// A serial line with a bridge at its far end. Each byte takes ten bit times, in each direction, and
// the bridge works while the PC looks at the line: what it does is dated by the bytes' arrival. The
// bridge follows the PC's rate.
class SerialLine final : public BridgeLine {
 public:
  SerialLine(FirmwareMaker firmware, const Site& site);

  // 0 = bytes take no time.
  void SetRate(uint32_t bitsPerSecond);
  // How long a streaming bridge waits before each character, at the least.
  void SetLeastPause(uint64_t nanoseconds) { leastPause_ = nanoseconds; }

  // The PC's side. What is sent goes out now, or did so at the time that the caller knows better.
  void Send(std::span<const uint8_t> bytes);
  void Send(std::span<const uint8_t> bytes, uint64_t at);
  // What has arrived by now; Take returns how much of it there was. An unplugged line has nothing.
  size_t Waiting();
  size_t Take(uint8_t* buffer, size_t count);
  void DropReceived() { toPc_.clear(); }
  // Lets time pass until the bridge has taken everything that was sent.
  void Settle();
  // When something happens next without the PC doing anything; nullopt = never.
  std::optional<uint64_t> WakeAt() const;

  // Every byte that the PC sent since the last call.
  std::vector<uint8_t> TakeSent();

  // The bridge's side. Faults of the line (silence, delays, junk) strike here, an answer at a time;
  // the line goes with a byte, in either direction.
  void Answer(std::span<const uint8_t> bytes) override;

 private:
  struct Byte {
    uint8_t value;
    uint64_t at;  // when its stop bit has passed
  };

  bool Gone() const;
  void Run();
  std::optional<uint64_t> NextEvent() const;
  std::optional<uint64_t> NextStream() const;
  uint64_t BridgeTime() const;
  void Put(uint8_t value, uint64_t notBefore);

  VirtualClock& clock_;
  Faults& faults_;
  uint64_t byteNs_ = 0;
  uint64_t leastPause_ = 100'000;
  std::deque<Byte> toBridge_;
  std::deque<Byte> toPc_;
  uint64_t toBridgeFree_ = 0;  // when the last byte on the line has passed
  uint64_t toPcFree_ = 0;      // likewise
  uint64_t bridgeFree_ = 0;    // when the bridge has done what it was doing last
  uint64_t eventAt_ = 0;       // when it began that, on its own time
  uint64_t eventBegun_ = 0;    // and on the clock
  std::vector<uint8_t> sent_;
  std::unique_ptr<BridgeFirmware> firmware_;
};

}  // namespace brisk::sim
