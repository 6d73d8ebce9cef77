// Firmware files: whatever the text, no byte comes from behind it, and no chunk leaves its RAM.
#include "adapters/tcon_board/intel_hex.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

using brisk::tcon_board::GatherChunks;
using brisk::tcon_board::HexChunk;
using brisk::tcon_board::kInternalRamEnd;
using brisk::tcon_board::RamKind;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const brisk::tcon_board::HexFile file =
      brisk::tcon_board::ParseHex({reinterpret_cast<const char*>(data), size});
  size_t bytes = 0;
  for (const auto& record : file.records) bytes += record.data.size();
  if (bytes * 2 > size) __builtin_trap();
  for (const RamKind kind : {RamKind::kInternal, RamKind::kExternal}) {
    size_t sent = 0;
    for (const HexChunk& chunk : GatherChunks(file.records, kind)) {
      const size_t end = chunk.address + chunk.data.size();
      if (chunk.data.empty() || chunk.data.size() >= 4096) __builtin_trap();
      if (kind == RamKind::kInternal ? end > kInternalRamEnd : chunk.address < kInternalRamEnd) {
        __builtin_trap();
      }
      sent += chunk.data.size();
    }
    if (sent > bytes) __builtin_trap();
  }
  return 0;
}
