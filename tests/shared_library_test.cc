// The shipped library in several processes: what they share, and what a killed one leaves behind.
// This program itself never loads the library; its children do.
#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/child_process.h"

namespace brisk {
namespace {

// The loaded library, as far as this test calls it. Which device type is selected shows in
// Sddi_Bitmap, which touches no hardware for a file that does not exist: 1 on the parallel port, 0
// on the text bridge.
struct Loaded {
  Loaded() : handle(dlopen(BRISK_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    if (handle == nullptr) _exit(99);
    setDevice = reinterpret_cast<uint8_t (*)(uint8_t)>(dlsym(handle, "BriskSetDevice"));
    bitmap = reinterpret_cast<uint32_t (*)(const char*, uint32_t)>(dlsym(handle, "Sddi_Bitmap"));
  }
  bool ParallelPort() const { return bitmap("no such file", 0) == 1; }

  void* handle;
  uint8_t (*setDevice)(uint8_t) = nullptr;
  uint32_t (*bitmap)(const char*, uint32_t) = nullptr;
};

constexpr uint8_t kTextBridge = 7;

int DeviceTypeIsFresh() { return Loaded().ParallelPort() ? 1 : 0; }

TEST(SharedLibrary, ProcessesSeeEachOthersDeviceType) {
  EXPECT_EQ(Child(DeviceTypeIsFresh).Wait(), 1);
  Gate selected;
  Gate leave;
  Child first([&] {
    const Loaded library;
    library.setDevice(kTextBridge);
    selected.Open();
    leave.Pass();
    return library.ParallelPort() ? 1 : 0;  // what the other one selected meanwhile
  });
  selected.Pass();
  EXPECT_EQ(Child(DeviceTypeIsFresh).Wait(), 0);
  EXPECT_EQ(Child([] {
              const Loaded library;
              library.setDevice(0);
              return 5;
            }).Wait(),
            5);
  leave.Open();
  EXPECT_EQ(first.Wait(), 1);
}

TEST(SharedLibrary, TheLastUserTakesTheSelectionAlong) {
  EXPECT_EQ(Child([] {
              const Loaded library;
              library.setDevice(kTextBridge);
              dlclose(library.handle);
              return DeviceTypeIsFresh();
            }).Wait(),
            1);
}

TEST(SharedLibrary, AKilledProcessLeavesNothingBehind) {
  EXPECT_EQ(Child([] {
              const Loaded library;
              library.setDevice(kTextBridge);
              return raise(SIGKILL);
            }).Wait(),
            -SIGKILL);
  EXPECT_EQ(Child(DeviceTypeIsFresh).Wait(), 1);
}

}  // namespace
}  // namespace brisk
