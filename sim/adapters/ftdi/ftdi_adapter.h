#pragma once

#include <cstdint>
#include <memory>

#include "sim/adapters/adapter.h"
#include "sim/adapters/ftdi/d2xx_host.h"
#include "sim/adapters/plugged.h"
#include "sim/board/board.h"
#include "sim/board/trace.h"
#include "sim/pc/connectors.h"

namespace brisk::sim {

// A board of its own for an adapter, beside the bench's; nobody traces its lines.
struct OwnBoard {
  OwnBoard(const BoardOptions& options, const Site& site)
      : trace(site.clock), board(options, site.clock, trace, site.faults) {}

  Trace trace;
  Board board;
};

// What a chip's EEPROM says of it, and where it is on the bus.
struct FtdiModel {
  const FtdiChipKind& kind;
  const char* description;
  const char* serial;
  uint32_t location;
};

inline constexpr FtdiModel kFt2232c = {kFtdiChips[0], "Dual RS232", "FTSIM1", 0x21};
inline constexpr FtdiModel kTalvoBoard = {kFtdiChips[0], "TALVO board", "FTSIM2", 0x31};
inline constexpr FtdiModel kFt2232h = {kFtdiChips[1], "Dual RS232-HS", "FTSIM3", 0x41};
inline constexpr FtdiModel kFt4232h = {kFtdiChips[2], "Quad RS232-HS", "FTSIM4", 0x51};
inline constexpr FtdiModel kSecondFt2232c = {kFtdiChips[0], "Dual RS232 second", "FTSIM5", 0x61};

// An FTDI chip between the PC's USB and a board. All chips of a bench share one vendor library.
class FtdiAdapter final : public Adapter {
 public:
  // The bench's board is the site's; where there is an `ownBoard`, it takes its place.
  FtdiAdapter(const FtdiModel& model, std::shared_ptr<D2xxHost> host, const Site& site,
              std::unique_ptr<OwnBoard> ownBoard, LibraryShelf& libraries);

  const std::shared_ptr<D2xxHost>& host() const { return host_; }
  Board* ownBoard() { return ownBoard_ == nullptr ? nullptr : &ownBoard_->board; }

 private:
  const std::shared_ptr<D2xxHost> host_;
  const std::unique_ptr<OwnBoard> ownBoard_;
  const Plugged<D2xxHost> plugged_;
};

}  // namespace brisk::sim
