#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "adapters/ftdi/d2xx.h"
#include "adapters/ftdi/status.h"
#include "platform/system.h"

namespace brisk::ftdi {

// The two families of chips: FT2232C, whose interface A has an MPSSE, and FT2232H and FT4232H with
// one on A and B. An interface is known by its description, which ends in the letter.
enum class Speed : uint8_t { kFull, kHi };

// How the interface is held while START and STOP are made and bytes are written.
enum class Mode : uint8_t {
  kStandard = 1,  // START and STOP hold longer
  kFast = 2,
  kStretchData = 4,  // bytes go out bit by bit, so that a device may stretch the clock
};

// Modes by handle: an entry for every open, also of an interface that is open already, in the first
// free place. The first entry of a handle counts; a handle without one, also because all 50 are in
// use, runs in FAST mode.
class ModeTable {
 public:
  void Add(uint32_t handle);
  void Remove(uint32_t handle);
  void Set(uint32_t handle, Mode mode);
  Mode Of(uint32_t handle) const;

 private:
  struct HandleModeRecord {
    uint32_t handle = 0;  // 0 = free
    Mode mode = Mode::kFast;
  };
  HandleModeRecord* Find(uint32_t handle);

  std::array<HandleModeRecord, 50> records_;
};

// One open interface. A process that forks keeps its parent's records, but only the process that
// opened an interface finds it by its handle.
struct OpenDeviceRecord {
  uint32_t processId;
  Speed speed;
  std::string name;
  uint32_t location;
  uint32_t handle;
  bool divideByFive = true;  // the clock is 12 MHz; chips with full speed have no other
};

// Finds and opens interfaces with an MPSSE, and keeps the open ones. Locked by its owner.
class CMpsseDevices {
 public:
  CMpsseDevices(D2xx& d2xx, System& system) : d2xx_(d2xx), system_(system) {}
  CMpsseDevices(const CMpsseDevices&) = delete;
  CMpsseDevices& operator=(const CMpsseDevices&) = delete;

  // Positions in D2XX's list of the interfaces that match, as many as there are.
  enum class Opened : uint8_t { kIncluded, kLeftOut };  // those that somebody has open
  Answer<std::vector<uint32_t>> List(Speed speed, Opened opened);
  // `index` counts matching interfaces, open ones included.
  Answer<DeviceDetail> Detail(Speed speed, uint32_t index);

  // The handle; that of an interface which this process has open already is given again. At most
  // 50 of either speed are open at a time: one without a record could not be used or closed.
  Answer<uint32_t> Open(Speed speed, std::string_view name, uint32_t location);
  // The only full-speed interface; kMoreThanOneDevice when there are several.
  Answer<uint32_t> OpenTheDevice();
  // The handle is void afterwards, whatever D2XX answers.
  StatusCode Close(uint32_t handle);
  bool IsOpen(uint32_t handle) { return Find(handle) != nullptr; }
  bool IsHiSpeed(uint32_t handle);

  void SetMode(uint32_t handle, Mode mode) { modes_.Set(handle, mode); }
  Mode ModeOf(uint32_t handle) const { return modes_.Of(handle); }

  // 'A' or 'B' from a hi-speed description, in any case of letters; 0 for neither.
  static char ChannelOf(std::string_view description);

 protected:
  // Null unless this process has opened the interface.
  OpenDeviceRecord* Find(uint32_t handle);
  void ForgetAll();

 private:
  Answer<std::vector<uint32_t>> ListSome(Speed speed);
  StatusCode Verify(Speed speed, std::string_view name, uint32_t location);
  Answer<uint32_t> OpenVerified(Speed speed, std::string_view name, uint32_t location);

  D2xx& d2xx_;
  System& system_;
  std::vector<OpenDeviceRecord> records_;
  ModeTable modes_;
};

}  // namespace brisk::ftdi
