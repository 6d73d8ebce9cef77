#pragma once

#include <cstdio>
#include <memory>

namespace brisk::sim {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// A file of the bench's own (image, memory, trace), closed with its owner.
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace brisk::sim
