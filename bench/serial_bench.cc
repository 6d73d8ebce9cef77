// A register write through the UART bridge at 115200 bits per second: the simulated time of one,
// beside that of its bytes on the line, and what it costs the processor.
#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>

#include "brisk/brisk.h"
#include "brisk/brisk_serial.h"
#include "brisk/brisk_sim.h"

#include "sim/config/bench.h"

namespace {

void RegisterWrite(benchmark::State& state) {
  std::array<char, 256> message{};
  if (BriskSimConfigure("adapter=uart", message.data(), message.size()) != 0) std::abort();
  BriskSetDevice(BRISK_DEVICE_UART);
  if (!uart_connect(3, 115200)) std::abort();
  // START, three bytes with their acknowledges, STOP: a marker byte each, and three values both
  // ways.
  constexpr double kLineNs = 14 * 10 * 1e9 / 115200;
  brisk::sim::VirtualClock& clock = brisk::sim::bench().clock();
  const uint64_t before = clock.Now();
  for (auto _ : state) {
    if (I2cWriteByte(0xF4, 0x20, 0x55) != 1) state.SkipWithError("not written");
  }
  const double each = static_cast<double>(clock.Now() - before) / state.iterations();
  state.counters["simulated_us"] = each / 1000;
  state.counters["line_us"] = kLineNs / 1000;
}
BENCHMARK(RegisterWrite)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
