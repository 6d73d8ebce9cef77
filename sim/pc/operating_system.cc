#include "sim/pc/operating_system.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "platform/common/parts.h"
#include "sim/common/faults.h"

namespace brisk::sim {
namespace {

// A file on a disk that takes only so many bytes more.
class FileOnFullDisk final : public File {
 public:
  FileOnFullDisk(std::unique_ptr<File> file, uint64_t room) : file_(std::move(file)), room_(room) {}

  size_t Read(void* buffer, size_t count) override { return file_->Read(buffer, count); }
  size_t Write(const void* bytes, size_t count) override {
    const auto fits = static_cast<size_t>(std::min<uint64_t>(count, room_));
    const size_t written = file_->Write(bytes, fits);
    room_ -= written;
    complete_ = complete_ && written == count;
    return written;
  }
  bool AtEnd() const override { return file_->AtEnd(); }
  bool Close() override { return file_->Close() && complete_; }

 private:
  std::unique_ptr<File> file_;
  uint64_t room_;
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
  os::TheSystem().ExpectFullUse(memory, size);
}

uint32_t SystemFacts::ProcessId() { return os::TheSystem().ProcessId(); }

std::unique_ptr<File> FaultyFiles::OpenForReading(const char* path) {
  if (faults_.Strikes(FaultKind::kOpenRefused)) return nullptr;
  return os::TheFiles().OpenForReading(path);
}

std::unique_ptr<File> FaultyFiles::Create(const char* path) {
  if (faults_.Strikes(FaultKind::kOpenRefused)) return nullptr;
  std::unique_ptr<File> file = os::TheFiles().Create(path);
  const auto room = file != nullptr ? faults_.Amount(FaultKind::kDiskFull) : std::nullopt;
  if (!room) return file;
  return std::make_unique<FileOnFullDisk>(std::move(file), *room);
}

bool FaultyFiles::Remove(const char* path) { return os::TheFiles().Remove(path); }

std::string FaultyFiles::AbsolutePath(const char* path) {
  return os::TheFiles().AbsolutePath(path);
}

}  // namespace brisk::sim
