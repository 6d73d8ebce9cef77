#include "library.h"

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

constexpr Row kFunctions[] = {
#define BRISK_TOOL_NAMED(name, windowsName) \
  {#name, windowsName, Store<&Api::name, decltype(Api::name)>},
#define BRISK_TOOL_PLAIN(name) BRISK_TOOL_NAMED(name, nullptr)
#define BRISK_TOOL_SIMULATED(name) \
  {#name, nullptr, Store<&Api::name, decltype(Api::name)>, Need::kSimulated},
    BRISK_TOOL_FUNCTIONS(BRISK_TOOL_PLAIN, BRISK_TOOL_NAMED, BRISK_TOOL_SIMULATED)
#undef BRISK_TOOL_SIMULATED
#undef BRISK_TOOL_PLAIN
#undef BRISK_TOOL_NAMED
};

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
