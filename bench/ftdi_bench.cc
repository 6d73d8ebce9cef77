// What the FTDI layer costs on the PC's side: bytes into the command queue.
#include <benchmark/benchmark.h>
#include <memory>

#include "ftdi/command_queue.h"
#include "ftdi/d2xx.h"
#include "ftdi/devices.h"

namespace {

void QueueBytes(benchmark::State& state) {
  brisk::ftdi::D2xx d2xx;
  const auto devices = std::make_unique<brisk::ftdi::CMpsseDevices>(d2xx);
  for (auto _ : state) {
    devices->ClearQueue();
    for (unsigned i = 0; i < 4096; ++i) devices->Queue(static_cast<uint8_t>(i));
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * 4096);
}
BENCHMARK(QueueBytes);

}  // namespace

BENCHMARK_MAIN();
