#include "command.h"
#include "text.h"

namespace brisk::tool {
namespace {

struct Arguments {};

std::string Padded(std::string text, size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

// Lists what can be selected. Whether hardware is there is not probed: that would drive lines of
// whatever is connected.
Reply Run(Session& /*session*/, const Arguments& /*arguments*/) {
  Reply reply;
  reply.data["devices"] = Json::array();
  for (const DeviceType& device : DeviceTypes()) {
    const std::vector<std::string> abilities = AbilityNames(device.abilities);
    reply.text += std::to_string(device.number) + "  " + Padded(device.name, 13) +
                  Padded(device.text, 42) + Join(abilities, ", ") + "\n";
    reply.data["devices"].push_back({{"number", device.number},
                                     {"name", device.name},
                                     {"text", device.text},
                                     {"commands", abilities}});
  }
  return reply;
}

}  // namespace

void AddDevicesCommand(CLI::App& app, Command& chosen) {
  AddCommand(app, chosen, "devices", "List the device types and what each can do", Run);
}

}  // namespace brisk::tool
