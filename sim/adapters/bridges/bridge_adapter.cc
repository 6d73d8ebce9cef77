#include "sim/adapters/bridges/bridge_adapter.h"

#include <utility>

#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

constexpr unsigned kUartPort = 3;
constexpr unsigned kTextPort = 7;

std::unique_ptr<Adapter> Plug(Bench& bench, unsigned number, FirmwareMaker firmware) {
  auto adapter = std::make_unique<BridgeAdapter>(firmware, bench);
  bench.serialPorts().Add(number, [bridge = adapter.get(), number](std::string* whyNot) {
    return bridge->Open(number, whyNot);
  });
  return adapter;
}

}  // namespace

class BridgeAdapter::Port final : public SerialPort {
 public:
  explicit Port(BridgeAdapter& adapter) : adapter_(adapter) {
    adapter_.open_ = true;
    adapter_.line_.DropReceived();
  }
  ~Port() override { Shut(); }

  void Configure(uint32_t bitsPerSecond) override {
    adapter_.rates_.push_back(bitsPerSecond);
    adapter_.line_.SetRate(bitsPerSecond);
  }
  void Write(const uint8_t* bytes, size_t count) override { adapter_.line_.Send({bytes, count}); }
  uint32_t BytesWaiting() override { return static_cast<uint32_t>(adapter_.line_.Waiting()); }
  size_t Read(uint8_t* buffer, size_t count) override { return adapter_.line_.Take(buffer, count); }
  int Close() override { return Shut() ? 1 : 0; }

 private:
  bool Shut() {
    if (closed_) return false;
    adapter_.line_.Settle();
    adapter_.open_ = false;
    closed_ = true;
    return true;
  }

  BridgeAdapter& adapter_;
  bool closed_ = false;
};

BridgeAdapter::BridgeAdapter(FirmwareMaker firmware, Bench& bench)
    : faults_(bench.faults()), line_(firmware, bench.board(), bench.clock(), bench.faults()) {}

std::unique_ptr<SerialPort> BridgeAdapter::Open(unsigned number, std::string* whyNot) {
  const char* reason = open_ ? ": in use" : ": unplugged";
  if (!open_ && !faults_.Active(FaultKind::kLineGone)) return std::make_unique<Port>(*this);
  if (whyNot != nullptr) *whyNot = "COM" + std::to_string(number) + reason;
  return nullptr;
}

std::unique_ptr<Adapter> MakeUartBridge(Bench& bench, std::string* /*whyNot*/) {
  return Plug(bench, kUartPort, MakeUartFirmware);
}

std::unique_ptr<Adapter> MakeTextBridge(Bench& bench, std::string* /*whyNot*/) {
  return Plug(bench, kTextPort, MakeTextFirmware);
}

}  // namespace brisk::sim
