#include "library.h"

#include <array>

#include "os.h"
#include "text.h"

namespace brisk::tool {
namespace {

template <auto Member, typename Function>
void Store(Api& api, void* symbol) {
  api.*Member = reinterpret_cast<Function>(symbol);
}

// Who must have a function.
enum class Need { kAlways, kSimulated };

struct Row {
  const char* name;
  const char* windowsName;  // null: the plain name
  void (*store)(Api&, void*);
  Need need = Need::kAlways;
};

#define BRISK_TOOL_STORE(name) Store<&Api::name, decltype(Api::name)>
#define BRISK_TOOL_PLAIN(name) \
  Row { #name, nullptr, BRISK_TOOL_STORE(name) }
#define BRISK_TOOL_FTDI(name, bytes) \
  Row { #name, "_" #name "@" #bytes, BRISK_TOOL_STORE(name) }

// Windows exports the I2cLib_ family under names that encode the parameter types, the I2C_ family
// under names that carry the size of the arguments in bytes.
constexpr std::array kFunctions = {
    BRISK_TOOL_PLAIN(BriskSetDevice),
    BRISK_TOOL_PLAIN(BriskGetVersion),
    BRISK_TOOL_PLAIN(BriskEnableDebug),
    BRISK_TOOL_PLAIN(BriskSetProgressCallback),
    BRISK_TOOL_PLAIN(I2cSetClockRate),
    BRISK_TOOL_PLAIN(I2cReadByte),
    BRISK_TOOL_PLAIN(I2cWriteData),
    BRISK_TOOL_PLAIN(I2cReadData),
    Row{"I2cLib_Write", "?I2cLib_Write@@YAEEGPAEI0I@Z", BRISK_TOOL_STORE(I2cLib_Write)},
    BRISK_TOOL_PLAIN(I2c_String),
    BRISK_TOOL_PLAIN(I2c_ReadString),
    BRISK_TOOL_PLAIN(I2c_ReadStringEx),
    BRISK_TOOL_PLAIN(Lpt_Output),
    BRISK_TOOL_PLAIN(Lpt_Input),
    BRISK_TOOL_PLAIN(SetPortVal),
    BRISK_TOOL_PLAIN(GetPortVal),
    BRISK_TOOL_PLAIN(Sddi_Erase),
    BRISK_TOOL_PLAIN(Sddi_Bitblt),
    BRISK_TOOL_PLAIN(Sddi_Bitblt_Copy),
    BRISK_TOOL_PLAIN(Sddi_Bitmap),
    BRISK_TOOL_PLAIN(Sddi_Jpeg),
    BRISK_TOOL_PLAIN(Pll_Clock),
    BRISK_TOOL_PLAIN(Pll_Nandu),
    BRISK_TOOL_PLAIN(SPIInit),
    BRISK_TOOL_PLAIN(SPIReadID),
    BRISK_TOOL_PLAIN(SPIBulkErase),
    BRISK_TOOL_PLAIN(SPISectorErase),
    BRISK_TOOL_PLAIN(SPIWriteByte),
    BRISK_TOOL_PLAIN(SPIReadByte),
    BRISK_TOOL_PLAIN(SPIProgramFromFile),
    BRISK_TOOL_PLAIN(SPIProgramToFile),
    BRISK_TOOL_PLAIN(SPISetClockRate),
    BRISK_TOOL_PLAIN(uart_connect),
    BRISK_TOOL_PLAIN(uart_mag_connect),
    BRISK_TOOL_FTDI(I2C_GetDeviceNameLocID, 16),
    BRISK_TOOL_FTDI(I2C_GetHiSpeedDeviceNameLocIDChannel, 28),
    BRISK_TOOL_FTDI(I2C_OpenEx, 12),
    BRISK_TOOL_FTDI(I2C_OpenHiSpeedDevice, 16),
    BRISK_TOOL_FTDI(I2C_Close, 4),
    BRISK_TOOL_FTDI(I2C_InitDevice, 8),
    BRISK_TOOL_FTDI(I2C_SetMode, 8),
    BRISK_TOOL_FTDI(I2C_SetGPIOs, 8),
    BRISK_TOOL_FTDI(I2C_SetHiSpeedDeviceGPIOs, 20),
    BRISK_TOOL_FTDI(I2C_GetGPIOs, 8),
    BRISK_TOOL_FTDI(I2C_GetHiSpeedDeviceGPIOs, 20),
    BRISK_TOOL_FTDI(I2C_Write, 48),
    BRISK_TOOL_FTDI(I2C_Read, 32),
    BRISK_TOOL_FTDI(I2C_GetErrorCodeString, 16),
    Row{"BriskSimConfigure", nullptr, BRISK_TOOL_STORE(BriskSimConfigure), Need::kSimulated},
    Row{"BriskSimSnapshot", nullptr, BRISK_TOOL_STORE(BriskSimSnapshot), Need::kSimulated},
};

#undef BRISK_TOOL_FTDI
#undef BRISK_TOOL_PLAIN
#undef BRISK_TOOL_STORE

const char* ExportName([[maybe_unused]] const Row& row) {
#if defined(_WIN32)
  if (row.windowsName != nullptr) return row.windowsName;
#endif
  return row.name;
}

#if defined(_WIN32)
constexpr const char* kRealName = "BRISK.dll";
constexpr const char* kSimulatedName = "brisk_sim.dll";
#else
constexpr const char* kRealName = "libbrisk.so";
constexpr const char* kSimulatedName = "libbrisk_sim.so";
#endif

std::vector<std::filesystem::path> Places(const char* name) {
  std::vector<std::filesystem::path> places;
  const std::filesystem::path folder = os::ExecutablePath().parent_path();
  if (!folder.empty()) {
    places.push_back(folder / name);
    places.push_back((folder / ".." / "lib" / name).lexically_normal());
  }
  return places;
}

}  // namespace

Library::~Library() {
  if (handle_ != nullptr) os::CloseLibrary(handle_);
}

std::optional<Failure> Library::Load(bool simulated) {
  const char* const name = simulated ? kSimulatedName : kRealName;
  const std::string tried = std::string("load the library ") + name;
  std::vector<std::string> looked;
  for (const std::filesystem::path& place : Places(name)) {
    std::error_code error;
    if (!std::filesystem::exists(place, error)) {
      looked.push_back(place.string() + " (not there)");
      continue;
    }
    std::string reason;
    handle_ = os::OpenLibrary(place.string(), reason);
    path_ = place.string();
    if (handle_ != nullptr) return Bind(simulated);
    return OperationFailure(
        tried, path_ + ": " + reason,
        "the file is there: check that it was built for this system and is whole");
  }
  std::string reason;
  path_ = name;
  handle_ = os::OpenLibrary(name, reason);
  if (handle_ != nullptr) return Bind(simulated);
  looked.push_back("the system's library folders (" + reason + ")");
  return OperationFailure(
      tried, "not found; looked for " + Join(looked, ", "),
      "put the library beside brisk or into the lib folder next to brisk's folder");
}

std::optional<Failure> Library::Bind(bool simulated) {
  std::vector<std::string> missing;
  for (const Row& row : kFunctions) {
    void* const symbol = os::FindSymbol(handle_, ExportName(row));
    const bool needed = row.need == Need::kAlways || (row.need == Need::kSimulated && simulated);
    if (symbol != nullptr) {
      row.store(api_, symbol);
    } else if (needed) {
      missing.emplace_back(ExportName(row));
    }
  }
  if (missing.empty()) return std::nullopt;
  return OperationFailure("use the library " + path_, "it lacks " + Join(missing, ", "),
                          "use the library that came with this brisk");
}

}  // namespace brisk::tool
