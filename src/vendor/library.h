#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/debug.h"
#include "platform/libraries.h"

namespace brisk::vendor {

// A function of a vendor's library, by name or, where the system has them, by ordinal.
struct Symbol {
  const char* name;
  uint16_t ordinal = 0;
};

// What a library must have to be of use: all of its functions, or whatever there is, each missing
// one failing by itself.
enum class Needs { kAll, kEach };

struct LibraryContract {
  const char* name;  // bare: "FTD2XX"; the system adds prefix and suffix
  std::span<const Symbol> symbols;
  Needs needs = Needs::kAll;
  const char* absentLine = nullptr;  // begins the debug line about an absent library; null = none
};

// A vendor's library, bound at run time because most machines have none of them. Its absence is an
// ordinary failure: the reason is kept, and told on the debug log. A missing function is told with
// its name. Not locked.
class Library {
 public:
  Library(const LibraryContract& contract, Libraries& libraries, CDebug& log)
      : contract_(contract), libraries_(libraries), log_(log) {}
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Loads and binds unless that is done; true when the library can be used. A call after a failure
  // tries again. May block on the disk.
  bool Load();
  // As Load, but a failure is final.
  bool LoadOnce();
  void Unload();

  bool loaded() const { return library_ != nullptr; }
  const std::string& whyNot() const { return whyNot_; }

  // The function of a row, null while the library is not loaded or lacks it.
  template <typename Function>
  Function Get(size_t row) const {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    return reinterpret_cast<Function>(row < functions_.size() ? functions_[row] : nullptr);
  }
  // Releases a handle that one of the functions returned and that belongs to the system; false
  // where such handles are the library's own business.
  bool CloseSystemHandle(void* handle) {
    return library_ != nullptr && library_->CloseSystemHandle(handle);
  }
  // A function outside the contract, null when there is none; nothing is logged.
  void* Find(const char* name) { return library_ != nullptr ? library_->Symbol(name, 0) : nullptr; }

 private:
  bool Bind(DynamicLibrary& library);
  void TellMissing(const Symbol& symbol);

  const LibraryContract& contract_;
  Libraries& libraries_;
  CDebug& log_;
  std::unique_ptr<DynamicLibrary> library_;
  std::vector<void*> functions_;  // a row each
  std::string whyNot_;
  bool tried_ = false;
};

}  // namespace brisk::vendor
