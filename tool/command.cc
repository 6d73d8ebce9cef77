#include "command.h"

#include "text.h"

namespace brisk::tool {

CLI::App& AddGroup(CLI::App& app, const std::string& name, const std::string& text) {
  return *app.add_subcommand(name, text)->require_subcommand(1);
}

uint32_t OptionNumber(const std::string& name, const std::string& text, uint32_t limit) {
  const std::optional<uint32_t> value = ParseNumber(text, limit);
  if (value) return *value;
  if (ParseNumber(text)) {
    throw CLI::ValidationError(
        name, text + " is above " + std::to_string(limit) + " (" + Hex(limit) + ")");
  }
  throw CLI::ValidationError(name, "\"" + text + "\" is no number (decimal, or 0x and hex digits)");
}

CLI::Option* AddBytes(CLI::App* app, const std::string& name, std::vector<uint8_t>& bytes,
                      const std::string& text) {
  const auto store = [&bytes, name](const std::vector<std::string>& given) {
    for (const std::string& one : given) {
      bytes.push_back(static_cast<uint8_t>(OptionNumber(name, one, UINT8_MAX)));
    }
  };
  return app->add_option_function<std::vector<std::string>>(name, store, text)->type_name("BYTE");
}

}  // namespace brisk::tool
