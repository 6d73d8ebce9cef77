#pragma once

#include <string_view>

// What goes over the line between PC and bridge: text, two hexadecimal digits a byte, high nibble
// first. A transaction is a line, answered with a status digit and a line feed:
//
//   line                                   answer
//   address w, bytes                       1 = acknowledged, else not
//   address r                              the same; after a 1 the bytes that were read, until the
//                                          line "1" says that they were taken
//   address w, bytes, address r            as a read; 10-bit addresses take two lines for it
namespace brisk::text_bridge {

inline constexpr std::string_view kWake = "MagicCli\n";
inline constexpr std::string_view kAwake = "CLIMagic\n";
inline constexpr std::string_view kNotAwake = "Fail connect\n";
inline constexpr char kLineFeed = '\n';
inline constexpr std::string_view kLineEnd = "\n";
inline constexpr char kAcknowledged = '1';
inline constexpr std::string_view kAnswerTaken = "1\n";

}  // namespace brisk::text_bridge
