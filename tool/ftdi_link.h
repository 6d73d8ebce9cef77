#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "outcome.h"
#include "session.h"

namespace brisk::tool {

struct FtdiInterface {
  std::string name;
  uint32_t location = 0;
  std::string channel = "A";
  std::string chip = "FT2232C";
  bool hiSpeed = false;
  uint32_t pins = 0xF;  // that can be set, in the masks' order
};

// All interfaces, full-speed ones first; their place is what --interface counts.
std::vector<FtdiInterface> ListFtdi(Session& session);

struct FtdiSettings {
  uint32_t index = 0;
  uint32_t mode = 0;       // communications mode
  uint32_t timeoutMs = 0;  // for each acknowledge
};

// One interface, open as an I2C master.
class FtdiLink {
 public:
  static std::unique_ptr<FtdiLink> Open(Session& session, const FtdiSettings& settings);
  ~FtdiLink();
  FtdiLink(const FtdiLink&) = delete;
  FtdiLink& operator=(const FtdiLink&) = delete;

  // Statuses of the library, 0 for done.
  uint32_t Write(const std::vector<uint8_t>& control, const std::vector<uint8_t>& data);
  uint32_t Read(std::vector<uint8_t> control, std::vector<uint8_t>& data);
  // Pins by bit: 0 to 7 GPIOH0 to GPIOH7 (0 to 3 on full-speed chips), 8 to 11 GPIOL0 to GPIOL3.
  uint32_t SetPins(uint32_t outputs, uint32_t levels);
  uint32_t GetPins(uint32_t& levels);

  const FtdiInterface& interface() const { return interface_; }
  // Throws what a status other than 0 means.
  void Check(const std::string& tried, uint32_t status) const;

 private:
  FtdiLink(Session& session, FtdiInterface interface, const FtdiSettings& settings)
      : session_(session), interface_(std::move(interface)), settings_(settings) {}
  uint32_t Start();

  Session& session_;
  FtdiInterface interface_;
  FtdiSettings settings_;
  uint32_t handle_ = 0;
  bool open_ = false;
};

}  // namespace brisk::tool
