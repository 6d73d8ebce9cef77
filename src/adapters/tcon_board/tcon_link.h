#pragma once

#include <cstdint>
#include <memory>

#include "adapters/tcon_board/intel_hex.h"
#include "adapters/tcon_board/usb_device.h"
#include "base/bytes.h"
#include "base/debug.h"
#include "base/status.h"
#include "platform/platform.h"

namespace brisk::tcon_board {

// The way to the board: finding it among the devices of its USB driver, loading its firmware, and
// vendor requests on its endpoint 0. Not locked.
class TconLink {
 public:
  TconLink(Platform& system, CDebug& log) : system_(system), log_(log) {}
  TconLink(const TconLink&) = delete;
  TconLink& operator=(const TconLink&) = delete;

  // Takes the first device with the board's vendor ID and loads "firmware.hex" of the current
  // directory into it. A firmware file that cannot be opened is reported on the debug log; the
  // board then counts as connected all the same. Once one has been, later steps succeed whatever
  // they find. Blocks for a second at every device that does not open, and for the download.
  bool Connect();
  bool ConnectWhenNeeded() { return connected_ || Connect(); }

  // One request; blocks until the board has answered, at most 50 milliseconds. Fails while there is
  // no open board.
  Status Write(uint8_t request, uint16_t value, uint16_t index, Bytes bytes);
  Status Read(uint8_t request, uint16_t value, uint16_t index, Buffer bytes);
  // The value that the last request had.
  uint16_t lastValue() const;

  // Loads the file's records into the chosen RAM; internal RAM with the CPU held in reset
  // meanwhile. A malformed record is reported with its line and left out. False when the file
  // cannot be opened or there is no board, and then nothing was sent.
  bool DownloadFirmware(const char* path, RamKind kind);

 private:
  // Leaves the board object at the first device with our vendor ID, or at the last one that there
  // is.
  void FindBoard();
  CUsbControlEndPoint* control() const { return board_ ? board_->control() : nullptr; }
  // The control endpoint with the fields of its next request; null while there is no open board.
  CUsbControlEndPoint* Prepare(uint8_t request, uint16_t value, uint16_t index);
  // With the time-out that the endpoint has: 10 seconds while it is new. How the requests end is
  // not looked at.
  void Load(const HexFile& image, RamKind kind);
  void LogImage(const HexFile& image, const char* path) const;

  Platform& system_;
  CDebug& log_;
  std::unique_ptr<CUsbDevice> board_;
  bool connected_ = false;  // never cleared
};

}  // namespace brisk::tcon_board
