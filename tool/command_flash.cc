#include <algorithm>
#include <memory>

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

using Chip = std::variant<FlashChip, Failure>;

Chip Open(Session& session) {
  if (std::optional<Failure> failure = session.Ready(kFlash)) return *failure;
  return IdentifyFlash(session);
}

// The file's bytes, or as many of them as --size says.
std::variant<std::vector<uint8_t>, Failure> Image(const Arguments& arguments) {
  const std::string tried = "read the file " + arguments.file;
  std::string error;
  std::optional<std::vector<uint8_t>> bytes = ReadFile(arguments.file, error);
  if (!bytes) return OperationFailure(tried, error, "check its name and that you may read it");
  if (bytes->empty())
    return OperationFailure(tried, "it is empty", "check that it is the right file");
  if (arguments.size && *arguments.size > bytes->size()) {
    return UsageFailure(tried,
                        "it holds " + std::to_string(bytes->size()) + " bytes, --size asks for " +
                            std::to_string(*arguments.size),
                        "give at most the file's size");
  }
  if (arguments.size) bytes->resize(*arguments.size);
  return std::move(*bytes);
}

Outcome Id(Session& session, const Arguments& /*arguments*/) {
  Chip chip = Open(session);
  if (auto* const failure = std::get_if<Failure>(&chip)) return *failure;
  Reply reply;
  reply.text = std::get<FlashChip>(chip).Text() + "\n";
  reply.data["flash"] = std::get<FlashChip>(chip).Data();
  return reply;
}

std::optional<Failure> CheckErase(const Session& session, const std::string& erase) {
  if (!session.device().erasesOnProgram || erase.empty() || erase == "chip") return std::nullopt;
  return UsageFailure("program with --erase " + erase,
                      std::string("the ") + session.device().text +
                          " erases the whole chip whenever it programs a file",
                      "use --erase chip, or another --device");
}

std::string PlanText(const Session& session, const FlashChip& chip, const Arguments& arguments,
                     const std::string& erase, uint32_t size) {
  std::string text = "flash " + chip.Text() + "\n";
  if (erase == "chip") text += "would erase the whole chip\n";
  if (erase == "sectors") {
    const Sectors sectors = Touched(arguments.address, size);
    text += "would erase the sectors " + Range(sectors.address, sectors.size) + "\n";
  }
  text += "would program " + Range(arguments.address, size) + " (" + std::to_string(size) +
          " bytes) in " +
          std::to_string(SplitProgram(arguments.address, size, session.device().alignsPages,
                                      session.device().longestTransfer)
                             .size()) +
          " calls\n";
  if (!arguments.noVerify) text += "would read it back and compare\n";
  return text + "nothing was changed\n";
}

std::optional<Failure> EraseAndProgram(FlashJob& job, const Session& session,
                                       const Arguments& arguments, const std::string& erase,
                                       const std::vector<uint8_t>& image) {
  const auto size = static_cast<uint32_t>(image.size());
  // Where programming erases by itself, once is enough.
  if (erase == "chip" && !session.device().erasesOnProgram) {
    if (std::optional<Failure> failure = job.EraseChip()) return failure;
  }
  if (erase == "sectors") {
    const Sectors sectors = Touched(arguments.address, size);
    if (std::optional<Failure> failure = job.EraseSectors(sectors.address, sectors.size)) {
      return failure;
    }
  }
  if (std::optional<Failure> failure = job.Program(arguments.file, image, arguments.address)) {
    return failure;
  }
  return arguments.noVerify ? std::nullopt : job.Verify(image, arguments.address);
}

Outcome Program(Session& session, const Arguments& arguments) {
  if (std::optional<Failure> failure = CheckErase(session, arguments.erase)) return *failure;
  auto image = Image(arguments);
  if (auto* const failure = std::get_if<Failure>(&image)) return *failure;
  const std::vector<uint8_t>& bytes = std::get<std::vector<uint8_t>>(image);
  Chip opened = Open(session);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const FlashChip& chip = std::get<FlashChip>(opened);
  if (std::optional<Failure> failure =
          CheckRange(chip, "program " + arguments.file, arguments.address, bytes.size())) {
    return *failure;
  }
  const std::string unless = session.device().erasesOnProgram ? "chip" : "sectors";
  const std::string erase = arguments.erase.empty() ? unless : arguments.erase;
  const auto size = static_cast<uint32_t>(bytes.size());
  Reply reply;
  reply.data = {{"flash", chip.Data()},
                {"address", arguments.address},
                {"size", size},
                {"erase", erase},
                {"verified", false}};
  if (arguments.dryRun) {
    reply.data["dryRun"] = true;
    reply.text = PlanText(session, chip, arguments, erase, size);
    return reply;
  }
  FlashJob job(session, chip);
  if (std::optional<Failure> failure = EraseAndProgram(job, session, arguments, erase, bytes)) {
    failure->data.update(reply.data);
    return *failure;
  }
  reply.data["verified"] = !arguments.noVerify;
  reply.text = "programmed " + Range(arguments.address, size) + " (" + std::to_string(size) +
               " bytes)" + (arguments.noVerify ? ", not verified" : " and verified") + "\n";
  return reply;
}

Outcome Read(Session& session, const Arguments& arguments) {
  Chip opened = Open(session);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const FlashChip& chip = std::get<FlashChip>(opened);
  const uint32_t rest = chip.Reachable() - std::min(arguments.address, chip.Reachable());
  const uint32_t size = arguments.size.value_or(std::max(rest, 1U));
  if (std::optional<Failure> failure =
          CheckRange(chip, "read the flash", arguments.address, size)) {
    return *failure;
  }
  FlashJob job(session, chip);
  if (std::optional<Failure> failure =
          job.ReadToFile("reading", arguments.file, arguments.address, size)) {
    return *failure;
  }
  Reply reply;
  reply.data = {{"flash", chip.Data()},
                {"address", arguments.address},
                {"size", size},
                {"file", arguments.file}};
  reply.text = "read " + Range(arguments.address, size) + " (" + std::to_string(size) +
               " bytes) into " + arguments.file + "\n";
  return reply;
}

Outcome Verify(Session& session, const Arguments& arguments) {
  auto image = Image(arguments);
  if (auto* const failure = std::get_if<Failure>(&image)) return *failure;
  const std::vector<uint8_t>& bytes = std::get<std::vector<uint8_t>>(image);
  Chip opened = Open(session);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const FlashChip& chip = std::get<FlashChip>(opened);
  if (std::optional<Failure> failure =
          CheckRange(chip, "verify " + arguments.file, arguments.address, bytes.size())) {
    return *failure;
  }
  FlashJob job(session, chip);
  if (std::optional<Failure> failure = job.Verify(bytes, arguments.address)) return *failure;
  const auto size = static_cast<uint32_t>(bytes.size());
  Reply reply;
  reply.data = {{"flash", chip.Data()}, {"address", arguments.address}, {"size", size}};
  reply.text = "the flash holds " + arguments.file + " at " + Range(arguments.address, size) + "\n";
  return reply;
}

std::optional<Failure> CheckEraseRange(const Arguments& arguments) {
  const std::string tried = "erase part of the flash";
  if (arguments.chip == arguments.size.has_value()) {
    return UsageFailure(tried, "it is not said what to erase",
                        "give --chip, or --address and --size (whole sectors of 0x10000 bytes)");
  }
  if (arguments.chip || *arguments.size == 0) return std::nullopt;
  if (arguments.address % kSectorSize == 0 && *arguments.size % kSectorSize == 0) {
    return std::nullopt;
  }
  if (arguments.address >= kAddressable || *arguments.size > kAddressable) return std::nullopt;
  const Sectors sectors = Touched(arguments.address, *arguments.size);
  return UsageFailure(
      tried, "only whole sectors of 0x10000 bytes can be erased",
      "this range lies in --address " + Hex(sectors.address) + " --size " + Hex(sectors.size));
}

Outcome Erase(Session& session, const Arguments& arguments) {
  if (std::optional<Failure> failure = CheckEraseRange(arguments)) return *failure;
  Chip opened = Open(session);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const FlashChip& chip = std::get<FlashChip>(opened);
  const uint32_t address = arguments.chip ? 0 : arguments.address;
  const uint32_t size = arguments.chip ? chip.Reachable() : *arguments.size;
  if (std::optional<Failure> failure = CheckRange(chip, "erase", address, size)) return *failure;
  FlashJob job(session, chip);
  if (std::optional<Failure> failure =
          arguments.chip ? job.EraseChip() : job.EraseSectors(address, size)) {
    return *failure;
  }
  if (!arguments.noVerify) {
    if (std::optional<Failure> failure = job.Verify(std::vector<uint8_t>(size, 0xFF), address)) {
      return *failure;
    }
  }
  Reply reply;
  reply.data = {{"flash", chip.Data()},
                {"address", address},
                {"size", size},
                {"verified", !arguments.noVerify}};
  reply.text = "erased " + Range(address, size) + (arguments.noVerify ? "" : ", all FF") + "\n";
  return reply;
}

std::string EraseWarning(const DeviceType& device, uint32_t address) {
  switch (device.byteErases) {
    case ByteErases::kSector: {
      const uint32_t sector = address / kSectorSize * kSectorSize;
      return "writing a byte erases the whole sector " + Range(sector, kSectorSize) + " first";
    }
    case ByteErases::kChip:
      return std::string("writing a byte through the ") + device.text +
             " erases the whole chip first";
    case ByteErases::kNothing:
      return "nothing is erased first: the byte can only clear bits";
  }
  return {};
}

Outcome WriteByte(Session& session, const Arguments& arguments) {
  Chip opened = Open(session);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  const FlashChip& chip = std::get<FlashChip>(opened);
  if (std::optional<Failure> failure = CheckRange(chip, "write a byte", arguments.address, 1)) {
    return *failure;
  }
  session.console().Warn(EraseWarning(session.device(), arguments.address));
  session.api().SPIWriteByte(arguments.address, arguments.value);
  FlashJob job(session, chip);
  if (std::optional<Failure> failure =
          job.Verify({static_cast<uint8_t>(arguments.value)}, arguments.address)) {
    return *failure;
  }
  Reply reply;
  reply.data = {{"flash", chip.Data()},
                {"address", arguments.address},
                {"value", arguments.value},
                {"verified", true}};
  reply.text =
      "wrote " + Hex(arguments.value) + " at " + Hex(arguments.address, 6) + " and verified\n";
  return reply;
}

void AddRange(CLI::App* app, Arguments& arguments, const std::string& sizeText) {
  AddNumber(app, "--address,-a", arguments.address, "first address (default 0)");
  AddNumber(app, "--size,-n", arguments.size, sizeText);
}

}  // namespace

void AddFlashCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "flash", "Identify, erase, program and read the SPI flash");

  AddCommand(group, chosen, "id", "Identify the chip", std::make_shared<Arguments>(), Id);

  auto arguments = std::make_shared<Arguments>();
  CLI::App* const program =
      AddCommand(group, chosen, "program", "Program a raw file and verify it", arguments, Program);
  program->add_option("FILE", arguments->file, "raw image")->required();
  AddRange(program, *arguments, "only the first bytes of the file");
  program
      ->add_option("--erase", arguments->erase,
                   "chip, sectors (every 64 KiB sector that the file touches; default) or none")
      ->check(CLI::IsMember({"chip", "sectors", "none"}));
  program->add_flag("--no-verify", arguments->noVerify, "do not read back");
  program->add_flag("--dry-run", arguments->dryRun, "identify, check and say what would be done");

  arguments = std::make_shared<Arguments>();
  CLI::App* const read = AddCommand(group, chosen, "read", "Read into a raw file", arguments, Read);
  read->add_option("FILE", arguments->file, "file to create")->required();
  AddRange(read, *arguments, "bytes (default: to the end of the flash)");

  arguments = std::make_shared<Arguments>();
  CLI::App* const verify =
      AddCommand(group, chosen, "verify", "Compare the flash with a raw file", arguments, Verify);
  verify->add_option("FILE", arguments->file, "raw image")->required();
  AddRange(verify, *arguments, "only the first bytes of the file");

  arguments = std::make_shared<Arguments>();
  CLI::App* const erase =
      AddCommand(group, chosen, "erase", "Erase the chip or sectors", arguments, Erase);
  erase->add_flag("--chip", arguments->chip, "the whole chip");
  AddRange(erase, *arguments, "bytes, whole sectors of 0x10000");
  erase->add_flag("--no-verify", arguments->noVerify, "do not check that the range reads FF");

  arguments = std::make_shared<Arguments>();
  CLI::App* const writeByte =
      AddCommand(group, chosen, "write-byte", "Erase the byte's sector and program the byte",
                 arguments, WriteByte);
  AddNumber(writeByte, "ADDRESS", arguments->address, "where")->required();
  AddNumber(writeByte, "VALUE", arguments->value, "the byte", UINT8_MAX)->required();
}

}  // namespace brisk::tool
