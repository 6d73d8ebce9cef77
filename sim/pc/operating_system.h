#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "platform/debug_stream.h"
#include "platform/files.h"
#include "platform/message_queue.h"
#include "platform/resources.h"
#include "platform/scheduler.h"
#include "platform/shared_section.h"
#include "platform/system.h"

// The simulated PC's operating system, apart from its clock and its connectors.
namespace brisk::sim {

class Faults;

// Records every priority that is set, oldest first; they have no effect on the host.
class PriorityRecorder final : public Scheduler {
 public:
  struct Change {
    bool thread;  // else the process
    int64_t value;
    bool operator==(const Change&) const = default;
  };

  uint32_t PriorityClass() override { return priorityClass_; }
  void SetPriorityClass(uint32_t priorityClass) override;
  int ThreadPriority() override { return threadPriority_; }
  void SetThreadPriority(int level) override;

  const std::vector<Change>& changes() const { return changes_; }

 private:
  std::vector<Change> changes_;
  uint32_t priorityClass_ = 0x20;  // normal
  int threadPriority_ = 0;
};

// Keeps the last lines, and passes them on to standard error when asked to. Any thread may write.
class DebugRecorder final : public DebugStream {
 public:
  static constexpr size_t kMostLines = 10'000;

  explicit DebugRecorder(bool toStderr) : toStderr_(toStderr) {}
  void Write(const char* text) override;
  std::vector<std::string> Lines() const;
  void Clear();

 private:
  const bool toStderr_;
  mutable std::mutex mutex_;
  std::deque<std::string> lines_;
};

// Private to the process, and new with every bench.
class PrivateSection final : public SharedMemory {
 public:
  SharedSection& Section() override { return section_; }

 private:
  SharedSection section_;
};

// Files that a program carries: none, unless somebody adds them.
class ResourceShelf final : public Resources {
 public:
  void Add(const std::string& name, std::vector<uint8_t> bytes) { data_[name] = std::move(bytes); }
  std::span<const uint8_t> Find(const char* name) override;

 private:
  std::map<std::string, std::vector<uint8_t>> data_;
};

// What the user has asked for at the keyboard; each request is taken once.
class StopRequests final : public MessageQueue {
 public:
  void Post() { ++waiting_; }  // as a key-down of Escape
  bool TakeStopRequest() override;

 private:
  std::atomic<int> waiting_{0};
};

// The host's process id; family and folder as they are set.
class SystemFacts final : public System {
 public:
  explicit SystemFacts(bool nt) : nt_(nt) {}
  uint32_t ProcessId() override;
  bool IsNt() override { return nt_; }
  std::string SystemDirectory() override { return directory_; }
  void ExpectFullUse(void* memory, size_t size) override;
  void SetNt(bool nt) { nt_ = nt; }
  // A folder that does not exist, until a test names one, so that nothing is written to the host.
  void SetSystemDirectory(const std::string& directory) { directory_ = directory; }

 private:
  bool nt_;
  std::string directory_ = "brisk-simulated-system";
};

// The host's files, with the faults of opening and of a full disk.
class FaultyFiles final : public Files {
 public:
  explicit FaultyFiles(Faults& faults) : faults_(faults) {}
  std::unique_ptr<File> OpenForReading(const char* path) override;
  std::unique_ptr<File> Create(const char* path) override;
  bool Remove(const char* path) override;
  std::string AbsolutePath(const char* path) override;

 private:
  Faults& faults_;
};

}  // namespace brisk::sim
