#include <map>

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
  DeviceAddress device;
  uint32_t reg = 0;
  uint32_t count = 1;
  std::vector<uint8_t> bytes;
  std::optional<uint32_t> outputs;
  uint32_t levels = 0;
};

Reply List(Session& session, const Arguments& /*arguments*/) {
  const std::vector<FtdiInterface> all = ListFtdi(session);
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

void CheckPins(const FtdiInterface& interface, const Arguments& arguments) {
  const uint32_t asked = arguments.outputs.value_or(0) | arguments.levels;
  if ((asked & ~interface.pins) == 0) return;
  throw UsageFailure("set the pins " + Hex(asked),
                     interface.chip + " has only the pins " + Hex(interface.pins),
                     "bits 0 to 3 are GPIOH0 to GPIOH3; on hi-speed chips 4 to 7 are GPIOH4 to "
                     "GPIOH7 and 9 to 11 GPIOL1 to GPIOL3");
}

Reply Gpio(Session& session, const Arguments& arguments) {
  const auto link = FtdiLink::Open(session, arguments.settings);
  CheckPins(link->interface(), arguments);
  if (arguments.outputs) {
    link->Check("set the pins", link->SetPins(*arguments.outputs, arguments.levels));
  }
  uint32_t levels = 0;
  link->Check("read the pins", link->GetPins(levels));
  return {"levels " + Hex(levels) + "\n",
          {{"interface", arguments.settings.index}, {"levels", levels}}};
}

std::string Place(uint8_t address, uint32_t reg) {
  return "device " + Hex(address) + ", register " + Hex(reg);
}

Json TransferData(uint8_t address, uint32_t reg, const std::vector<uint8_t>& bytes) {
  return {{"device", address}, {"register", reg}, {"bytes", bytes}};
}

Reply Write(Session& session, const Arguments& arguments) {
  const uint8_t address = arguments.device.Byte();
  const auto link = FtdiLink::Open(session, arguments.settings);
  const std::string place = Place(address, arguments.reg);
  link->Check("write to " + place,
              link->Write({address, static_cast<uint8_t>(arguments.reg)}, arguments.bytes));
  return {"wrote " + HexBytes(arguments.bytes) + " to " + place + "\n",
          TransferData(address, arguments.reg, arguments.bytes)};
}

Reply Read(Session& session, const Arguments& arguments) {
  const uint8_t address = arguments.device.Byte();
  const auto link = FtdiLink::Open(session, arguments.settings);
  std::vector<uint8_t> bytes(arguments.count);
  link->Check("read " + Place(address, arguments.reg),
              link->Read({address, static_cast<uint8_t>(arguments.reg)}, bytes));
  return {HexBytes(bytes) + "\n", TransferData(address, arguments.reg, bytes)};
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
  AddLink(app, arguments);
  AddDevice(app, arguments.device);
  AddNumber(app, "REGISTER", arguments.reg, "register", UINT8_MAX)->required();
}

}  // namespace

void AddFtdiCommands(CLI::App& app, Command& chosen) {
  CLI::App& group = AddGroup(app, "ftdi", "Use FTDI interfaces directly as I2C masters");
  AddCommand(group, chosen, "list", "List the interfaces", List);

  const auto [gpio, pins] =
      AddCommand(group, chosen, "gpio", "Read the pins; with --output set them first", Gpio);
  AddLink(gpio, pins);
  CLI::Option* const output =
      AddNumber(gpio, "--output", pins.outputs,
                "pins to drive: bit n is GPIOHn; on hi-speed chips bits 9 to 11 are GPIOL1 to 3");
  AddNumber(gpio, "--level", pins.levels, "their levels (default 0)")->needs(output);

  const auto [write, written] =
      AddCommand(group, chosen, "write", "Write bytes from a register on", Write);
  AddTarget(write, written);
  AddBytes(write, "BYTES", written.bytes, "bytes to write");

  const auto [read, asked] =
      AddCommand(group, chosen, "read", "Read bytes from a register on", Read);
  AddTarget(read, asked);
  AddNumber(read, "--count,-n", asked.count, "how many bytes (default 1)", kMostBytes);
}

}  // namespace brisk::tool
