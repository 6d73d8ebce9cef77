// What the FTDI layer costs on the PC's side: bytes into the command queue, and a flush of them.
#include <atomic>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/mpsse_line.h"
#include "base/debug.h"
#include "contracts/d2xx.h"
#include "platform/platform.h"
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

// The line to chips of the vendor library that the bench has, if any.
struct Line {
  brisk::CDebug log{brisk::platform().debugStream};
  brisk::ftdi::D2xx d2xx{brisk::platform().libraries, log};
  brisk::ftdi::MpsseLine line{d2xx, brisk::platform().clock};
};

void QueueBytes(benchmark::State& state) {
  const auto world = std::make_unique<Line>();
  for (auto _ : state) {
    world->line.ClearQueue();
    for (unsigned i = 0; i < kBytes; ++i) world->line.Queue(static_cast<uint8_t>(i));
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

using Symbols = std::vector<brisk::sim::LibraryShelf::Symbol>;

Symbols LibraryThatDoesNothing() {
  namespace row = brisk::d2xx::row;
#define BRISK_ROW(name, ordinal, ...) {"FT_" #name, ordinal, Address(Nothing)},
  Symbols symbols = {BRISK_D2XX_FUNCTIONS(BRISK_ROW)};
#undef BRISK_ROW
  symbols[row::kWrite].address = Address(Write);
  symbols[row::kOpenEx].address = Address(Open);
  symbols[row::kCreateDeviceInfoList].address = Address(Count);
  return symbols;
}

void FlushBytes(benchmark::State& state) {
  brisk::sim::bench().libraries().Add("FTD2XX", LibraryThatDoesNothing());
  const auto world = std::make_unique<Line>();
  const bool loaded = world->d2xx.ListDevices().status == brisk::ftdi::kOk;
  const auto opened = world->d2xx.OpenByLocation(1);
  if (!loaded || opened.status != brisk::ftdi::kOk) state.SkipWithError("no library");
  const uint64_t before = allocations;
  for (auto _ : state) {
    for (unsigned i = 0; i < kBytes; ++i) world->line.Queue(static_cast<uint8_t>(i));
    if (world->line.Flush(opened.value) != brisk::ftdi::kOk) state.SkipWithError("not flushed");
  }
  state.counters["allocations"] = static_cast<double>(allocations - before);
  state.SetItemsProcessed(state.iterations() * kBytes);
}
BENCHMARK(FlushBytes);

}  // namespace

BENCHMARK_MAIN();
