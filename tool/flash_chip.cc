#include "flash_chip.h"

#include <algorithm>
#include <array>

#include "text.h"

namespace brisk::tool {
namespace {

struct Maker {
  uint8_t code;
  const char* name;
};

// JEDEC JEP106, first bank.
constexpr std::array<Maker, 12> kMakers = {{
    {0x01, "Spansion"},
    {0x1C, "EON"},
    {0x1F, "Atmel"},
    {0x20, "Micron"},
    {0x85, "Puya"},
    {0x9D, "ISSI"},
    {0xA1, "Fudan"},
    {0xBF, "SST"},
    {0xC2, "Macronix"},
    {0xC8, "GigaDevice"},
    {0xEF, "Winbond"},
    {0x68, "Boya"},
}};

// The capacity byte is the binary logarithm of the size on all common parts: 64 KiB to 256 MiB.
constexpr uint32_t kLeastCapacity = 0x10;
constexpr uint32_t kMostCapacity = 0x1C;

const char* MakerName(uint32_t id) {
  for (const Maker& maker : kMakers) {
    if (maker.code == id >> 16U) return maker.name;
  }
  return "unknown manufacturer";
}

}  // namespace

uint32_t FlashChip::Reachable() const {
  if (size == 0 || size > kAddressable) return kAddressable;
  return static_cast<uint32_t>(size);
}

std::string FlashChip::Text() const {
  return Hex(id, 6).substr(2) + " (" + MakerName(id) + ", " +
         (size == 0 ? "unknown size" : Size(size)) + ")";
}

Json FlashChip::Data() const {
  Json data = {{"id", Hex(id, 6).substr(2)},
               {"manufacturer", id >> 16U},
               {"manufacturerName", MakerName(id)},
               {"memoryType", (id >> 8U) & 0xFFU},
               {"capacity", id & 0xFFU}};
  if (size != 0) data["size"] = size;
  return data;
}

FlashChip OpenFlash(Session& session) {
  session.Ready(kFlash);
  session.api().SPIInit();
  FlashChip chip;
  chip.id = session.api().SPIReadID() & 0xFFFFFFU;
  if (chip.id == 0 || chip.id == 0xFFFFFF) {
    const std::string digits = Hex(chip.id, 6).substr(2);
    throw OperationFailure(
        std::string("identify the flash through ") + session.device().name,
        "identification " + digits + ": the data line never moved, so nothing answered",
        "this is wiring or power, not an unknown chip: check the board's power, ground, chip "
        "select and data out, and that --device names the adapter in use");
  }
  const uint32_t capacity = chip.id & 0xFFU;
  if (capacity >= kLeastCapacity && capacity <= kMostCapacity) chip.size = uint64_t{1} << capacity;
  if (chip.size == 0) {
    session.console().Warn("the capacity byte " + Hex(capacity) +
                           " of the identification says no size; only the 16 MiB limit of 24-bit "
                           "addresses is checked");
  } else if (chip.size > kAddressable) {
    session.console().Warn("the flash holds " + Size(chip.size) +
                           ", of which 24-bit addresses reach the first 16 MiB");
  }
  return chip;
}

void CheckRange(const FlashChip& chip, const std::string& tried, uint64_t address, uint64_t size) {
  if (size == 0) throw UsageFailure(tried, "there are 0 bytes to handle", "give a size above 0");
  if (address + size <= chip.Reachable()) return;
  throw OperationFailure(
      tried,
      std::to_string(size) + " bytes from " + Hex(static_cast<uint32_t>(address), 6) +
          " on do not fit into the flash of " + std::to_string(chip.Reachable()) + " bytes",
      "nothing was changed; check the file, the address and the chip: " + chip.Text(),
      {{"flash", chip.Data()}});
}

std::vector<ProgramPart> SplitProgram(uint32_t address, uint32_t length, bool alignsPages,
                                      uint32_t longest) {
  if (alignsPages) return {{address, 0, length}};
  std::vector<ProgramPart> parts;
  uint32_t offset = 0;
  if (const uint32_t inPage = address % kPageSize; inPage != 0) {
    parts.push_back({address, 0, std::min(length, kPageSize - inPage)});
    offset = parts.back().length;
  }
  while (offset < length) {
    const uint32_t rest = length - offset;
    const uint32_t part = longest == 0 ? rest : std::min(rest, longest);
    parts.push_back({address + offset, offset, part});
    offset += part;
  }
  return parts;
}

}  // namespace brisk::tool
