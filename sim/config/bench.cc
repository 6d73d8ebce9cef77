#include "sim/config/bench.h"

#include "platform/common/parts.h"
#include "sim/config/adapter_kinds.h"

namespace brisk::sim {

Bench::Bench(Private, const Options& options)
    : options_(options),
      clock_(options.realClock),
      faults_(options.seed),
      trace_(clock_),
      board_(options, clock_, trace_, faults_),
      stuck_(board_.i2c(), faults_),
      ports_(clock_),
      debugStream_(options.debugToStderr),
      system_(options.nt),
      files_(faults_),
      platform_{.ports = ports_,
                .clock = clock_,
                .scheduler = scheduler_,
                .debugStream = debugStream_,
                .sharedMemory = sharedMemory_,
                .libraries = libraries_,
                .serialPorts = serialPorts_,
                .services = services_,
                .devices = devices_,
                .deviceInterfaces = deviceInterfaces_,
                .resources = resources_,
                .messageQueue = messageQueue_,
                .system = system_,
                .files = files_,
                .threads = os::TheThreads()} {}

Bench::~Bench() = default;

std::unique_ptr<Bench> Bench::Make(const Options& options, std::string* whyNot) {
  auto bench = std::make_unique<Bench>(Private{}, options);
  if (!bench->Connect(whyNot)) return nullptr;
  return bench;
}

// Files first: an adapter finds the board as it will stay. Faults last, so that none strikes before
// everything stands.
bool Bench::Connect(std::string* whyNot) {
  *whyNot = board_.AttachFiles();
  if (!whyNot->empty()) return false;
  for (const std::string& name : options_.adapters) {
    for (const AdapterKind& kind : AdapterKinds()) {
      if (name != kind.name) continue;
      std::unique_ptr<Adapter> made = kind.make(*this, whyNot);
      if (made == nullptr) {
        *whyNot = "adapter=" + name + ": " + *whyNot;
        return false;
      }
      adapters_.emplace_back(name, std::move(made));
    }
  }
  if (!options_.trace.empty() && !trace_.Open(options_.trace)) {
    *whyNot = "trace file '" + options_.trace + "' cannot be created";
    return false;
  }
  for (const Fault& fault : options_.faults) faults_.Add(fault);
  HoldStuckLines();
  return true;
}

Adapter* Bench::adapter(std::string_view name) {
  for (const auto& [known, adapter] : adapters_) {
    if (known == name) return adapter.get();
  }
  return nullptr;
}

std::string Bench::SetFault(std::string_view text) {
  Fault fault;
  std::string wrong = Faults::Parse(text, options_.adapters, &fault);
  if (wrong.empty()) {
    faults_.Add(fault);
    HoldStuckLines();
  }
  return wrong;
}

void Bench::ClearFaults() {
  faults_.Clear();
  HoldStuckLines();
}

void Bench::HoldStuckLines() {
  const std::lock_guard lock(board_.mutex());
  stuck_.Hold();
}

}  // namespace brisk::sim
