// What the front adds to a call, and what the port primitive adds to its counter read and port
// access.
#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_sim.h"

#include "adapters/lpt/ports.h"
#include "api/instance.h"
#include "base/debug.h"
#include "platform/platform.h"

namespace {

void Load() {
  static const bool loaded = [] {
    std::array<char, 256> message{};
    BriskSimConfigure("adapter=lpt", message.data(), message.size());
    return true;
  }();
  benchmark::DoNotOptimize(loaded);
}

// The cheapest operation there is: the difference is the dispatch.
void BM_DispatchedCall(benchmark::State& state) {
  Load();
  for (auto _ : state) benchmark::DoNotOptimize(SPIGetProgress());
}
BENCHMARK(BM_DispatchedCall);

void BM_DirectCall(benchmark::State& state) {
  Load();
  const brisk::flash::Flash* const flash =
      brisk::AttachedInstance()->SelectedDevice().device->flash;
  for (auto _ : state) benchmark::DoNotOptimize(flash->progress());
}
BENCHMARK(BM_DirectCall);

class NullPort : public brisk::PortIo {
 public:
  void Out(uint16_t, uint8_t value) override { benchmark::DoNotOptimize(value); }
  uint8_t In(uint16_t) override { return 0xFF; }
};

class Counter : public brisk::Clock {
 public:
  uint64_t TimeStampCounter() override { return __builtin_ia32_rdtsc(); }
  int64_t PerformanceFrequency() override { return 1000000000; }
  int64_t PerformanceCounter() override {
    return std::chrono::steady_clock::now().time_since_epoch().count();
  }
  uint32_t TickCount() override { return 0; }
  int64_t LocalTime() override { return 0; }
  void Sleep(uint32_t) override {}
};

// The port primitive over them.
class TestPorts {
 public:
  brisk::lpt::Ports& ports() { return ports_; }

 private:
  NullPort port_;
  Counter clock_;
  brisk::CDebug log_{brisk::platform().debugStream};
  brisk::lpt::Ports ports_{port_, clock_, brisk::platform().scheduler, log_};
};

void BM_CounterReadAndPortCall(benchmark::State& state) {
  NullPort port;
  Counter clock;
  brisk::PortIo* io = &port;
  brisk::Clock* counter = &clock;
  benchmark::DoNotOptimize(io);
  benchmark::DoNotOptimize(counter);
  for (auto _ : state) {
    benchmark::DoNotOptimize(counter->TimeStampCounter());
    io->Out(0x378, 0x55);
  }
}
BENCHMARK(BM_CounterReadAndPortCall);

void BM_PortOutWithoutSettleTime(benchmark::State& state) {
  TestPorts test;
  brisk::lpt::Ports& ports = test.ports();
  benchmark::DoNotOptimize(&ports);
  for (auto _ : state) ports.Port_Out(0x378, 0x55);
}
BENCHMARK(BM_PortOutWithoutSettleTime);

// How much later than its 5 us a wait ends, by the time-stamp counter: median and 99th percentile.
void BM_SettleTimeOf5us(benchmark::State& state) {
  TestPorts test;
  brisk::lpt::Ports& ports = test.ports();
  const double ticksPerUs = ports.Cpu_GetFrequency();
  ports.SetClockRate(100);
  std::vector<double> late;
  for (auto _ : state) {
    const uint64_t start = __builtin_ia32_rdtsc();
    ports.Port_Out(0x378, 0x55);
    late.push_back(static_cast<double>(__builtin_ia32_rdtsc() - start) / ticksPerUs - 5.0);
  }
  std::sort(late.begin(), late.end());
  state.counters["median_late_us"] = late[late.size() / 2];
  state.counters["p99_late_us"] = late[late.size() * 99 / 100];
}
BENCHMARK(BM_SettleTimeOf5us);

// Port accesses a second that the simulated bench carries: an I2C byte is 27 writes and a read.
void BM_SimulatedPortAccess(benchmark::State& state) {
  Load();
  BriskSetDevice(0);
  for (auto _ : state) benchmark::DoNotOptimize(I2c_Tx(0xA5));
  state.SetItemsProcessed(state.iterations() * 28);
}
BENCHMARK(BM_SimulatedPortAccess);

}  // namespace

BENCHMARK_MAIN();
