#include "adapters/ftdi/ftdi_adapter.h"

namespace brisk::ftdi {

FtdiAdapter::FtdiAdapter(const Host& host)
    : engine_(std::make_unique<EngineOwner>(host.system, host.log)),
      boards_(*engine_, host.log),
      pins_(boards_, [this] { flash_.Stop(); }),
      flash_(pins_, host.system.clock, host.system.files, host.log, host.progress),
      device_{
          .onSelect = &boards_,
          .blocks = &boards_,
          .clock = &boards_,
          .flash = &flash_,
          .ports = &boards_,
      } {}

FtdiAdapter::~FtdiAdapter() {
  if (abandoned_) {
    static_cast<void>(engine_.release());
  } else {
    Close();
  }
}

void FtdiAdapter::Close() {
  boards_.Close();
  engine_->Release();
}

// Where the unloading step may not wait, the engine is left in memory as it is: the deferring
// thread has kept the library loaded until everything was sent, and at the end of the process it is
// gone, along with what it had not sent. The boards and the D2XX library stay open until the
// process ends: closing them could wait for a thread of D2XX.
void FtdiAdapter::Detach() {
  if (kUnloadMayWait) {
    Close();
  } else {
    abandoned_ = true;
  }
}

}  // namespace brisk::ftdi
