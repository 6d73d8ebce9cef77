#include "sim/adapters/ftdi/ftdi_adapter.h"

#include "sim/adapters/ftdi/d2xx_functions.h"
#include "sim/config/bench.h"

namespace brisk::sim {
namespace {

struct Model {
  const FtdiChipKind& kind;
  const char* description;
  const char* serial;
  uint32_t location;
};

constexpr Model kFt2232c = {kFtdiChips[0], "Dual RS232", "FTSIM1", 0x21};
constexpr Model kTalvo = {kFtdiChips[0], "TALVO board", "FTSIM2", 0x31};
constexpr Model kFt2232h = {kFtdiChips[1], "Dual RS232-HS", "FTSIM3", 0x41};
constexpr Model kFt4232h = {kFtdiChips[2], "Quad RS232-HS", "FTSIM4", 0x51};
constexpr Model kSecond = {kFtdiChips[0], "Dual RS232 second", "FTSIM5", 0x61};

// The host of the bench's first FTDI adapter serves the others too.
std::shared_ptr<D2xxHost> HostOf(Bench& bench) {
  for (const AdapterKind& kind : AdapterKinds()) {
    auto* other = dynamic_cast<FtdiAdapter*>(bench.adapter(kind.name));
    if (other != nullptr) return CurrentD2xxHost();
  }
  auto host = std::make_shared<D2xxHost>(bench.clock(), bench.faults());
  SetD2xxHost(host);
  bench.libraries().Add("FTD2XX", D2xxSymbols());
  return host;
}

std::unique_ptr<Adapter> Make(const Model& model, Bench& bench, bool ownBoard) {
  std::shared_ptr<D2xxHost> host = HostOf(bench);
  std::unique_ptr<Trace> trace;
  std::unique_ptr<Board> board;
  if (ownBoard) {
    trace = std::make_unique<Trace>(bench.clock());
    board = std::make_unique<Board>(bench.options(), bench.clock(), *trace, bench.faults());
  }
  host->Plug({&model.kind, model.description, model.serial, model.location, false},
             ownBoard ? board.get() : &bench.board());
  return std::make_unique<FtdiAdapter>(std::move(host), std::move(trace), std::move(board));
}

}  // namespace

FtdiAdapter::FtdiAdapter(std::shared_ptr<D2xxHost> host, std::unique_ptr<Trace> trace,
                         std::unique_ptr<Board> ownBoard)
    : host_(std::move(host)), trace_(std::move(trace)), ownBoard_(std::move(ownBoard)) {}

// A newer bench may have brought its own host by now.
FtdiAdapter::~FtdiAdapter() {
  if (CurrentD2xxHost() == host_) SetD2xxHost(nullptr);
}

std::unique_ptr<Adapter> MakeFt2232c(Bench& bench, std::string* /*whyNot*/) {
  return Make(kFt2232c, bench, false);
}
std::unique_ptr<Adapter> MakeTalvo(Bench& bench, std::string* /*whyNot*/) {
  return Make(kTalvo, bench, false);
}
std::unique_ptr<Adapter> MakeFt2232h(Bench& bench, std::string* /*whyNot*/) {
  return Make(kFt2232h, bench, false);
}
std::unique_ptr<Adapter> MakeFt4232h(Bench& bench, std::string* /*whyNot*/) {
  return Make(kFt4232h, bench, false);
}
std::unique_ptr<Adapter> MakeSecondFt2232c(Bench& bench, std::string* /*whyNot*/) {
  return Make(kSecond, bench, true);
}

}  // namespace brisk::sim
