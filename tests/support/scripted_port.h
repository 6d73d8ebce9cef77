#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sim/config/bench.h"

namespace brisk {

// A serial port whose far end is the test: it keeps what is written and answers as it is told.
class ScriptedLine {
 public:
  static constexpr uint64_t kPollNs = 20'000;  // what asking for waiting bytes costs

  // Plugs the line into a COM port of the bench. It must outlive the library's attachment.
  void PlugInto(sim::Bench& bench, unsigned number) {
    bench_ = &bench;
    bench.serialPorts().Add(number, [this](std::string*) { return std::make_unique<Port>(*this); });
  }

  // Called with every write.
  std::function<void(std::string_view written)> onWrite = [](std::string_view) {};

  // Bytes that arrive together, this long after now.
  void Reply(std::string_view bytes, uint64_t afterNs = 0) {
    for (const char byte : bytes) {
      received_.push_back({static_cast<uint8_t>(byte), bench_->clock().Now() + afterNs});
    }
  }

  // From now on a byte of junk is always waiting; taking one costs ten microseconds.
  void BabbleForEver() { babbling_ = true; }

  std::string TakeSent() { return std::exchange(sent_, {}); }
  std::vector<std::string> TakeWrites() { return std::exchange(writes_, {}); }
  size_t Unread() const { return received_.size(); }
  const std::vector<uint32_t>& rates() const { return rates_; }
  int closed() const { return closed_; }

 private:
  class Port final : public SerialPort {
   public:
    explicit Port(ScriptedLine& line) : line_(line) { line_.received_.clear(); }
    void Configure(uint32_t bitsPerSecond) override { line_.rates_.push_back(bitsPerSecond); }
    void Write(const uint8_t* bytes, size_t count) override {
      const std::string written(reinterpret_cast<const char*>(bytes), count);
      line_.sent_ += written;
      line_.writes_.push_back(written);
      line_.onWrite(written);
    }
    uint32_t BytesWaiting() override {
      if (line_.babbling_) return 1;
      line_.bench_->clock().Spend(kPollNs);
      uint32_t count = 0;  // at most what a port's input queue holds
      for (const auto& byte : line_.received_) {
        if (count == 64) break;
        if (byte.at > line_.bench_->clock().Now()) break;
        ++count;
      }
      return count;
    }
    size_t Read(uint8_t* buffer, size_t count) override {
      if (line_.babbling_) {
        line_.bench_->clock().Spend(10'000);
        buffer[0] = 'x';
        return 1;
      }
      size_t read = 0;
      for (size_t waiting = BytesWaiting(); read < count && read < waiting; ++read) {
        buffer[read] = line_.received_.front().value;
        line_.received_.pop_front();
      }
      return read;
    }
    int Close() override {
      ++line_.closed_;
      return 77;
    }

   private:
    ScriptedLine& line_;
  };

  struct Byte {
    uint8_t value;
    uint64_t at;
  };

  sim::Bench* bench_ = nullptr;
  std::deque<Byte> received_;
  std::string sent_;
  std::vector<std::string> writes_;
  std::vector<uint32_t> rates_;
  int closed_ = 0;
  bool babbling_ = false;
};

}  // namespace brisk
