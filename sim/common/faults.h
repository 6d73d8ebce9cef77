#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace brisk::sim {

// What can be made to go wrong. Each kind has one line in the table of faults.cc.
enum class FaultKind : uint8_t {
  kNak,          // an I2C device does not acknowledge
  kSdaLow,       // SDA stuck low
  kSclLow,       // SCL stuck low
  kFlashBusy,    // the flash stays busy
  kOpenRefused,  // files cannot be opened
  kDiskFull,     // file writes stop
  kUsbStall,     // a USB board refuses a transfer
  kUsbTimeOut,   // a USB board never answers a transfer
  kUsbShort,     // a USB board sends less than it was asked for
  kUsbStatus,    // a USB transfer ends with an error status although its data moved
  kUsbUnplug,    // a USB board goes away, for good
  kLineSilent,   // an answer on a serial line is lost
  kLineDelay,    // an answer comes this many ms late
  kLineSplit,    // there are this many ms between the bytes of an answer
  kLineJunk,     // this many junk bytes come before an answer
  kLineWidth,    // a bridge answers a register frame with a wrong width
  kLineGone,     // the serial adapter is unplugged
  kD2xxFails,    // a D2XX function answers with an input/output error
  kShortWrite,   // FT_Write takes no more than a number of bytes
  kNoAnswers,    // answers of FTDI chips are lost
  kUnplugged,    // an FTDI chip leaves the bus during a call
  kU2cAbsent,    // opening the U2C adapter fails
  kU2cFails,     // a function of the U2C adapter's library fails
};

// One fault as text: KIND[:ARGUMENT][@N][%P]. The argument narrows it (a device, a time, a size);
// "@N" lets it strike at the Nth occasion only, counted from 1 since it was set; "%P" with a chance
// of P percent, drawn from the bench's seed. Neither: at every occasion. A kind that is a state (a
// stuck line, an adapter unplugged) stays once it has struck. Several combine, each with a count of
// its own. For example "nak:eeprom@2", "flash-busy:6000", "line-delay:30@5+line-gone@100".
struct Fault {
  FaultKind kind = FaultKind::kNak;
  std::string argument;
  uint64_t number = 0;  // the argument where the kind takes a number; 0 without one
  uint64_t at = 0;
  unsigned percent = 100;
};

// The faults that are set. Any thread may ask.
class Faults {
 public:
  explicit Faults(uint32_t seed) : random_(seed) {}

  // Empty when done, else what is wrong with the text, or that no adapter among these has such a
  // fault.
  static std::string Parse(std::string_view text, const std::vector<std::string>& adapters,
                           Fault* fault);
  void Add(const Fault& fault);
  void Clear();

  // Whether a fault of this kind that is a state is in force: at every occasion, or since it
  // struck. Counts no occasion.
  bool Active(FaultKind kind) const;
  // Whether a fault of this kind strikes that has no argument or this one. This is one occasion,
  // which each of them counts.
  bool Strikes(FaultKind kind, std::string_view argument = {});
  // The same of a kind with a number, which is that of the first one set of those that strike.
  std::optional<uint64_t> Amount(FaultKind kind);

 private:
  struct Set {
    Fault fault;
    uint64_t occasions = 0;
    bool stays = false;  // struck, and a state

    bool Always() const { return fault.at == 0 && fault.percent == 100; }
  };
  const Set* Struck(FaultKind kind, std::string_view argument);

  mutable std::mutex mutex_;
  std::atomic<bool> any_{false};  // the usual answer without the lock
  std::vector<Set> set_;
  std::mt19937 random_;
};

}  // namespace brisk::sim
