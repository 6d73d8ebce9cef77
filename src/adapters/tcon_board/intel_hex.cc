#include "adapters/tcon_board/intel_hex.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>

namespace brisk::tcon_board {
namespace {

constexpr size_t kMaxLine = 1023;
constexpr uint32_t kChunkLimit = 4096;  // bytes that no chunk reaches

// Positions in a line: ":CCAAAATT", the data, the checksum.
constexpr size_t kCountAt = 1;
constexpr size_t kAddressAt = 3;
constexpr size_t kTypeAt = 7;
constexpr size_t kDataAt = 9;
constexpr uint16_t kDataRecord = 0;

constexpr const char* kNotHexadecimal = "not hexadecimal";

// All of the digits as a number, or nothing when one of them is none.
std::optional<uint16_t> Number(std::string_view digits) {
  uint16_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, value, 16);
  return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

// What counts of a line: up to a comment, without blanks and a carriage return at its end.
std::string_view Trim(std::string_view line) {
  line = line.substr(0, std::min(line.find("//"), kMaxLine));
  return line.substr(0, line.find_last_not_of("\r \t") + 1);
}

// Appends the record of a line when it is one that counts. Null, or why the line is no record.
const char* ParseLine(std::string_view line, std::vector<HexRecord>* records) {
  if (line[0] != ':') return "no colon at its start";
  if (line.size() < kDataAt) return "too short for a record";
  const auto count = Number(line.substr(kCountAt, 2));
  const auto type = Number(line.substr(kTypeAt, 2));
  if (!count || !type) return kNotHexadecimal;
  if (*type != kDataRecord) return nullptr;
  if ((line.size() - kCountAt) % 2 != 0) return "an odd number of digits";
  const std::string_view addressDigits = line.substr(kAddressAt, 4);
  const auto address = Number(addressDigits);
  if (!address) return kNotHexadecimal;
  const std::string_view dataDigits = line.substr(kDataAt, 2 * size_t{*count});
  if (dataDigits.size() != 2 * size_t{*count}) return "shorter than its byte count";
  HexRecord record{*address, {}, std::string(addressDigits).append(dataDigits)};
  for (size_t at = 0; at < dataDigits.size(); at += 2) {
    const auto byte = Number(dataDigits.substr(at, 2));
    if (!byte) return kNotHexadecimal;
    record.data.push_back(static_cast<uint8_t>(*byte));
  }
  records->push_back(std::move(record));
  return nullptr;
}

// Keeps what lies in the wanted RAM; false when nothing of the record does.
bool ClipToRam(RamKind kind, HexChunk* part) {
  const bool below = part->address < kInternalRamEnd;
  const size_t inside =
      below ? std::min<size_t>(part->data.size(), kInternalRamEnd - part->address) : 0;
  if (kind == RamKind::kInternal) {
    part->data.resize(inside);
    return below;
  }
  const bool reachesOut = inside < part->data.size();
  part->data.erase(part->data.begin(), part->data.begin() + static_cast<ptrdiff_t>(inside));
  part->address = static_cast<uint16_t>(part->address + inside);
  return !below || reachesOut;
}

}  // namespace

HexFile ParseHex(std::string_view text) {
  HexFile file;
  for (unsigned number = 1; !text.empty(); ++number) {
    const size_t end = text.find('\n');
    const std::string_view line = Trim(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.empty()) continue;
    const char* reason = ParseLine(line, &file.records);
    if (reason != nullptr) file.errors.push_back({number, reason});
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
    HexChunk part{record.address, record.data};
    if (!ClipToRam(kind, &part)) continue;
    const bool follows = part.address == expected;
    expected = part.address + static_cast<uint32_t>(part.data.size());
    if (!follows || pending.data.size() + part.data.size() >= kChunkLimit) {
      send();
      pending = std::move(part);
    } else {
      pending.data.insert(pending.data.end(), part.data.begin(), part.data.end());
    }
  }
  send();
  return chunks;
}

}  // namespace brisk::tcon_board
