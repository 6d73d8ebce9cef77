#include "sim/pc/operating_system.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <system_error>

#ifdef _WIN32
#include <process.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

#include "sim/config/faults.h"

namespace brisk::sim {
namespace {

constexpr uint64_t kNoLimit = std::numeric_limits<uint64_t>::max();

class HostFile final : public File {
 public:
  HostFile(std::FILE* file, uint64_t room) : file_(file), room_(room) {}

  size_t Read(void* buffer, size_t count) override {
    return std::fread(buffer, 1, count, file_.get());
  }
  size_t Write(const void* bytes, size_t count) override {
    const auto fits = static_cast<size_t>(std::min<uint64_t>(count, room_));
    const size_t written = std::fwrite(bytes, 1, fits, file_.get());
    room_ -= written;
    complete_ = complete_ && written == count;
    return written;
  }
  bool AtEnd() const override { return std::feof(file_.get()) != 0; }
  bool Close() override {
    return file_ != nullptr && std::fclose(file_.release()) == 0 && complete_;
  }

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::unique_ptr<std::FILE, CloseFile> file_;
  uint64_t room_;  // bytes that the disk still takes
  bool complete_ = true;
};

}  // namespace

void PriorityRecorder::SetPriorityClass(uint32_t priorityClass) {
  priorityClass_ = priorityClass;
  changes_.push_back({false, priorityClass});
}

void PriorityRecorder::SetThreadPriority(int level) {
  threadPriority_ = level;
  changes_.push_back({true, level});
}

void DebugRecorder::Write(const char* text) {
  const std::lock_guard lock(mutex_);
  if (toStderr_) std::fputs(text, stderr);
  lines_.emplace_back(text);
  if (lines_.size() > kMostLines) lines_.pop_front();
}

std::vector<std::string> DebugRecorder::Lines() const {
  const std::lock_guard lock(mutex_);
  return {lines_.begin(), lines_.end()};
}

void DebugRecorder::Clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

std::span<const uint8_t> ResourceShelf::Find(const char* name) {
  const auto found = data_.find(name);
  return found == data_.end() ? std::span<const uint8_t>() : found->second;
}

bool StopRequests::TakeStopRequest() {
  int waiting = waiting_;
  while (waiting > 0 && !waiting_.compare_exchange_weak(waiting, waiting - 1)) {
  }
  return waiting > 0;
}

// As on the real system, so that the bench measures what users get.
void SystemFacts::ExpectFullUse(void* memory, size_t size) {
#ifdef MADV_HUGEPAGE
  constexpr uintptr_t kPage = 4096;
  const uintptr_t before = (kPage - reinterpret_cast<uintptr_t>(memory) % kPage) % kPage;
  if (before >= size) return;
  madvise(static_cast<char*>(memory) + before, (size - before) / kPage * kPage, MADV_HUGEPAGE);
#else
  static_cast<void>(memory);
  static_cast<void>(size);
#endif
}

uint32_t SystemFacts::ProcessId() {
#ifdef _WIN32
  return static_cast<uint32_t>(_getpid());
#else
  return static_cast<uint32_t>(getpid());
#endif
}

std::unique_ptr<File> FaultyFiles::Open(const char* path, const char* mode) {
  if (faults_.Strikes(FaultKind::kOpenRefused)) return nullptr;
  std::FILE* file = std::filesystem::is_directory(path) ? nullptr : std::fopen(path, mode);
  if (file == nullptr) return nullptr;
  uint64_t room = kNoLimit;
  faults_.Number(FaultKind::kDiskFull, &room);
  return std::make_unique<HostFile>(file, room);
}

std::unique_ptr<File> FaultyFiles::OpenForReading(const char* path) { return Open(path, "rb"); }

std::unique_ptr<File> FaultyFiles::Create(const char* path) { return Open(path, "wb"); }

bool FaultyFiles::Remove(const char* path) { return std::remove(path) == 0; }

std::string FaultyFiles::AbsolutePath(const char* path) {
  std::error_code failed;
  const std::filesystem::path whole = std::filesystem::absolute(path, failed);
  return failed ? path : whole.string();
}

}  // namespace brisk::sim
