#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace brisk::tcon_board {

// Firmware images in Intel HEX, the text that assemblers for 8-bit controllers write:
//
//   :03000000020100FA
//    CCAAAATTDD....SS   byte count, address, record type, the bytes, checksum; all hexadecimal
//
// Only data records (type 00) count: end-of-file and extended-address records are passed over, so
// addresses are the 16 bits of the record, and the checksum is not looked at. "//" begins a
// comment; empty lines and lines of comment alone are passed over.

struct HexRecord {
  uint16_t address = 0;
  std::vector<uint8_t> data;
  std::string text;  // the four address characters and the data characters, as the file has them
};

// A line that is no record: nothing of it is used.
struct HexError {
  unsigned line = 0;  // from 1
  std::string reason;
};

struct HexFile {
  std::vector<HexRecord> records;
  std::vector<HexError> errors;
};

// Lines end with a line feed, with or without a carriage return, and count up to 1023 characters.
HexFile ParseHex(std::string_view text);

// Which RAM a download reaches: below this address lies the controller's own.
inline constexpr uint32_t kInternalRamEnd = 0x2000;
enum class RamKind { kInternal, kExternal };

// Consecutive bytes, fewer than 4096, that one request carries.
struct HexChunk {
  uint16_t address = 0;
  std::vector<uint8_t> data;
};

// The part of the records that lies in that RAM, gathered in file order: a new chunk begins at a
// gap and where one would reach 4096 bytes. A record that crosses the end of the internal RAM is
// cut there.
std::vector<HexChunk> GatherChunks(const std::vector<HexRecord>& records, RamKind kind);

}  // namespace brisk::tcon_board
