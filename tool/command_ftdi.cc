#include <map>
#include <memory>

#include "command.h"
#include "ftdi_link.h"
#include "i2c_address.h"
#include "text.h"

namespace brisk::tool {
namespace {

constexpr uint32_t kDefaultTimeoutMs = 50;
constexpr uint32_t kMostBytes = 65535;

struct Arguments {
  FtdiSettings settings{.index = 0, .mode = I2C_STANDARD_MODE, .timeoutMs = kDefaultTimeoutMs};
  uint32_t device = 0;
  bool sevenBit = false;
  uint32_t reg = 0;
  uint32_t count = 1;
  std::vector<uint8_t> bytes;
  std::optional<uint32_t> outputs;
  uint32_t levels = 0;
};

using Link = std::variant<std::unique_ptr<FtdiLink>, Failure>;

Outcome List(Session& session, const Arguments& /*arguments*/) {
  auto listed = ListFtdi(session);
  if (auto* const failure = std::get_if<Failure>(&listed)) return *failure;
  const auto& all = std::get<std::vector<FtdiInterface>>(listed);
  Reply reply;
  reply.data["interfaces"] = Json::array();
  for (size_t i = 0; i < all.size(); ++i) {
    const FtdiInterface& one = all[i];
    reply.text += std::to_string(i) + "  " + one.name + "  " + one.chip + " channel " +
                  one.channel + "  location " + Hex(one.location, 4) + "\n";
    reply.data["interfaces"].push_back({{"index", i},
                                        {"name", one.name},
                                        {"chip", one.chip},
                                        {"channel", one.channel},
                                        {"location", one.location}});
  }
  reply.text += std::to_string(all.size()) + (all.size() == 1 ? " interface\n" : " interfaces\n");
  return reply;
}

std::optional<Failure> CheckPins(const FtdiLink& link, const Arguments& arguments) {
  const uint32_t asked = arguments.outputs.value_or(0) | arguments.levels;
  if ((asked & ~link.KnownPins()) == 0) return std::nullopt;
  return UsageFailure("set the pins " + Hex(asked),
                      link.interface().chip + " has only the pins " + Hex(link.KnownPins()),
                      "bits 0 to 3 are GPIOH0 to GPIOH3; on hi-speed chips 4 to 7 are GPIOH4 to "
                      "GPIOH7 and 9 to 11 GPIOL1 to GPIOL3");
}

Outcome Gpio(Session& session, const Arguments& arguments) {
  Link opened = FtdiLink::Open(session, arguments.settings);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  FtdiLink& link = *std::get<std::unique_ptr<FtdiLink>>(opened);
  if (std::optional<Failure> failure = CheckPins(link, arguments)) return *failure;
  if (arguments.outputs) {
    if (const uint32_t status = link.SetPins(*arguments.outputs, arguments.levels); status != 0) {
      return link.Explain("set the pins", status);
    }
  }
  uint32_t levels = 0;
  if (const uint32_t status = link.GetPins(levels); status != 0) {
    return link.Explain("read the pins", status);
  }
  Reply reply;
  reply.data = {{"interface", arguments.settings.index}, {"levels", levels}};
  reply.text = "levels " + Hex(levels) + "\n";
  return reply;
}

Outcome Write(Session& session, const Arguments& arguments) {
  uint8_t address = 0;
  if (auto failure = ToAddressByte(arguments.device, arguments.sevenBit, address)) return *failure;
  Link opened = FtdiLink::Open(session, arguments.settings);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  FtdiLink& link = *std::get<std::unique_ptr<FtdiLink>>(opened);
  const std::string place = "device " + Hex(address) + ", register " + Hex(arguments.reg);
  const uint32_t status =
      link.Write({address, static_cast<uint8_t>(arguments.reg)}, arguments.bytes);
  if (status != 0) return link.Explain("write to " + place, status);
  Reply reply;
  reply.data = {{"device", address}, {"register", arguments.reg}, {"bytes", arguments.bytes}};
  reply.text = "wrote " + HexBytes(arguments.bytes) + " to " + place + "\n";
  return reply;
}

Outcome Read(Session& session, const Arguments& arguments) {
  uint8_t address = 0;
  if (auto failure = ToAddressByte(arguments.device, arguments.sevenBit, address)) return *failure;
  Link opened = FtdiLink::Open(session, arguments.settings);
  if (auto* const failure = std::get_if<Failure>(&opened)) return *failure;
  FtdiLink& link = *std::get<std::unique_ptr<FtdiLink>>(opened);
  std::vector<uint8_t> bytes(arguments.count);
  const uint32_t status = link.Read({address, static_cast<uint8_t>(arguments.reg)}, bytes);
  if (status != 0) {
    return link.Explain("read device " + Hex(address) + ", register " + Hex(arguments.reg), status);
  }
  Reply reply;
  reply.data = {{"device", address}, {"register", arguments.reg}, {"bytes", bytes}};
  reply.text = HexBytes(bytes) + "\n";
  return reply;
}

void AddLink(CLI::App* app, Arguments& arguments) {
  AddNumber(app, "--interface,-i", arguments.settings.index,
            "which interface, as ftdi list counts them (default 0)");
  static const std::map<std::string, uint32_t> kModes = {
      {"standard", I2C_STANDARD_MODE}, {"fast", I2C_FAST_MODE}, {"stretch", I2C_STRETCH_DATA_MODE}};
  app->add_option("--mode", arguments.settings.mode,
                  "standard (default), fast, or stretch for devices that stretch the clock")
      ->transform(CLI::Transformer(kModes));
  AddNumber(app, "--timeout", arguments.settings.timeoutMs,
            "milliseconds to wait for an acknowledge (default 50)", 60000);
}

void AddTarget(CLI::App* app, Arguments& arguments) {
  AddNumber(app, "DEVICE", arguments.device, "device address, 8-bit form (0xF4)", 0xFF)->required();
  app->add_flag("--7bit", arguments.sevenBit, "DEVICE is in the 7-bit form (0x7A)");
  AddNumber(app, "REGISTER", arguments.reg, "register", UINT8_MAX)->required();
}

}  // namespace

void AddFtdiCommands(CLI::App& app, Command& chosen) {
  CLI::App* const group = AddGroup(app, "ftdi", "Use FTDI interfaces directly as I2C masters");

  OnCommand(group->add_subcommand("list", "List the interfaces"), chosen,
            std::make_shared<Arguments>(), List);

  auto arguments = std::make_shared<Arguments>();
  CLI::App* const gpio =
      group->add_subcommand("gpio", "Read the pins; with --output set them first");
  AddLink(gpio, *arguments);
  CLI::Option* const output =
      AddNumber(gpio, "--output", arguments->outputs,
                "pins to drive: bit n is GPIOHn; on hi-speed chips bits 9 to 11 are GPIOL1 to 3");
  AddNumber(gpio, "--level", arguments->levels, "their levels (default 0)")->needs(output);
  OnCommand(gpio, chosen, arguments, Gpio);

  arguments = std::make_shared<Arguments>();
  CLI::App* const write = group->add_subcommand("write", "Write bytes from a register on");
  AddLink(write, *arguments);
  AddTarget(write, *arguments);
  AddBytes(write, "BYTES", arguments->bytes, "bytes to write");
  OnCommand(write, chosen, arguments, Write);

  arguments = std::make_shared<Arguments>();
  CLI::App* const read = group->add_subcommand("read", "Read bytes from a register on");
  AddLink(read, *arguments);
  AddTarget(read, *arguments);
  AddNumber(read, "--count,-n", arguments->count, "how many bytes (default 1)", kMostBytes);
  OnCommand(read, chosen, arguments, Read);
}

}  // namespace brisk::tool
