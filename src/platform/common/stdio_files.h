#pragma once

#include "platform/files.h"

namespace brisk::os {

// Files by the C library's streams, in its modes for reading and for creating a binary file.
class StdioFiles : public Files {
 public:
  StdioFiles(const char* readMode, const char* createMode)
      : readMode_(readMode), createMode_(createMode) {}

  std::unique_ptr<File> OpenForReading(const char* path) override;
  std::unique_ptr<File> Create(const char* path) override;
  bool Remove(const char* path) override;

 private:
  const char* readMode_;
  const char* createMode_;
};

}  // namespace brisk::os
