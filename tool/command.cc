#include "command.h"

#include "text.h"

namespace brisk::tool {
namespace {

uint32_t Number(const std::string& name, const std::string& text, uint32_t limit) {
  const std::optional<uint32_t> value = ParseNumber(text, limit);
  if (value) return *value;
  if (ParseNumber(text)) {
    throw CLI::ValidationError(
        name, text + " is above " + std::to_string(limit) + " (" + Hex(limit) + ")");
  }
  throw CLI::ValidationError(name, "\"" + text + "\" is no number (decimal, or 0x and hex digits)");
}

template <typename Target>
CLI::Option* Add(CLI::App* app, const std::string& name, Target& value, const std::string& text,
                 uint32_t limit) {
  return app
      ->add_option_function<std::string>(
          name,
          [&value, name, limit](const std::string& given) { value = Number(name, given, limit); },
          text)
      ->type_name("NUMBER");
}

}  // namespace

CLI::App* AddGroup(CLI::App& app, const std::string& name, const std::string& text) {
  CLI::App* const group = app.add_subcommand(name, text);
  group->require_subcommand(1);
  return group;
}

CLI::Option* AddNumber(CLI::App* app, const std::string& name, uint32_t& value,
                       const std::string& text, uint32_t limit) {
  return Add(app, name, value, text, limit);
}

CLI::Option* AddNumber(CLI::App* app, const std::string& name, std::optional<uint32_t>& value,
                       const std::string& text, uint32_t limit) {
  return Add(app, name, value, text, limit);
}

CLI::Option* AddBytes(CLI::App* app, const std::string& name, std::vector<uint8_t>& bytes,
                      const std::string& text) {
  return app
      ->add_option_function<std::vector<std::string>>(
          name,
          [&bytes, name](const std::vector<std::string>& given) {
            for (const std::string& one : given) {
              bytes.push_back(static_cast<uint8_t>(Number(name, one, UINT8_MAX)));
            }
          },
          text)
      ->type_name("BYTE");
}

}  // namespace brisk::tool
