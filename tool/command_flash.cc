#include <algorithm>

#include "command.h"
#include "flash_job.h"
#include "text.h"

namespace brisk::tool {
namespace {

struct Arguments {
  std::string file;
  uint32_t address = 0;
  std::optional<uint32_t> size;
  std::string erase;
  bool noVerify = false;
  bool dryRun = false;
  bool chip = false;
  uint32_t value = 0;
};

// The sectors that a range touches.
struct Sectors {
  uint32_t address;
  uint32_t size;
};

Sectors Touched(uint32_t address, uint32_t size) {
  const uint32_t first = address / kSectorSize;
  const uint32_t last = (address + size - 1) / kSectorSize;
  return {first * kSectorSize, (last - first + 1) * kSectorSize};
}

std::string Range(uint32_t address, uint32_t size) {
  return Hex(address, 6) + " to " + Hex(address + size - 1, 6);
}

std::string RangeAndSize(uint32_t address, uint32_t size) {
  return Range(address, size) + " (" + std::to_string(size) + " bytes)";
}

Json RangeData(const FlashChip& chip, uint32_t address, uint32_t size) {
  return {{"flash", chip.Data()}, {"address", address}, {"size", size}};
}

// The file's bytes, or as many of them as --size says.
std::vector<uint8_t> Image(const Arguments& arguments) {
  const std::string tried = "read the file " + arguments.file;
  std::vector<uint8_t> bytes = ReadInput(arguments.file, tried);
  if (bytes.empty()) {
    throw OperationFailure(tried, "it is empty", "check that it is the right file");
  }
  const uint32_t size = arguments.size.value_or(static_cast<uint32_t>(bytes.size()));
  if (size > bytes.size()) {
    throw UsageFailure(tried,
                       "it holds " + std::to_string(bytes.size()) + " bytes, --size asks for " +
                           std::to_string(size),
                       "give at most the file's size");
  }
  if (arguments.size) bytes.resize(size);
  return bytes;
}

Reply Id(Session& session, const Arguments& /*arguments*/) {
  const FlashChip chip = OpenFlash(session);
  return {chip.Text() + "\n", {{"flash", chip.Data()}}};
}

void CheckErase(const DeviceType& device, const std::string& erase) {
  if (!device.erasesOnProgram || erase.empty() || erase == "chip") return;
  throw UsageFailure("program with --erase " + erase,
                     device.The() + " erases the whole chip whenever it programs a file",
                     "use --erase chip, or another --device");
}

std::string PlanText(const DeviceType& device, const FlashChip& chip, const Arguments& arguments,
                     const std::string& erase, uint32_t size) {
  std::string text = "flash " + chip.Text() + "\n";
  if (erase == "chip") text += "would erase the whole chip\n";
  if (erase == "sectors") {
    const Sectors sectors = Touched(arguments.address, size);
    text += "would erase the sectors " + Range(sectors.address, sectors.size) + "\n";
  }
  const size_t calls =
      SplitProgram(arguments.address, size, device.alignsPages, device.longestTransfer).size();
  text += "would program " + RangeAndSize(arguments.address, size) + " in " +
          std::to_string(calls) + " calls\n";
  if (!arguments.noVerify) text += "would read it back and compare\n";
  return text + "nothing was changed\n";
}

void EraseAndProgram(FlashJob& job, const DeviceType& device, const Arguments& arguments,
                     const std::string& erase, const std::vector<uint8_t>& image) {
  // Where programming erases by itself, once is enough.
  if (erase == "chip" && !device.erasesOnProgram) job.EraseChip();
  if (erase == "sectors") {
    const Sectors sectors = Touched(arguments.address, static_cast<uint32_t>(image.size()));
    job.EraseSectors(sectors.address, sectors.size);
  }
  job.Program(arguments.file, image, arguments.address);
  if (!arguments.noVerify) job.Verify(image, arguments.address);
}

Reply Program(Session& session, const Arguments& arguments) {
  const DeviceType& device = session.device();
  CheckErase(device, arguments.erase);
  const std::vector<uint8_t> image = Image(arguments);
  const FlashChip chip = OpenFlash(session);
  CheckRange(chip, "program " + arguments.file, arguments.address, image.size());
  const std::string unless = device.erasesOnProgram ? "chip" : "sectors";
  const std::string erase = arguments.erase.empty() ? unless : arguments.erase;
  const auto size = static_cast<uint32_t>(image.size());
  Reply reply{"", RangeData(chip, arguments.address, size)};
  reply.data.update({{"erase", erase}, {"verified", false}});
  if (arguments.dryRun) {
    reply.data["dryRun"] = true;
    reply.text = PlanText(device, chip, arguments, erase, size);
    return reply;
  }
  FlashJob job(session, chip);
  try {
    EraseAndProgram(job, device, arguments, erase, image);
  } catch (Failure& failure) {
    failure.data.update(reply.data);
    throw;
  }
  reply.data["verified"] = !arguments.noVerify;
  reply.text = "programmed " + RangeAndSize(arguments.address, size) +
               (arguments.noVerify ? ", not verified" : " and verified") + "\n";
  return reply;
}

Reply Read(Session& session, const Arguments& arguments) {
  const FlashChip chip = OpenFlash(session);
  const uint32_t rest = chip.Reachable() - std::min(arguments.address, chip.Reachable());
  const uint32_t size = arguments.size.value_or(std::max(rest, 1U));
  CheckRange(chip, "read the flash", arguments.address, size);
  FlashJob(session, chip).ReadToFile("reading", arguments.file, arguments.address, size);
  Reply reply{"read " + RangeAndSize(arguments.address, size) + " into " + arguments.file + "\n",
              RangeData(chip, arguments.address, size)};
  reply.data["file"] = arguments.file;
  return reply;
}

Reply Verify(Session& session, const Arguments& arguments) {
  const std::vector<uint8_t> image = Image(arguments);
  const FlashChip chip = OpenFlash(session);
  CheckRange(chip, "verify " + arguments.file, arguments.address, image.size());
  FlashJob(session, chip).Verify(image, arguments.address);
  const auto size = static_cast<uint32_t>(image.size());
  return {"the flash holds " + arguments.file + " at " + Range(arguments.address, size) + "\n",
          RangeData(chip, arguments.address, size)};
}

void CheckEraseRange(const Arguments& arguments) {
  const std::string tried = "erase part of the flash";
  if (arguments.chip == arguments.size.has_value()) {
    throw UsageFailure(tried, "it is not said what to erase",
                       "give --chip, or --address and --size (whole sectors of 0x10000 bytes)");
  }
  if (arguments.chip || *arguments.size == 0) return;
  if (arguments.address % kSectorSize == 0 && *arguments.size % kSectorSize == 0) return;
  if (arguments.address >= kAddressable || *arguments.size > kAddressable) return;
  const Sectors sectors = Touched(arguments.address, *arguments.size);
  throw UsageFailure(
      tried, "only whole sectors of 0x10000 bytes can be erased",
      "this range lies in --address " + Hex(sectors.address) + " --size " + Hex(sectors.size));
}

Reply Erase(Session& session, const Arguments& arguments) {
  CheckEraseRange(arguments);
  const FlashChip chip = OpenFlash(session);
  const uint32_t address = arguments.chip ? 0 : arguments.address;
  const uint32_t size = arguments.chip ? chip.Reachable() : *arguments.size;
  CheckRange(chip, "erase", address, size);
  FlashJob job(session, chip);
  arguments.chip ? job.EraseChip() : job.EraseSectors(address, size);
  if (!arguments.noVerify) job.Verify(std::vector<uint8_t>(size, 0xFF), address);
  Reply reply{"erased " + Range(address, size) + (arguments.noVerify ? "" : ", all FF") + "\n",
              RangeData(chip, address, size)};
  reply.data["verified"] = !arguments.noVerify;
  return reply;
}

std::string EraseWarning(const DeviceType& device, uint32_t address) {
  switch (device.byteErases) {
    case ByteErases::kSector: {
      const uint32_t sector = address / kSectorSize * kSectorSize;
      return "writing a byte erases the whole sector " + Range(sector, kSectorSize) + " first";
    }
    case ByteErases::kChip:
      return "writing a byte through " + device.The() + " erases the whole chip first";
    case ByteErases::kNothing:
      return "nothing is erased first: the byte can only clear bits";
  }
  return {};
}

Reply WriteByte(Session& session, const Arguments& arguments) {
  const FlashChip chip = OpenFlash(session);
  CheckRange(chip, "write a byte", arguments.address, 1);
  session.console().Warn(EraseWarning(session.device(), arguments.address));
  session.api().SPIWriteByte(arguments.address, arguments.value);
  FlashJob(session, chip).Verify({static_cast<uint8_t>(arguments.value)}, arguments.address);
  return {"wrote " + Hex(arguments.value) + " at " + Hex(arguments.address, 6) + " and verified\n",
          {{"flash", chip.Data()},
           {"address", arguments.address},
           {"value", arguments.value},
           {"verified", true}}};
}

void AddRange(CLI::App* app, Arguments& arguments, const std::string& sizeText) {
  AddNumber(app, "--address,-a", arguments.address, "first address (default 0)");
  AddNumber(app, "--size,-n", arguments.size, sizeText);
}

void AddProgram(CLI::App& group, Command& chosen) {
  const auto [program, arguments] =
      AddCommand(group, chosen, "program", "Program a raw file and verify it", Program);
  program->add_option("FILE", arguments.file, "raw image")->required();
  AddRange(program, arguments, "only the first bytes of the file");
  program
      ->add_option("--erase", arguments.erase,
                   "chip, sectors (every 64 KiB sector that the file touches; default) or none")
      ->check(CLI::IsMember({"chip", "sectors", "none"}));
  program->add_flag("--no-verify", arguments.noVerify, "do not read back");
  program->add_flag("--dry-run", arguments.dryRun, "identify, check and say what would be done");
}

void AddErase(CLI::App& group, Command& chosen) {
  const auto [erase, arguments] =
      AddCommand(group, chosen, "erase", "Erase the chip or sectors", Erase);
  erase->add_flag("--chip", arguments.chip, "the whole chip");
  AddRange(erase, arguments, "bytes, whole sectors of 0x10000");
  erase->add_flag("--no-verify", arguments.noVerify, "do not check that the range reads FF");
}

}  // namespace

void AddFlashCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "flash", "Identify, erase, program and read the SPI flash");
  AddCommand(group, chosen, "id", "Identify the chip", Id);
  AddProgram(group, chosen);

  const auto [read, target] = AddCommand(group, chosen, "read", "Read into a raw file", Read);
  read->add_option("FILE", target.file, "file to create")->required();
  AddRange(read, target, "bytes (default: to the end of the flash)");

  const auto [verify, source] =
      AddCommand(group, chosen, "verify", "Compare the flash with a raw file", Verify);
  verify->add_option("FILE", source.file, "raw image")->required();
  AddRange(verify, source, "only the first bytes of the file");

  AddErase(group, chosen);

  const auto [writeByte, byte] = AddCommand(
      group, chosen, "write-byte", "Erase the byte's sector and program the byte", WriteByte);
  AddNumber(writeByte, "ADDRESS", byte.address, "where")->required();
  AddNumber(writeByte, "VALUE", byte.value, "the byte", UINT8_MAX)->required();
}

}  // namespace brisk::tool
