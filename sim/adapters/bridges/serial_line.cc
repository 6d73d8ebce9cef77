#include "sim/adapters/bridges/serial_line.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "sim/common/faults.h"
#include "sim/common/virtual_clock.h"

namespace brisk::sim {
namespace {

// Long enough for the PC to say that it has read enough, well within any PC's reply time-out.
constexpr uint64_t kPauseBytes = 8;
constexpr size_t kInputQueue = 4096;  // of the PC's port; what comes beyond it is lost
constexpr uint64_t kNsPerMs = 1'000'000;
constexpr uint8_t kJunk[] = {0x00, 0x7E, 0x55, 0x0D};

}  // namespace

SerialLine::SerialLine(FirmwareMaker firmware, const Site& site)
    : clock_(site.clock), faults_(site.faults), firmware_(firmware(site, *this)) {}

void SerialLine::SetRate(uint32_t bitsPerSecond) {
  byteNs_ = bitsPerSecond == 0 ? 0 : 10'000'000'000ULL / bitsPerSecond;
}

bool SerialLine::Gone() const { return faults_.Active(FaultKind::kLineGone); }

void SerialLine::Send(std::span<const uint8_t> bytes) { Send(bytes, clock_.Now()); }

void SerialLine::Send(std::span<const uint8_t> bytes, uint64_t at) {
  sent_.insert(sent_.end(), bytes.begin(), bytes.end());
  for (const uint8_t value : bytes) {
    if (faults_.Strikes(FaultKind::kLineGone)) return;
    toBridgeFree_ = std::max(toBridgeFree_, at) + byteNs_;
    toBridge_.push_back({value, toBridgeFree_});
  }
}

std::optional<uint64_t> SerialLine::NextStream() const {
  if (!firmware_->Streaming()) return std::nullopt;
  return std::max(toPcFree_, bridgeFree_) + std::max(leastPause_, kPauseBytes * byteNs_);
}

std::optional<uint64_t> SerialLine::NextEvent() const {
  const std::optional<uint64_t> stream = NextStream();
  if (toBridge_.empty()) return stream;
  return stream ? std::min(*stream, toBridge_.front().at) : toBridge_.front().at;
}

std::optional<uint64_t> SerialLine::WakeAt() const {
  const std::optional<uint64_t> event = NextEvent();
  if (toPc_.empty()) return event;
  return event ? std::min(*event, toPc_.front().at) : toPc_.front().at;
}

// The bridge works at the time its bytes came, however late the PC looks.
uint64_t SerialLine::BridgeTime() const { return eventAt_ + (clock_.Now() - eventBegun_); }

void SerialLine::Run() {
  for (;;) {
    const std::optional<uint64_t> next = NextEvent();
    if (!next || *next > clock_.Now()) return;
    eventAt_ = std::max(*next, bridgeFree_);
    eventBegun_ = clock_.Now();
    if (!toBridge_.empty() && toBridge_.front().at <= *next) {
      const uint8_t value = toBridge_.front().value;
      toBridge_.pop_front();
      firmware_->Receive(value);
    } else {
      firmware_->StreamOn();
    }
    bridgeFree_ = BridgeTime();
  }
}

void SerialLine::Put(uint8_t value, uint64_t notBefore) {
  toPcFree_ = std::max(toPcFree_, notBefore) + byteNs_;
  if (faults_.Strikes(FaultKind::kLineGone)) return;
  if (toPc_.size() < kInputQueue) toPc_.push_back({value, toPcFree_});
}

void SerialLine::Answer(std::span<const uint8_t> bytes) {
  if (faults_.Strikes(FaultKind::kLineSilent)) return;
  uint64_t at = BridgeTime() + faults_.Amount(FaultKind::kLineDelay).value_or(0) * kNsPerMs;
  const uint64_t junk = faults_.Amount(FaultKind::kLineJunk).value_or(0);
  for (uint64_t i = 0; i < junk; ++i) Put(kJunk[i % std::size(kJunk)], at);
  const uint64_t gap = faults_.Amount(FaultKind::kLineSplit).value_or(0) * kNsPerMs;
  for (const uint8_t value : bytes) {
    Put(value, at);
    at = toPcFree_ + gap;
  }
}

size_t SerialLine::Waiting() {
  if (Gone()) return 0;
  Run();
  const uint64_t now = clock_.Now();
  return static_cast<size_t>(
      std::ranges::count_if(toPc_, [&](const Byte& byte) { return byte.at <= now; }));
}

size_t SerialLine::Take(uint8_t* buffer, size_t count) {
  count = std::min(count, Waiting());
  for (size_t i = 0; i < count; ++i) {
    buffer[i] = toPc_.front().value;
    toPc_.pop_front();
  }
  return count;
}

void SerialLine::Settle() {
  Run();
  while (!toBridge_.empty()) {
    const uint64_t now = clock_.Now();
    if (toBridge_.front().at > now) clock_.Spend(toBridge_.front().at - now);
    Run();
  }
}

std::vector<uint8_t> SerialLine::TakeSent() { return std::exchange(sent_, {}); }

}  // namespace brisk::sim
