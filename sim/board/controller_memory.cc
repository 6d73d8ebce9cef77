#include "sim/board/controller_memory.h"

#include <array>
#include <cstdint>
#include <vector>

#include "sim/board/picture_receiver.h"
#include "sim/board/timing_controller.h"

namespace brisk::sim {
namespace {

// The file: this mark, the 256 registers, then the frame memory's cells, 32 bits each in the order
// of the machine that wrote it.
constexpr std::array<char, 8> kMark{'B', 'R', 'I', 'S', 'K', 'F', 'M', '1'};

}  // namespace

// The cells are as many as had been written: the rest of the frame memory is 0.
std::string ControllerMemory::Attach(const std::string& path) {
  file_.reset(std::fopen(path.c_str(), "r+b"));
  if (file_ != nullptr) {
    if (Load()) return "";
    file_.reset();
    return "memory file '" + path + "' is none that a bench has written";
  }
  file_.reset(std::fopen(path.c_str(), "w+b"));
  if (file_ == nullptr) return "memory file '" + path + "' can be neither opened nor created";
  Save();
  return file_ != nullptr ? "" : "memory file '" + path + "' cannot be written";
}

bool ControllerMemory::Load() {
  std::array<char, kMark.size()> mark{};
  std::array<uint8_t, 256> registers{};
  if (std::fread(mark.data(), 1, mark.size(), file_.get()) != mark.size() || mark != kMark ||
      std::fread(registers.data(), 1, registers.size(), file_.get()) != registers.size()) {
    return false;
  }
  std::vector<uint32_t> cells(size_t{2} * PictureReceiver::kUnits);
  cells.resize(std::fread(cells.data(), sizeof(uint32_t), cells.size(), file_.get()));
  for (size_t i = 0; i < registers.size(); ++i) {
    controller_.SetRegister(static_cast<uint8_t>(i), registers[i]);
  }
  receiver_.SetMemory(std::move(cells));
  return true;
}

void ControllerMemory::Save() {
  if (file_ == nullptr) return;
  std::array<uint8_t, 256> registers{};
  for (size_t i = 0; i < registers.size(); ++i) {
    registers[i] = controller_.Register(static_cast<uint8_t>(i));
  }
  const std::vector<uint32_t>& cells = receiver_.memory();
  std::FILE* file = file_.get();
  std::rewind(file);
  const bool saved =
      std::fwrite(kMark.data(), 1, kMark.size(), file) == kMark.size() &&
      std::fwrite(registers.data(), 1, registers.size(), file) == registers.size() &&
      std::fwrite(cells.data(), sizeof(uint32_t), cells.size(), file) == cells.size() &&
      std::fflush(file) == 0;
  if (saved) return;
  std::fputs("the simulated controller can no longer write its memory file\n", stderr);
  file_.reset();
}

}  // namespace brisk::sim
