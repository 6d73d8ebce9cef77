#include "vendor/library.h"

#include <utility>

namespace brisk::vendor {

bool Library::Load() {
  if (loaded()) return true;
  tried_ = true;
  std::unique_ptr<DynamicLibrary> library = libraries_.Load(contract_.name, &whyNot_);
  if (library == nullptr) {
    if (contract_.absentLine != nullptr) {
      log_.Print(0, "%s: %s\n", contract_.absentLine, whyNot_.c_str());
    }
    return false;
  }
  if (!Bind(*library)) return false;
  library_ = std::move(library);
  return true;
}

bool Library::LoadOnce() { return tried_ ? loaded() : Load(); }

void Library::Unload() {
  functions_.clear();
  library_.reset();
}

bool Library::Bind(DynamicLibrary& library) {
  std::vector<void*> functions;
  for (const Symbol& symbol : contract_.symbols) {
    functions.push_back(library.Symbol(symbol.name, symbol.ordinal));
    if (functions.back() != nullptr) continue;
    TellMissing(symbol);
    if (contract_.needs == Needs::kAll) return false;
  }
  functions_ = std::move(functions);
  return true;
}

void Library::TellMissing(const Symbol& symbol) {
  whyNot_ = std::string(contract_.name) + " lacks " + symbol.name;
  if (symbol.ordinal != 0) whyNot_ += " (ordinal " + std::to_string(symbol.ordinal) + ")";
  log_.Print(0, "%s\n", whyNot_.c_str());
}

}  // namespace brisk::vendor
