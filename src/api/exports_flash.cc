// Exports of the board's serial flash. Their names are older than the family's: "program" means
// both directions of a file transfer.
#include "brisk/brisk.h"

#include "api/call.h"

using brisk::Dispatched;
using brisk::InCallback;
using brisk::flash::Flash;
using brisk::groups::kFlash;
using brisk::groups::kFlashId;

BRISK_API void BRISK_CALL SPIInit(void) {
  Dispatched(kFlash, [](Flash& flash) { flash.Init(); });
}

BRISK_API uint32_t BRISK_CALL SPIReadID(void) {
  return Dispatched(kFlashId, [](Flash& flash) { return flash.ReadId().value(); });
}

BRISK_API void BRISK_CALL SPIBulkErase(void) {
  Dispatched(kFlash, [](Flash& flash) { flash.BulkErase(); });
}

BRISK_API void BRISK_CALL SPISectorErase(uint32_t adr) {
  Dispatched(kFlash, [&](Flash& flash) { flash.EraseSector(adr); });
}

BRISK_API void BRISK_CALL SPIWriteByte(uint32_t adr, uint32_t data) {
  Dispatched(kFlash, [&](Flash& flash) { flash.WriteByte(adr, data); });
}

BRISK_API void BRISK_CALL SPIReadByte(uint32_t adr, uint32_t* data) {
  Dispatched(kFlash, [&](Flash& flash) { flash.ReadByte(adr, data); });
}

BRISK_API uint32_t BRISK_CALL SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                                 uint32_t erase) {
  return Dispatched(kFlash, [&](Flash& flash) {
    return flash.ProgramFromFile(adr, maxsize, szfile, erase != 0).bytes;
  });
}

BRISK_API uint32_t BRISK_CALL SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) {
  return Dispatched(kFlash,
                    [&](Flash& flash) { return flash.ProgramToFile(adr, maxsize, szfile).bytes; });
}

BRISK_API uint32_t BRISK_CALL SPIGetProgress(void) {
  return Dispatched<InCallback::kAllowed>(kFlash, [](Flash& flash) { return flash.progress(); });
}

BRISK_API void BRISK_CALL SPIStop(void) {
  Dispatched<InCallback::kAllowed>(kFlash, [](Flash& flash) { flash.Stop(); });
}

BRISK_API void BRISK_CALL SPISetClockRate(uint32_t kHz) {
  Dispatched(kFlash, [&](Flash& flash) { flash.SetClockRate(kHz); });
}
