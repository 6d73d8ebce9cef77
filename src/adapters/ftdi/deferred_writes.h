#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "adapters/ftdi/command_queue.h"
#include "adapters/ftdi/mpsse_line.h"
#include "adapters/ftdi/status.h"
#include "platform/threads.h"

namespace brisk::ftdi {

// Short write transactions that wait to share a USB transfer. Each interface has a queue of its
// own, so that every board receives exactly its transactions. A thread of this object sends
// everything 10 ms after the first write of a run, or when an interface has 10 waiting; it lives no
// longer than there is something to send, and there is never more than one.
//
// Every function is called with the engine lock held, except Finish.
class DeferredWrites {
 public:
  struct Lane {
    uint32_t handle = 0;
    uint32_t pending = 0;  // transactions in the queue
    CommandQueue queue;
  };

  DeferredWrites(RecursiveLock& lock, Threads& threads, MpsseLine& line)
      : lock_(lock), threads_(threads), line_(line) {}
  DeferredWrites(const DeferredWrites&) = delete;
  DeferredWrites& operator=(const DeferredWrites&) = delete;

  Lane& LaneOf(uint32_t handle);
  // One more transaction in the lane's queue waits. Sends it at once when no thread can be had.
  StatusCode Add(Lane& lane);
  // Sends what the lane's queue holds, waiting or not.
  StatusCode Flush(Lane& lane);
  // Sends every waiting transaction to its interface; failures are told to nobody.
  void FlushAll();

  // Forgets the lanes, flushed or not.
  void Forget();

  // Without the lock: lets the thread end. Everything must have been flushed, and nothing may be
  // added any more.
  void Finish() { thread_.reset(); }

 private:
  static constexpr uint32_t kMostPending = 10;
  static constexpr uint32_t kMostDelayMs = 10;

  void Run();
  bool Due() const;
  void NoteWaiting();

  RecursiveLock& lock_;
  Threads& threads_;
  MpsseLine& line_;
  std::vector<std::unique_ptr<Lane>> lanes_;
  // Looked at by the thread without the lock while it waits, and again with it before it acts.
  std::atomic<uint32_t> most_{0};     // waiting in the fullest lane; 0 ends the thread
  std::atomic<int64_t> runStart_{0};  // local time of the first write that waits
  bool threadAlive_ = false;
  std::unique_ptr<Thread> thread_;
};

}  // namespace brisk::ftdi
