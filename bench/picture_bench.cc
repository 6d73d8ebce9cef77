// What a picture stream costs beside its port accesses, and how long a whole one takes over the
// simulated bench.
#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "brisk/brisk.h"
#include "brisk/brisk_sim.h"

#include "image/port_words.h"
#include "image/transfer.h"
#include "tests/support/picture_services.h"

namespace {

constexpr size_t kWidth = 1024;
constexpr size_t kHeight = 768;

// A 24-bit BMP of the frame's size, for as long as the benchmark runs.
class Bitmap {
 public:
  Bitmap() {
    std::vector<uint8_t> file(54 + 3 * kWidth * kHeight, 0x5A);
    for (size_t i = 0; i < 54; ++i) file[i] = 0;
    const auto put = [&](size_t at, size_t value) {
      for (size_t i = 0; i < 4; ++i) file[at + i] = static_cast<uint8_t>(value >> 8 * i);
    };
    file[0] = 'B';
    file[1] = 'M';
    put(10, 54);
    put(14, 40);
    put(18, kWidth);
    put(22, kHeight);
    put(26, 1 | 24 << 16);
    const int descriptor = mkstemp(path_.data());
    if (descriptor < 0 ||
        write(descriptor, file.data(), file.size()) != static_cast<ssize_t>(file.size())) {
      std::abort();
    }
    close(descriptor);
  }
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  ~Bitmap() { std::remove(path_.c_str()); }
  const char* path() const { return path_.c_str(); }

 private:
  std::string path_ = "/tmp/brisk-picture-XXXXXX";
};

// A port that costs nothing, and a controller that answers at once.
class Port : public brisk::image::PortWords, public brisk::image::RegisterReader {
 public:
  explicit Port(bool sixteenBit) : PortWords(base_), sixteenBit_(sixteenBit) {}
  brisk::Outcome<uint32_t> ReadRegister(const char* command) override {
    const std::string text = command;
    if (text == "F4-70-F5=") return uint32_t{kWidth};
    if (text == "F4-72-F5=") return uint32_t{kHeight};
    return text.starts_with("F4-66") && sixteenBit_ ? 0x08U : 0U;
  }
  uint64_t accesses = 0;

 private:
  void WritePort(uint8_t value) override {
    benchmark::DoNotOptimize(value);
    ++accesses;
  }
  const uint8_t base_ = 0;
  const bool sixteenBit_;
};

class NoProgress : public brisk::ProgressReporter {
 public:
  bool Report(uint32_t, uint32_t) override { return false; }
};

// The share of the port accesses in the whole time, were an access to cost 1 us.
void BM_PictureStream(benchmark::State& state) {
  const Bitmap bitmap;
  Port port(state.range(0) == 16);
  NoProgress progress;
  brisk::image::PictureTransfer transfer(port, port, brisk::TestPictureServices(), progress);
  for (auto _ : state) {
    if (!transfer.ShowBitmap(bitmap.path(), false).ok()) state.SkipWithError("not sent");
  }
  state.counters["accesses"] = static_cast<double>(port.accesses) / state.iterations();
  state.counters["per_access"] =
      benchmark::Counter(static_cast<double>(port.accesses),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_PictureStream)->Arg(16)->Arg(24)->Unit(benchmark::kMillisecond);

// Into the simulated frame memory, by the exports.
void BM_PictureToFrameMemory(benchmark::State& state) {
  const Bitmap bitmap;
  std::array<char, 256> message{};
  if (BriskSimConfigure("adapter=lpt", message.data(), message.size()) != 0) std::abort();
  BriskSetDevice(0);
  I2cWriteByte(0xF4, 0x66, state.range(0) == 16 ? 0x08 : 0x00);
  for (auto _ : state) {
    if (Sddi_Bitmap(bitmap.path(), 0) != 0) state.SkipWithError("not sent");
  }
}
BENCHMARK(BM_PictureToFrameMemory)->Arg(16)->Arg(24)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
