#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace brisk {

// An open file, read or written from its start; closed by the destructor.
class File {
 public:
  virtual ~File() = default;
  // Bytes read or written; fewer than asked for at the end of the file or on an error.
  virtual size_t Read(void* buffer, size_t count) = 0;
  virtual size_t Write(const void* bytes, size_t count) = 0;
  // True once a read has met the end of the file.
  virtual bool AtEnd() const = 0;
  // Flushes and closes; false when something written did not reach the file.
  virtual bool Close() = 0;
};

class Files {
 public:
  virtual ~Files() = default;
  // Binary files, shared with other readers. Null on failure. May block on the disk.
  virtual std::unique_ptr<File> OpenForReading(const char* path) = 0;
  virtual std::unique_ptr<File> Create(const char* path) = 0;
  virtual bool Remove(const char* path) = 0;
  // Where opening would look for the file: from the current directory, unless `path` says all of
  // it. The path itself when the system does not tell.
  virtual std::string AbsolutePath(const char* path) = 0;
};

}  // namespace brisk
