#include "brisk/brisk.h"

#include "api/call.h"

using brisk::BackEnd;
using brisk::Dispatched;
using brisk::InCallback;

BRISK_API void BRISK_CALL SPIInit(void) {
  Dispatched([](BackEnd& board) { board.SPIInit(); });
}

BRISK_API uint32_t BRISK_CALL SPIReadID(void) {
  return Dispatched([](BackEnd& board) { return board.SPIReadID(); });
}

BRISK_API void BRISK_CALL SPIBulkErase(void) {
  Dispatched([](BackEnd& board) { board.SPIBulkErase(); });
}

BRISK_API void BRISK_CALL SPISectorErase(uint32_t adr) {
  Dispatched([&](BackEnd& board) { board.SPISectorErase(adr); });
}

BRISK_API void BRISK_CALL SPIWriteByte(uint32_t adr, uint32_t data) {
  Dispatched([&](BackEnd& board) { board.SPIWriteByte(adr, data); });
}

BRISK_API void BRISK_CALL SPIReadByte(uint32_t adr, uint32_t* data) {
  Dispatched([&](BackEnd& board) { board.SPIReadByte(adr, data); });
}

BRISK_API uint32_t BRISK_CALL SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                                 uint32_t erase) {
  return Dispatched(
      [&](BackEnd& board) { return board.SPIProgramFromFile(adr, maxsize, szfile, erase); });
}

BRISK_API uint32_t BRISK_CALL SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile) {
  return Dispatched([&](BackEnd& board) { return board.SPIProgramToFile(adr, maxsize, szfile); });
}

BRISK_API uint32_t BRISK_CALL SPIGetProgress(void) {
  return Dispatched<InCallback::kAllowed>([](BackEnd& board) { return board.SPIGetProgress(); });
}

BRISK_API void BRISK_CALL SPIStop(void) {
  Dispatched<InCallback::kAllowed>([](BackEnd& board) { board.SPIStop(); });
}

BRISK_API void BRISK_CALL SPISetClockRate(uint32_t kHz) {
  Dispatched([&](BackEnd& board) { board.SPISetClockRate(kHz); });
}
