#include "adapters/tcon_board/intel_hex.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace brisk::usb {
namespace {

constexpr size_t kMaxLine = 1023;
constexpr uint32_t kChunkLimit = 4096;
constexpr uint8_t kDataRecord = 0;

// Positions in a line, as the format has them: ":CCAAAATT", the data, the checksum.
constexpr size_t kCountAt = 1;
constexpr size_t kAddressAt = 3;
constexpr size_t kTypeAt = 7;
constexpr size_t kDataAt = 9;
constexpr size_t kAddressDigits = 4;

int Digit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  if (character >= 'A' && character <= 'F') return character - 'A' + 10;
  if (character >= 'a' && character <= 'f') return character - 'a' + 10;
  return -1;
}

std::optional<uint8_t> Byte(std::string_view line, size_t at) {
  const int high = Digit(line[at]);
  const int low = Digit(line[at + 1]);
  if (high < 0 || low < 0) return std::nullopt;
  return static_cast<uint8_t>(high << 4 | low);
}

std::string_view Trim(std::string_view line) {
  line = line.substr(0, std::min(line.find("//"), kMaxLine));
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) {
    line.remove_suffix(1);
  }
  return line;
}

const char* ParseData(std::string_view line, uint8_t count, HexRecord* record) {
  const auto high = Byte(line, kAddressAt);
  const auto low = Byte(line, kAddressAt + 2);
  if (!high || !low) return "not hexadecimal";
  record->address = static_cast<uint16_t>(*high << 8 | *low);
  if (line.size() < kDataAt + 2 * size_t{count}) return "shorter than its byte count";
  for (size_t i = 0; i < count; ++i) {
    const auto byte = Byte(line, kDataAt + 2 * i);
    if (!byte) return "not hexadecimal";
    record->data.push_back(*byte);
  }
  record->text = line.substr(kAddressAt, kAddressDigits);
  record->text += line.substr(kDataAt, 2 * size_t{count});
  return nullptr;
}

// Null when the line is a record; `*isData` tells whether one that counts.
const char* ParseRecord(std::string_view line, bool* isData, HexRecord* record) {
  *isData = false;
  if (line[0] != ':') return "no colon at its start";
  if (line.size() < kDataAt) return "too short for a record";
  const auto count = Byte(line, kCountAt);
  const auto type = Byte(line, kTypeAt);
  if (!count || !type) return "not hexadecimal";
  if (*type != kDataRecord) return nullptr;
  if ((line.size() - kCountAt) % 2 != 0) return "an odd number of digits";
  *isData = true;
  return ParseData(line, *count, record);
}

// Keeps what lies in the wanted RAM; false when nothing of the record does.
bool ClipToRam(RamKind kind, uint32_t* address, std::vector<uint8_t>* data) {
  const uint32_t end = *address + static_cast<uint32_t>(data->size());
  const bool below = *address < kInternalRamEnd;
  if (kind == RamKind::kInternal) {
    if (below && end > kInternalRamEnd) data->resize(kInternalRamEnd - *address);
    return below;
  }
  if (below && end > kInternalRamEnd) {
    data->erase(data->begin(), data->begin() + static_cast<ptrdiff_t>(kInternalRamEnd - *address));
    *address = kInternalRamEnd;
    return true;
  }
  return !below;
}

}  // namespace

HexFile ParseHex(std::string_view text) {
  HexFile file;
  for (unsigned number = 1; !text.empty(); ++number) {
    const size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty()) continue;
    HexRecord record;
    bool isData = false;
    const char* reason = ParseRecord(line, &isData, &record);
    if (reason != nullptr) {
      file.errors.push_back({number, reason});
    } else if (isData) {
      file.records.push_back(std::move(record));
    }
  }
  return file;
}

std::vector<HexChunk> GatherChunks(const std::vector<HexRecord>& records, RamKind kind) {
  std::vector<HexChunk> chunks;
  HexChunk pending;
  uint32_t expected = 0;
  const auto send = [&] {
    if (!pending.data.empty()) chunks.push_back(std::move(pending));
  };
  for (const HexRecord& record : records) {
    uint32_t address = record.address;
    std::vector<uint8_t> data = record.data;
    if (!ClipToRam(kind, &address, &data)) continue;
    const auto length = static_cast<uint32_t>(data.size());
    if (address != expected || pending.data.size() + length >= kChunkLimit) {
      send();
      pending = {static_cast<uint16_t>(address), std::move(data)};
    } else {
      pending.data.insert(pending.data.end(), data.begin(), data.end());
    }
    expected = address + length;
  }
  send();
  return chunks;
}

}  // namespace brisk::usb
