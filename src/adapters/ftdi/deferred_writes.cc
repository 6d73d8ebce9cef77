#include "adapters/ftdi/deferred_writes.h"

#include <algorithm>
#include <mutex>

namespace brisk::ftdi {

DeferredWrites::Lane& DeferredWrites::LaneOf(uint32_t handle) {
  for (const std::unique_ptr<Lane>& lane : lanes_) {
    if (lane->handle == handle) return *lane;
  }
  lanes_.push_back(std::make_unique<Lane>());
  lanes_.back()->handle = handle;
  return *lanes_.back();
}

void DeferredWrites::NoteWaiting() {
  uint32_t most = 0;
  for (const std::unique_ptr<Lane>& lane : lanes_) most = std::max(most, lane->pending);
  most_ = most;
}

StatusCode DeferredWrites::Add(Lane& lane) {
  if (most_ == 0) runStart_ = line_.clock().LocalTime();
  ++lane.pending;
  NoteWaiting();
  if (threadAlive_) return kOk;
  // The thread before this one said so as its last act under the lock: it ends without waiting for
  // anything.
  thread_.reset();
  thread_ = threads_.Start([this] { Run(); });
  threadAlive_ = thread_ != nullptr;
  return threadAlive_ ? kOk : Flush(lane);
}

StatusCode DeferredWrites::Flush(Lane& lane) {
  const MpsseLine::QueueSelection selection(line_, lane.queue);
  const StatusCode status = line_.Flush(lane.handle);
  lane.pending = 0;
  NoteWaiting();
  return status;
}

void DeferredWrites::FlushAll() {
  for (const std::unique_ptr<Lane>& lane : lanes_) {
    if (lane->pending != 0) static_cast<void>(Flush(*lane));
  }
}

void DeferredWrites::Forget() {
  lanes_.clear();
  most_ = 0;
}

bool DeferredWrites::Due() const {
  const uint32_t most = most_;
  return most >= kMostPending || (most != 0 && TimedOut(line_.clock(), runStart_, kMostDelayMs));
}

// Gives way instead of sleeping: a sleep can be longer than the whole delay. A run that was flushed
// by somebody else leaves the thread to the next run, if that begins in time, else ends it.
void DeferredWrites::Run() {
  for (;;) {
    while (most_ != 0 && !Due()) line_.clock().Sleep(0);
    const std::lock_guard lock(lock_);
    if (Due()) FlushAll();
    if (most_ == 0) {
      threadAlive_ = false;
      return;
    }
  }
}

}  // namespace brisk::ftdi
