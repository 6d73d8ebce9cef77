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
  uint32_t device = 0;
  uint32_t reg = 0;
  uint32_t registerBytes = 1;
  uint32_t count = 1;
  bool sevenBit = false;
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
  return OperationFailure(
      tried, "no acknowledge",
      "check power and wiring of the board, the address (8-bit form: " + Hex(address) +
          " is 7-bit " + Hex(address >> 1U) + "), and what answers at all: brisk --device " +
          session.device().name + " i2c scan");
}

void NoteAcknowledge(const Session& session, Reply& reply) {
  if (session.device().acknowledges) return;
  reply.data["acknowledge"] = "not reported by this hardware";
  reply.text += "(this hardware does not report acknowledges)\n";
}

// Fills `bytes` from register `reg` on, at most `longest` at a time; what failed otherwise.
std::optional<Failure> ReadRegisters(Session& session, const TransferArguments& arguments,
                                     uint8_t address, std::vector<uint8_t>& bytes,
                                     uint32_t longest) {
  const bool blocks = session.device().readsBlocks || arguments.registerBytes == 0;
  const uint32_t step = blocks ? longest : 1;
  for (uint32_t done = 0; done < bytes.size(); done += step) {
    const uint32_t reg = arguments.reg + done;
    const std::string tried = "read " + Place(arguments, address, reg);
    if (Progress::Interrupted()) return OperationFailure(tried, "stopped", "start it again");
    const uint32_t count = std::min<uint32_t>(step, static_cast<uint32_t>(bytes.size()) - done);
    const std::vector<uint8_t> command = RegisterBytes(reg, arguments.registerBytes);
    uint8_t none = 0;
    const uint8_t* const sent = command.empty() ? &none : command.data();
    if (session.api().I2cReadData(address, sent, static_cast<uint32_t>(command.size()),
                                  &bytes[done], count) == 0) {
      return NotAcknowledged(session, tried, address);
    }
  }
  return {};
}

// A device behind an adapter that samples the acknowledge of neither address would read as 0xFF;
// where the hardware tells, the device is asked first.
bool Answers(Session& session, uint8_t address) {
  if (session.device().probe != Probe::kAddress) return true;
  uint8_t none = 0;
  return session.api().I2cLib_Write(0, address, &none, 0, &none, 0) != 0;
}

std::optional<Failure> RefuseTooMany(const DeviceType& device, const std::string& what,
                                     size_t bytes) {
  if (bytes <= device.mostBytes) return {};
  return UsageFailure(what,
                      "the " + std::string(device.text) + " moves at most " +
                          std::to_string(device.mostBytes) + " bytes at a time",
                      "split it into several transfers");
}

Outcome Read(Session& session, const TransferArguments& arguments) {
  uint8_t address = 0;
  if (std::optional<Failure> failure =
          ToAddressByte(arguments.device, arguments.sevenBit, address)) {
    return *failure;
  }
  if (arguments.count == 0) {
    return UsageFailure("read " + Place(arguments, address, arguments.reg), "0 bytes are asked for",
                        "give --count from 1 on");
  }
  if (std::optional<Failure> failure = RefuseTooMany(
          session.device(), "read " + Place(arguments, address, arguments.reg), arguments.count)) {
    return *failure;
  }
  if (std::optional<Failure> failure = session.Ready(kI2c)) return *failure;
  std::vector<uint8_t> bytes(arguments.count);
  if (std::optional<Failure> failure =
          ReadRegisters(session, arguments, address, bytes, arguments.count)) {
    return *failure;
  }
  Reply reply;
  reply.text = HexBytes(bytes) + "\n";
  reply.data["device"] = address;
  if (arguments.registerBytes != 0) reply.data["register"] = arguments.reg;
  reply.data["bytes"] = bytes;
  NoteAcknowledge(session, reply);
  return reply;
}

// Lengths, register included, that I2cWriteData's description warns of. Not split here: only the
// device's user knows whether two writes do what one does.
std::optional<Failure> RefuseStrayLength(const DeviceType& device, const std::string& place,
                                         size_t bytes) {
  constexpr size_t kFirst = 60;
  constexpr size_t kPeriod = 63;
  if (!device.packetsStray || bytes < kFirst || (bytes - kFirst) % kPeriod != 0) return {};
  return UsageFailure("write to " + place,
                      "with " + std::to_string(bytes) + " bytes, register included, the " +
                          device.text + " would put something extra on the bus",
                      "write one byte less or more, or in two writes if the device allows it");
}

Outcome Write(Session& session, const TransferArguments& arguments) {
  uint8_t address = 0;
  if (std::optional<Failure> failure =
          ToAddressByte(arguments.device, arguments.sevenBit, address)) {
    return *failure;
  }
  const std::vector<uint8_t> command = RegisterBytes(arguments.reg, arguments.registerBytes);
  const std::string place = Place(arguments, address, arguments.reg);
  if (std::optional<Failure> failure =
          RefuseTooMany(session.device(), "write to " + place, arguments.bytes.size())) {
    return *failure;
  }
  if (std::optional<Failure> failure =
          RefuseStrayLength(session.device(), place, command.size() + arguments.bytes.size())) {
    return *failure;
  }
  if (std::optional<Failure> failure = session.Ready(kI2c)) return *failure;
  uint8_t none = 0;
  const uint32_t done = session.api().I2cWriteData(
      address, command.empty() ? &none : command.data(), static_cast<uint32_t>(command.size()),
      arguments.bytes.data(), static_cast<uint32_t>(arguments.bytes.size()));
  if (done == 0) {
    return NotAcknowledged(session, "write " + HexBytes(arguments.bytes) + " to " + place, address);
  }
  // Short writes may wait in the library for more; setting the clock sends them, so that they are
  // out before this process ends.
  if (session.device().number == BRISK_DEVICE_FTDI) {
    session.api().I2cSetClockRate(session.options().rate.value_or(100));
  }
  Reply reply;
  reply.text = "wrote " + HexBytes(arguments.bytes) + " to " + place + "\n";
  reply.data["device"] = address;
  if (arguments.registerBytes != 0) reply.data["register"] = arguments.reg;
  reply.data["bytes"] = arguments.bytes;
  NoteAcknowledge(session, reply);
  return reply;
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

Outcome Dump(Session& session, const TransferArguments& arguments) {
  uint8_t address = 0;
  if (std::optional<Failure> failure =
          ToAddressByte(arguments.device, arguments.sevenBit, address)) {
    return *failure;
  }
  if (std::optional<Failure> failure = session.Ready(kI2c)) return *failure;
  std::vector<uint8_t> bytes(kRegisters);
  if (!Answers(session, address)) {
    return NotAcknowledged(session, "dump device " + Hex(address), address);
  }
  if (std::optional<Failure> failure = ReadRegisters(session, arguments, address, bytes, kBlock)) {
    return *failure;
  }
  Reply reply;
  reply.text = DumpText(bytes);
  reply.data["device"] = address;
  reply.data["bytes"] = bytes;
  NoteAcknowledge(session, reply);
  return reply;
}

// Whether a device acknowledges its 8-bit address.
using Asks = std::function<bool(uint8_t)>;
using Asked = std::variant<Asks, Failure>;

// The FTDI board's own operations sample no acknowledge, the I2C_ functions do.
Asked OpenFtdi(Session& session) {
  auto opened = FtdiLink::Open(session, {0, I2C_STANDARD_MODE, kFtdiTimeoutMs});
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const std::shared_ptr<FtdiLink> link = std::move(std::get<std::unique_ptr<FtdiLink>>(opened));
  return [link](uint8_t address) { return link->Write({address}, {}) == 0; };
}

Asked Open(Session& session) {
  if (session.device().probe == Probe::kFtdiFamily) return OpenFtdi(session);
  if (std::optional<Failure> failure = session.Ready(kI2c)) return *failure;
  if (session.device().probe == Probe::kRegister) {
    return [&session](uint8_t address) {
      uint8_t byte = 0;
      return session.api().I2cReadByte(address, 0, &byte) != 0;
    };
  }
  return [&session](uint8_t address) {
    const uint8_t none = 0;
    return session.api().I2cLib_Write(0, address, &none, 0, &none, 0) != 0;
  };
}

std::string ScanText(const std::vector<uint8_t>& found, const ScanArguments& range) {
  std::string text;
  for (const uint8_t address : found) {
    text += Hex(address) + "  (8-bit " + Hex(address * 2U) + "/" + Hex(address * 2U + 1) + ")\n";
  }
  return text + std::to_string(found.size()) + " of the addresses " + Hex(range.first) + " to " +
         Hex(range.last) + " acknowledged\n";
}

Outcome Scan(Session& session, const ScanArguments& arguments) {
  const std::string tried = "scan the I2C bus";
  const DeviceType& device = session.device();
  if (arguments.first > arguments.last) {
    return UsageFailure(tried, "the first address is above the last", "exchange them");
  }
  if (device.probe == Probe::kNone) {
    return UsageFailure(tried, std::string("the ") + device.text + " does not report acknowledges",
                        "read a register of the device you look for instead (i2c read)");
  }
  Asked asked = Open(session);
  if (auto* const failure = std::get_if<Failure>(&asked)) return *failure;
  std::vector<uint8_t> found;
  for (uint32_t address = arguments.first; address <= arguments.last; ++address) {
    if (Progress::Interrupted()) {
      return OperationFailure(tried, "stopped at address " + Hex(address), "start it again");
    }
    if (std::get<Asks>(asked)(static_cast<uint8_t>(address << 1U))) {
      found.push_back(static_cast<uint8_t>(address));
    }
  }
  Reply reply;
  reply.text = ScanText(found, arguments);
  reply.data["addresses"] = found;
  return reply;
}

void AddDevice(CLI::App* app, TransferArguments& arguments) {
  AddNumber(app, "DEVICE", arguments.device, "device address, 8-bit form (0xF4)", 0xFF)->required();
  app->add_flag("--7bit", arguments.sevenBit, "DEVICE is in the 7-bit form (0x7A)");
}

void AddRegister(CLI::App* app, TransferArguments& arguments) {
  AddNumber(app, "REGISTER", arguments.reg, "register, or address inside the device")->required();
  AddNumber(app, "--register-bytes", arguments.registerBytes,
            "bytes of a register's number, 0 to send none (default 1)", 4);
}

}  // namespace

void AddI2cCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "i2c", "Read and write devices on the I2C bus");

  CLI::App* const read = group->add_subcommand("read", "Read bytes from a register on");
  auto readArguments = std::make_shared<TransferArguments>();
  AddDevice(read, *readArguments);
  AddRegister(read, *readArguments);
  AddNumber(read, "--count,-n", readArguments->count, "how many bytes (default 1)", kMostBytes);
  OnCommand(read, chosen, readArguments, Read);

  CLI::App* const write = group->add_subcommand("write", "Write bytes from a register on");
  auto writeArguments = std::make_shared<TransferArguments>();
  AddDevice(write, *writeArguments);
  AddRegister(write, *writeArguments);
  AddBytes(write, "BYTES", writeArguments->bytes, "bytes to write")->required();
  OnCommand(write, chosen, writeArguments, Write);

  CLI::App* const scan = group->add_subcommand("scan", "List the addresses that acknowledge");
  auto scanArguments = std::make_shared<ScanArguments>();
  AddNumber(scan, "--first", scanArguments->first, "first 7-bit address (default 0x08)", 0x7F);
  AddNumber(scan, "--last", scanArguments->last, "last 7-bit address (default 0x7B)", 0x7F);
  OnCommand(scan, chosen, scanArguments, Scan);

  CLI::App* const dump = group->add_subcommand("dump", "Show all 256 registers of a device");
  auto dumpArguments = std::make_shared<TransferArguments>();
  AddDevice(dump, *dumpArguments);
  OnCommand(dump, chosen, dumpArguments, Dump);
}

}  // namespace brisk::tool
