#include "sim/adapters/ftdi/ftdi_adapter.h"

#include <utility>

#include "sim/adapters/ftdi/d2xx_functions.h"

namespace brisk::sim {

FtdiAdapter::FtdiAdapter(const FtdiModel& model, std::shared_ptr<D2xxHost> host, const Site& site,
                         std::unique_ptr<OwnBoard> ownBoard, LibraryShelf& libraries)
    : host_(std::move(host)), ownBoard_(std::move(ownBoard)), plugged_(host_) {
  host_->Plug({&model.kind, model.description, model.serial, model.location, false},
              ownBoard_ != nullptr ? &ownBoard_->board : &site.board);
  libraries.Add("FTD2XX", D2xxSymbols());
}

}  // namespace brisk::sim
