#include "flash_job.h"

#include <algorithm>

#include "text.h"

namespace brisk::tool {
namespace {

// Rounds of the library's wait of up to 5 seconds: five minutes, beyond any chip erase.
constexpr int kReadyRounds = 60;

Failure StillBusy(const std::string& tried) {
  return OperationFailure(tried, "the flash stays busy or no longer answers",
                          "check power and wiring, then brisk flash id");
}

// What the pattern of a mismatch says about its cause.
std::string MismatchAdvice(uint8_t expected, uint8_t found, bool allOnes) {
  if (allOnes) {
    return "everything reads FF, as after an erase: check the write-protect pin and the block "
           "protection bits";
  }
  if ((expected & found) != expected) {
    return "bits are 0 that should be 1: programming only clears bits, so the range was not "
           "erased; use --erase sectors or --erase chip";
  }
  return "bits are 1 that should be 0: check write protection and the bus rate (try a lower "
         "--rate)";
}

Failure Mismatch(const std::vector<uint8_t>& expected, const std::vector<uint8_t>& found,
                 uint32_t address) {
  const auto [want, got] = std::mismatch(expected.begin(), expected.end(), found.begin());
  const auto first = static_cast<uint32_t>(want - expected.begin());
  uint64_t different = 0;
  for (size_t i = first; i < expected.size(); ++i) different += expected[i] != found[i] ? 1U : 0U;
  const bool allOnes = std::all_of(found.begin(), found.end(), [](uint8_t b) { return b == 0xFF; });
  return OperationFailure(
      "verify " + std::to_string(expected.size()) + " bytes from " + Hex(address, 6) + " on",
      "first difference at address " + Hex(address + first, 6) + ": expected " + Hex(*want) +
          ", found " + Hex(*got) + " (" + std::to_string(different) + " bytes differ)",
      MismatchAdvice(*want, *got, allOnes),
      {{"mismatch",
        {{"address", address + first},
         {"expected", *want},
         {"found", *got},
         {"different", different}}}});
}

}  // namespace

bool FlashJob::WaitReady() {
  // The debug board itself waits until the flash is ready, without a limit.
  if (session_.device().erasesOnProgram) return true;
  const std::string empty = scratch_.File("empty.bin");
  WriteFile(empty, nullptr, 0);
  for (int round = 0; round < kReadyRounds && !Progress::Interrupted(); ++round) {
    if ((session_.api().SPIReadID() & 0xFFFFFFU) == chip_.id) return true;
    // A page program without data changes nothing and waits until the flash is ready.
    session_.api().SPIProgramFromFile(0, 1, empty.c_str(), 0);
  }
  return false;
}

void FlashJob::EraseChip() {
  session_.progress().Begin("erasing the whole chip", Progress::Unit::kBytes, 0);
  session_.api().SPIBulkErase();
  if (WaitReady()) return;
  if (Progress::Interrupted())
    throw StoppedFailure("erase the chip", "; the flash goes on erasing");
  throw StillBusy("erase the chip");
}

void FlashJob::EraseSectors(uint32_t address, uint32_t size) {
  const uint32_t count = size / kSectorSize;
  const std::string tried = "erase " + std::to_string(count) + " sectors from " + Hex(address, 6);
  Progress& progress = session_.progress();
  progress.Begin("erasing", Progress::Unit::kSectors, count);
  for (uint32_t i = 0; i < count; ++i) {
    session_.api().SPISectorErase(address + i * kSectorSize);
    const bool ready = WaitReady();
    if (ready && progress.Update(i + 1)) continue;
    progress.End();
    if (Progress::Interrupted()) {
      throw StoppedFailure(tried,
                           "; " + std::to_string(i + (ready ? 1 : 0)) + " sectors are erased");
    }
    throw StillBusy(tried);
  }
  progress.End();
}

void FlashJob::Program(const std::string& file, const std::vector<uint8_t>& image,
                       uint32_t address) {
  const auto size = static_cast<uint32_t>(image.size());
  const std::string tried = "program " + file + " at " + Hex(address, 6);
  const DeviceType& device = session_.device();
  Progress& progress = session_.progress();
  progress.Begin("programming", Progress::Unit::kBytes, size);
  for (const ProgramPart& part :
       SplitProgram(address, size, device.alignsPages, device.longestTransfer)) {
    const std::string piece = scratch_.File("part.bin");
    if (!WriteFile(piece, &image[part.offset], part.length)) {
      progress.End();
      throw OperationFailure(tried, "the part file " + piece + " could not be written",
                             "check the space in the folder for temporary files");
    }
    progress.SetBase(part.offset);
    const uint32_t sent =
        session_.api().SPIProgramFromFile(part.address, part.length, piece.c_str(), 0);
    const bool whole = sent >= part.length;
    const bool goOn = whole && progress.Update(part.offset + part.length);
    if (goOn || (whole && part.offset + part.length == size)) continue;
    progress.End();
    const std::string state = std::to_string(part.offset + std::min(sent, part.length)) + " of " +
                              std::to_string(size) + " bytes are programmed";
    if (Progress::Interrupted()) throw StoppedFailure(tried, "; " + state);
    throw OperationFailure(tried, state, "check the connection, then brisk flash id");
  }
  progress.End();
}

void FlashJob::ReadToFile(const std::string& label, const std::string& file, uint32_t address,
                          uint32_t size) {
  const std::string tried =
      "read " + std::to_string(size) + " bytes from " + Hex(address, 6) + " into " + file;
  Progress& progress = session_.progress();
  progress.Begin(label, Progress::Unit::kBytes, size);
  const uint32_t read = session_.api().SPIProgramToFile(address, size, file.c_str());
  if (read >= size) progress.Update(size);
  progress.End();
  const std::string amount =
      std::to_string(read) + " of " + std::to_string(size) + " bytes were read";
  if (read < size && Progress::Interrupted()) throw StoppedFailure(tried, "; " + amount);
  if (read == 0) {
    throw OperationFailure(tried, "the file could not be created",
                           "check that its folder is there and can be written");
  }
  if (read != size) {
    throw OperationFailure(tried, amount, "check the connection, then start again");
  }
  const uint64_t written = FileSize(file).value_or(0);
  if (written == size) return;
  throw OperationFailure(
      tried, "the file holds " + std::to_string(written) + " of " + std::to_string(size) + " bytes",
      "check the space on its disk");
}

void FlashJob::Verify(const std::vector<uint8_t>& expected, uint32_t address) {
  const std::string file = scratch_.File("read.bin");
  ReadToFile("verifying", file, address, static_cast<uint32_t>(expected.size()));
  std::string error;
  const std::optional<std::vector<uint8_t>> found = ReadFile(file, error);
  if (!found || found->size() != expected.size()) {
    throw OperationFailure("verify", "the file read back cannot be read: " + error,
                           "check the folder for temporary files");
  }
  if (*found != expected) throw Mismatch(expected, *found, address);
}

}  // namespace brisk::tool
