#include <algorithm>
#include <functional>
#include <memory>

#include "command.h"
#include "ftdi_link.h"
#include "i2c_address.h"
#include "text.h"

namespace brisk::tool {
namespace {

constexpr uint32_t kRegisters = 256;
constexpr uint32_t kBlock = 16;
constexpr uint32_t kMostBytes = 4096;
constexpr uint32_t kFtdiTimeoutMs = 10;

struct TransferArguments {
  DeviceAddress device;
  uint32_t reg = 0;
  uint32_t registerBytes = 1;
  uint32_t count = 1;
  std::vector<uint8_t> bytes;
};

// Without the reserved addresses, but with the prefixes of 10-bit addresses (0x78 to 0x7B): the
// controller itself stands there, at 0x7A.
struct ScanArguments {
  uint32_t first = 0x08;
  uint32_t last = 0x7B;
};

std::vector<uint8_t> RegisterBytes(uint32_t reg, uint32_t count) {
  std::vector<uint8_t> bytes;
  for (uint32_t i = count; i > 0; --i) bytes.push_back(static_cast<uint8_t>(reg >> (8 * (i - 1))));
  return bytes;
}

std::string Place(const TransferArguments& arguments, uint8_t address, uint32_t reg) {
  std::string place = "device " + Hex(address);
  if (arguments.registerBytes != 0) {
    place += ", register " + Hex(reg, 2 * static_cast<int>(arguments.registerBytes));
  }
  return place;
}

Failure NotAcknowledged(const Session& session, const std::string& tried, uint8_t address) {
  return OperationFailure(tried, "no acknowledge",
                          "check power and wiring of the board, the address (8-bit form: " +
                              Hex(address) + " is 7-bit " + Hex(address >> 1U) +
                              "), and what answers at all: " + session.device().ScanCommand());
}

Reply Transferred(const Session& session, const TransferArguments& arguments, std::string text,
                  const std::vector<uint8_t>& bytes) {
  Reply reply{.text = std::move(text)};
  reply.data["device"] = arguments.device.Byte();
  if (arguments.registerBytes != 0) reply.data["register"] = arguments.reg;
  reply.data["bytes"] = bytes;
  if (session.device().acknowledges) return reply;
  reply.data["acknowledge"] = "not reported by this hardware";
  reply.text += "(this hardware does not report acknowledges)\n";
  return reply;
}

// The library wants a pointer to no bytes too.
const uint8_t* Pointer(const std::vector<uint8_t>& bytes) {
  static constexpr uint8_t kNone = 0;
  return bytes.empty() ? &kNone : bytes.data();
}

// `size` bytes from the register on, at most `longest` at a time.
std::vector<uint8_t> ReadRegisters(Session& session, const TransferArguments& arguments,
                                   uint32_t size, uint32_t longest) {
  const uint8_t address = arguments.device.Byte();
  const bool blocks = session.device().readsBlocks || arguments.registerBytes == 0;
  const uint32_t step = blocks ? longest : 1;
  std::vector<uint8_t> bytes(size);
  for (uint32_t done = 0; done < size; done += step) {
    const uint32_t reg = arguments.reg + done;
    const std::string tried = "read " + Place(arguments, address, reg);
    if (Progress::Interrupted()) throw OperationFailure(tried, "stopped", "start it again");
    const std::vector<uint8_t> command = RegisterBytes(reg, arguments.registerBytes);
    if (session.api().I2cReadData(address, Pointer(command), arguments.registerBytes, &bytes[done],
                                  std::min(step, size - done)) == 0) {
      throw NotAcknowledged(session, tried, address);
    }
  }
  return bytes;
}

bool Acknowledges(const Session& session, uint8_t address) {
  const uint8_t none = 0;
  return session.api().I2cLib_Write(0, address, &none, 0, &none, 0) != 0;
}

void CheckLength(const DeviceType& device, const std::string& tried, size_t bytes) {
  if (bytes <= device.mostBytes) return;
  throw UsageFailure(
      tried,
      device.The() + " moves at most " + std::to_string(device.mostBytes) + " bytes at a time",
      "split it into several transfers");
}

Reply Read(Session& session, const TransferArguments& arguments) {
  const std::string tried = "read " + Place(arguments, arguments.device.Byte(), arguments.reg);
  if (arguments.count == 0) {
    throw UsageFailure(tried, "0 bytes are asked for", "give --count from 1 on");
  }
  CheckLength(session.device(), tried, arguments.count);
  session.Ready(kI2c);
  const std::vector<uint8_t> bytes =
      ReadRegisters(session, arguments, arguments.count, arguments.count);
  return Transferred(session, arguments, HexBytes(bytes) + "\n", bytes);
}

// Lengths, register included, that I2cWriteData's description warns of. Not split here: only the
// device's user knows whether two writes do what one does.
void CheckStrayLength(const DeviceType& device, const std::string& tried, size_t bytes) {
  constexpr size_t kFirst = 60;
  constexpr size_t kPeriod = 63;
  if (!device.packetsStray || bytes < kFirst || (bytes - kFirst) % kPeriod != 0) return;
  throw UsageFailure(tried,
                     "with " + std::to_string(bytes) + " bytes, register included, " +
                         device.The() + " would put something extra on the bus",
                     "write one byte less or more, or in two writes if the device allows it");
}

Reply Write(Session& session, const TransferArguments& arguments) {
  const std::vector<uint8_t>& bytes = arguments.bytes;
  const uint8_t address = arguments.device.Byte();
  const std::string place = Place(arguments, address, arguments.reg);
  CheckLength(session.device(), "write to " + place, bytes.size());
  CheckStrayLength(session.device(), "write to " + place, arguments.registerBytes + bytes.size());
  session.Ready(kI2c);
  const std::vector<uint8_t> command = RegisterBytes(arguments.reg, arguments.registerBytes);
  if (session.api().I2cWriteData(address, Pointer(command), arguments.registerBytes, bytes.data(),
                                 static_cast<uint32_t>(bytes.size())) == 0) {
    throw NotAcknowledged(session, "write " + HexBytes(bytes) + " to " + place, address);
  }
  // Short writes may wait in the library for more; setting the clock sends them, so that they are
  // out before this process ends.
  if (session.device().number == BRISK_DEVICE_FTDI) {
    session.api().I2cSetClockRate(session.options().rate.value_or(100));
  }
  return Transferred(session, arguments, "wrote " + HexBytes(bytes) + " to " + place + "\n", bytes);
}

std::string DumpText(const std::vector<uint8_t>& bytes) {
  std::string text = "     00 01 02 03 04 05 06 07  08 09 0A 0B 0C 0D 0E 0F\n";
  for (size_t row = 0; row < bytes.size(); row += kBlock) {
    std::string shown;
    text += Hex(static_cast<uint32_t>(row)).substr(2) + ": ";
    for (size_t i = row; i < row + kBlock; ++i) {
      text += (i % 8 == 0 && i != row ? "  " : " ") + Hex(bytes[i]).substr(2);
      shown += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    }
    text += "  " + shown + "\n";
  }
  return text;
}

Reply Dump(Session& session, const TransferArguments& arguments) {
  const uint8_t address = arguments.device.Byte();
  session.Ready(kI2c);
  // A device behind an adapter that samples the acknowledge of neither address would read as 0xFF;
  // where the hardware tells, the device is asked first.
  if (session.device().probe == Probe::kAddress && !Acknowledges(session, address)) {
    throw NotAcknowledged(session, "dump device " + Hex(address), address);
  }
  const std::vector<uint8_t> bytes = ReadRegisters(session, arguments, kRegisters, kBlock);
  Reply reply = Transferred(session, arguments, DumpText(bytes), bytes);
  reply.data.erase("register");
  return reply;
}

// Whether a device acknowledges its 8-bit address.
using Asks = std::function<bool(uint8_t)>;

Asks Open(Session& session) {
  // The FTDI board's own operations sample no acknowledge, the I2C_ functions do.
  if (session.device().probe == Probe::kFtdiFamily) {
    const std::shared_ptr<FtdiLink> link =
        FtdiLink::Open(session, {0, I2C_STANDARD_MODE, kFtdiTimeoutMs});
    return [link](uint8_t address) { return link->Write({address}, {}) == 0; };
  }
  session.Ready(kI2c);
  if (session.device().probe == Probe::kRegister) {
    return [&session](uint8_t address) {
      uint8_t byte = 0;
      return session.api().I2cReadByte(address, 0, &byte) != 0;
    };
  }
  return [&session](uint8_t address) { return Acknowledges(session, address); };
}

std::string ScanText(const std::vector<uint8_t>& found, const ScanArguments& range) {
  std::string text;
  for (const uint8_t address : found) {
    text += Hex(address) + "  (8-bit " + Hex(address * 2U) + "/" + Hex(address * 2U + 1) + ")\n";
  }
  return text + std::to_string(found.size()) + " of the addresses " + Hex(range.first) + " to " +
         Hex(range.last) + " acknowledged\n";
}

Reply Scan(Session& session, const ScanArguments& arguments) {
  const std::string tried = "scan the I2C bus";
  const DeviceType& device = session.device();
  if (arguments.first > arguments.last) {
    throw UsageFailure(tried, "the first address is above the last", "exchange them");
  }
  if (device.probe == Probe::kNone) {
    throw UsageFailure(tried, device.The() + " does not report acknowledges",
                       "read a register of the device you look for instead (i2c read)");
  }
  const Asks asks = Open(session);
  std::vector<uint8_t> found;
  for (uint32_t address = arguments.first; address <= arguments.last; ++address) {
    if (Progress::Interrupted()) {
      throw OperationFailure(tried, "stopped at address " + Hex(address), "start it again");
    }
    if (asks(static_cast<uint8_t>(address << 1U))) found.push_back(static_cast<uint8_t>(address));
  }
  return {ScanText(found, arguments), {{"addresses", found}}};
}

void AddRegister(CLI::App* app, TransferArguments& arguments) {
  AddNumber(app, "REGISTER", arguments.reg, "register, or address inside the device")->required();
  AddNumber(app, "--register-bytes", arguments.registerBytes,
            "bytes of a register's number, 0 to send none (default 1)", 4);
}

}  // namespace

void AddI2cCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "i2c", "Read and write devices on the I2C bus");

  const auto [read, asked] =
      AddCommand(group, chosen, "read", "Read bytes from a register on", Read);
  AddDevice(read, asked.device);
  AddRegister(read, asked);
  AddNumber(read, "--count,-n", asked.count, "how many bytes (default 1)", kMostBytes);

  const auto [write, written] =
      AddCommand(group, chosen, "write", "Write bytes from a register on", Write);
  AddDevice(write, written.device);
  AddRegister(write, written);
  AddBytes(write, "BYTES", written.bytes, "bytes to write")->required();

  const auto [scan, range] =
      AddCommand(group, chosen, "scan", "List the addresses that acknowledge", Scan);
  AddNumber(scan, "--first", range.first, "first 7-bit address (default 0x08)", 0x7F);
  AddNumber(scan, "--last", range.last, "last 7-bit address (default 0x7B)", 0x7F);

  const auto [dump, dumped] =
      AddCommand(group, chosen, "dump", "Show all 256 registers of a device", Dump);
  AddDevice(dump, dumped.device);
}

}  // namespace brisk::tool
