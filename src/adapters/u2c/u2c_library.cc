#include "adapters/u2c/u2c_library.h"

#include <string>

#include "base/debug.h"
#include "platform/platform.h"
#include "vendor/vendor_library.h"

namespace brisk::u2c {

std::unique_ptr<DynamicLibrary> U2cLibrary::LoadOne(const char* name) {
  std::string whyNot;
  auto library = platform().libraries.Load(name, &whyNot);
  if (library == nullptr) debugLog.Print(0, "U2C adapter library: %s\n", whyNot.c_str());
  return library;
}

void U2cLibrary::Load() {
  if (loaded_) return;
  loaded_ = true;
  common_ = LoadOne("U2CCommon");
  if (common_ != nullptr) BindFunction(*common_, "U2CCommon", "OpenU2C", &f_.OpenU2C);
  bridge_ = LoadOne("i2cbrdg");
  if (bridge_ == nullptr) return;
#define BRISK_BIND(name) BindFunction(*bridge_, "i2cbrdg", #name, &f_.name)
  BRISK_BIND(U2C_SetIoDirection);
  BRISK_BIND(U2C_IoWrite);
  BRISK_BIND(U2C_Start);
  BRISK_BIND(U2C_RepeatedStart);
  BRISK_BIND(U2C_Stop);
  BRISK_BIND(U2C_PutByteWithAck);
  BRISK_BIND(U2C_GetByteWithAck);
  BRISK_BIND(U2C_Write);
  BRISK_BIND(U2C_Read);
  BRISK_BIND(U2C_SetI2cFreq);
  BRISK_BIND(U2C_SpiSetFreq);
  BRISK_BIND(U2C_SpiWrite);
  BRISK_BIND(U2C_SpiRead);
  BRISK_BIND(U2C_DropSda);
  BRISK_BIND(U2C_ReleaseSda);
  BRISK_BIND(U2C_DropScl);
  BRISK_BIND(U2C_ReleaseScl);
#undef BRISK_BIND
}

}  // namespace brisk::u2c
