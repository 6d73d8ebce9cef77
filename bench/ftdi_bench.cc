// What the FTDI layer costs on the PC's side: bytes into the command queue, and a flush of them.
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <new>

#include "adapters/ftdi/command_queue.h"
#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/devices.h"
#include "sim/config/bench.h"

namespace {

std::atomic<uint64_t> allocations;

}  // namespace

// Not inlined: the compiler would take malloc for a mismatched partner of delete.
[[gnu::noinline]] void* operator new(size_t size) {
  ++allocations;
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace {

constexpr unsigned kBytes = 4096;

void QueueBytes(benchmark::State& state) {
  brisk::ftdi::D2xx d2xx;
  const auto devices = std::make_unique<brisk::ftdi::CMpsseDevices>(d2xx);
  for (auto _ : state) {
    devices->ClearQueue();
    for (unsigned i = 0; i < kBytes; ++i) devices->Queue(static_cast<uint8_t>(i));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kBytes);
}
BENCHMARK(QueueBytes);

// A vendor library whose functions do nothing and succeed.
uint32_t Nothing() { return 0; }
uint32_t Count(uint32_t* count) {
  *count = 0;
  return 0;
}
uint32_t Open(void*, uint32_t, void** handle) {
  *handle = handle;
  return 0;
}
uint32_t Write(void*, const uint8_t* bytes, uint32_t count, uint32_t* written) {
  benchmark::DoNotOptimize(bytes);
  *written = count;
  return 0;
}

template <typename Function>
void* Address(Function* function) {
  return reinterpret_cast<void*>(function);
}

void FlushBytes(benchmark::State& state) {
  brisk::sim::bench().libraries().Add("FTD2XX", {{"FT_Close", 2, Address(Nothing)},
                                                 {"FT_Read", 3, Address(Nothing)},
                                                 {"FT_Write", 4, Address(Write)},
                                                 {"FT_ResetDevice", 6, Address(Nothing)},
                                                 {"FT_SetChars", 15, Address(Nothing)},
                                                 {"FT_SetTimeouts", 17, Address(Nothing)},
                                                 {"FT_GetQueueStatus", 18, Address(Nothing)},
                                                 {"FT_OpenEx", 27, Address(Open)},
                                                 {"FT_SetLatencyTimer", 29, Address(Nothing)},
                                                 {"FT_GetLatencyTimer", 30, Address(Nothing)},
                                                 {"FT_SetBitMode", 31, Address(Nothing)},
                                                 {"FT_SetUSBParameters", 33, Address(Nothing)},
                                                 {"FT_GetDeviceInfo", 61, Address(Nothing)},
                                                 {"FT_CreateDeviceInfoList", 70, Address(Count)},
                                                 {"FT_GetDeviceInfoList", 71, Address(Nothing)},
                                                 {"FT_GetDeviceInfoDetail", 72, Address(Nothing)}});
  brisk::ftdi::D2xx d2xx;
  const auto devices = std::make_unique<brisk::ftdi::CMpsseDevices>(d2xx);
  uint32_t count = 0;
  uint32_t handle = 0;
  if (d2xx.CreateDeviceInfoList(&count) != 0 || d2xx.OpenByLocation(1, &handle) != 0) {
    state.SkipWithError("no library");
  }
  const uint64_t before = allocations;
  for (auto _ : state) {
    for (unsigned i = 0; i < kBytes; ++i) devices->Queue(static_cast<uint8_t>(i));
    if (devices->Flush(handle) != 0) state.SkipWithError("not flushed");
  }
  state.counters["allocations"] = static_cast<double>(allocations - before);
  state.SetItemsProcessed(state.iterations() * kBytes);
}
BENCHMARK(FlushBytes);

}  // namespace

BENCHMARK_MAIN();
