// File formats: raw bytes without a header in both directions, byte k of the file at flash address
// `address` + k.
#include "flash/file_transfer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "base/text.h"
#include "base/user_message.h"
#include "flash/commands.h"

namespace brisk::flash {
namespace {

// The first `limit` bytes of the file, or all of it when it is shorter or `limit` is 0.
std::vector<uint8_t> ReadFile(File& file, uint32_t limit) {
  constexpr size_t kChunk = 65536;
  std::vector<uint8_t> bytes;
  while (limit == 0 || bytes.size() < limit) {
    const size_t old = bytes.size();
    const size_t want = limit == 0 ? kChunk : std::min<size_t>(kChunk, limit - old);
    bytes.resize(old + want);
    const size_t got = file.Read(bytes.data() + old, want);
    bytes.resize(old + got);
    if (got < want) break;
  }
  return bytes;
}

constexpr uint64_t WholePages(uint32_t size) {
  return (uint64_t{size} + kPageSize - 1) / kPageSize * kPageSize;
}

}  // namespace

// A file as the pieces that are programmed, in order.
class FileTransfer::Pieces {
 public:
  Pieces(File& file, const FileForm& form, uint32_t maxSize) : file_(file), form_(form) {
    if (form.readsAhead) ahead_ = ReadFile(file, maxSize);
    asked_ = form.readsAhead ? static_cast<uint32_t>(ahead_.size()) : maxSize;
  }

  // Bytes that the reports count up to, and the distance that the pieces cover: whole pages of
  // the file, even where a read comes up short.
  uint32_t asked() const { return asked_; }
  uint64_t span() const { return form_.readsAhead ? ahead_.size() : WholePages(asked_); }

  // The piece for an address, `offset` bytes after the first one's.
  Bytes Next(uint32_t address, uint64_t offset) {
    if (form_.readsAhead) {
      const Bytes rest = Bytes(ahead_).subspan(static_cast<size_t>(offset));
      return rest.first(std::min<size_t>(kPageSize - address % kPageSize, rest.size()));
    }
    const size_t read = file_.Read(page_.data(), page_.size());
    if (!form_.fillsPages) return {page_.data(), read};
    std::fill(page_.begin() + static_cast<std::ptrdiff_t>(read), page_.end(), uint8_t{0xFF});
    return page_;
  }
  uint64_t Step(Bytes piece) const { return form_.readsAhead ? piece.size() : kPageSize; }
  bool Ended() const { return !form_.readsAhead && !form_.fillsPages && file_.AtEnd(); }

 private:
  File& file_;
  const FileForm& form_;
  std::vector<uint8_t> ahead_;
  std::array<uint8_t, kPageSize> page_{};
  uint32_t asked_ = 0;
};

void FileTransfer::Begin() {
  progress_ = 0;
  running_ = true;
}

Transferred FileTransfer::End(const Transferred& transferred) {
  progress_ = 100;
  running_ = false;
  return transferred;
}

Transferred FileTransfer::Refuse(const char* message) {
  TellUser(message);
  return End({0, Cause::kFile});
}

Transferred FileTransfer::FromFile(uint32_t address, uint32_t maxSize, const char* path,
                                   bool erase) {
  if (form_.logs) {
    log_.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x, szfile=%s\n", address, maxSize,
               Shown(path));
  }
  Begin();
  if (form_.erasesFirst) contents_.Erase();
  const auto file = path != nullptr ? files_.OpenForReading(path) : nullptr;
  if (file == nullptr) return Refuse(kNoInputFile);
  if (form_.logs) log_.Print(0, "SPIProgramFromFile, adr = %x, maxsize=%x\n", address, maxSize);
  if (erase && !form_.erasesFirst) contents_.Erase();
  Pieces pieces(*file, form_, maxSize);
  return End(ProgramAll(address, pieces));
}

// A file that ends with a page is seen to have ended by the next one's read only: that page is
// programmed with no bytes.
Transferred FileTransfer::ProgramAll(uint32_t address, Pieces& pieces) {
  uint64_t done = 0;
  for (uint64_t offset = 0; offset < pieces.span();) {
    const auto at = static_cast<uint32_t>(address + offset);
    const Bytes piece = pieces.Next(at, offset);
    if (!contents_.Program(at, piece)) return {static_cast<uint32_t>(done), Cause::kTransfer};
    done = offset + piece.size();
    progress_ = Percent(form_.countsProgrammed ? done : offset, pieces.span());
    if (StopAsked(done, pieces.asked())) return {static_cast<uint32_t>(done), Cause::kStopped};
    if (pieces.Ended()) break;
    offset += pieces.Step(piece);
  }
  return {static_cast<uint32_t>(done), {}};
}

Transferred FileTransfer::ToFile(uint32_t address, uint32_t maxSize, const char* path) {
  if (form_.logs) {
    log_.Print(0, "SPIProgramToFile, adr = %x, maxsize=%x, szfile=%s\n", address, maxSize,
               Shown(path));
  }
  Begin();
  const auto file = path != nullptr ? files_.Create(path) : nullptr;
  if (file == nullptr) return Refuse(kNoOutputFile);
  contents_.BeginRead(address);
  const Transferred read = ReadAll(address, maxSize, *file);
  contents_.EndRead();
  file->Close();
  return End(read);
}

Transferred FileTransfer::ReadAll(uint32_t address, uint32_t size, File& file) {
  std::array<uint8_t, kPageSize> page{};
  uint32_t done = 0;
  while (done < size) {
    const uint32_t count = std::min(kPageSize, size - done);
    if (!contents_.Read(address + done, {page.data(), count})) return {done, Cause::kTransfer};
    const size_t written = file.Write(page.data(), count);
    if (form_.checksWrites && written != count) return {done, Cause::kFile};
    progress_ = Percent(form_.countsRead ? done + count : done, size);
    done += count;
    if (StopAsked(done, size)) return {done, Cause::kStopped};
  }
  return {done, {}};
}

bool FileTransfer::StopAsked(uint64_t done, uint32_t total) {
  const auto reached = static_cast<uint32_t>(std::min<uint64_t>(done, total));
  if (reporter_.Report(reached, total) && form_.stoppable) running_ = false;
  return !running_;
}

}  // namespace brisk::flash
