#include "sim/adapters/bridges/bridge_adapter.h"

#include "sim/common/faults.h"

namespace brisk::sim {

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

BridgeAdapter::BridgeAdapter(FirmwareMaker firmware, const Site& site, SerialSockets& ports,
                             unsigned number)
    : faults_(site.faults), ports_(ports), number_(number), line_(firmware, site) {
  ports_.Add(number_, [this](std::string* whyNot) { return Open(whyNot); });
}

BridgeAdapter::~BridgeAdapter() { ports_.Remove(number_); }

std::unique_ptr<SerialPort> BridgeAdapter::Open(std::string* whyNot) {
  const char* reason = open_ ? ": in use" : ": unplugged";
  if (!open_ && !faults_.Active(FaultKind::kLineGone)) return std::make_unique<Port>(*this);
  if (whyNot != nullptr) *whyNot = "COM" + std::to_string(number_) + reason;
  return nullptr;
}

}  // namespace brisk::sim
