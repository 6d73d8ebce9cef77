#include <memory>

#include "command.h"

namespace brisk::tool {

void AddFtdiCommands(CLI::App& app, Command& /*chosen*/) {
  AddGroup(app, "ftdi", "Use FTDI interfaces directly as I2C masters");
}

}  // namespace brisk::tool
