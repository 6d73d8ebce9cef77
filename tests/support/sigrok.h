#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace brisk {

#ifdef _WIN32
constexpr bool kHaveSigrok = false;  // its tools run on the Linux host only
#else
constexpr bool kHaveSigrok = true;
#endif

// What sigrok-cli's decoders say of a trace, an annotation a line and without their names.
inline std::vector<std::string> Decoded([[maybe_unused]] const std::string& trace,
                                        [[maybe_unused]] const std::string& decoders,
                                        [[maybe_unused]] const std::string& annotations) {
  std::vector<std::string> lines;
#ifndef _WIN32
  struct ClosePipe {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
  };
  const std::string command = "sigrok-cli -i '" + trace + "' -I vcd:downsample=250 -P " + decoders +
                              " -A " + annotations + " 2>&1";
  const std::unique_ptr<std::FILE, ClosePipe> pipe(popen(command.c_str(), "r"));
  std::array<char, 4096> buffer{};
  while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
    std::string line = buffer.data();
    line.erase(0, line.find(": ") + 2);
    line.erase(line.find_last_not_of('\n') + 1);
    lines.push_back(line);
  }
#endif
  return lines;
}

// The I2C lines of a trace in the words of I2cMonitor.
inline std::string DecodedI2c(const std::string& trace) {
  std::string text;
  for (const std::string& line :
       Decoded(trace, "i2c:scl=scl:sda=sda:address_format=unshifted", "i2c=addr-data")) {
    if (line == "ACK" || line == "NACK") {
      text += line == "ACK" ? "+" : "-";
    } else if (line != "Write" && line != "Read") {
      const std::string word = line == "Start"          ? "S"
                               : line == "Start repeat" ? "Sr"
                               : line == "Stop"         ? "P"
                                                        : line.substr(line.size() - 2);
      text += (text.empty() ? "" : " ") + word;
    }
  }
  return text;
}

}  // namespace brisk
