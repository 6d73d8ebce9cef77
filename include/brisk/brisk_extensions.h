#ifndef BRISK_BRISK_EXTENSIONS_H_
#define BRISK_BRISK_EXTENSIONS_H_

#include "brisk/brisk_types.h"

/* Additions to the interface that existing tools know. */

BRISK_BEGIN_DECLS

/* Told how far a flash file transfer (bytes, after every page or 256-byte chunk) or a picture
 * (rows, after every row) is. Runs on the caller's thread, under the lock. A non-zero return stops
 * the transfer as SPIStop would. SPIGetProgress and SPIStop may be called inside; any other call
 * returns 0 at once and does nothing. */
typedef int(BRISK_CALL* BriskProgressCallback)(uint32_t done, uint32_t total, void* context);

/* Sets the process's progress callback; a null callback removes it. Takes the lock, so it waits for
 * a running transfer; `context` is passed on as it is. */
BRISK_API void BRISK_CALL BriskSetProgressCallback(BriskProgressCallback callback, void* context);

BRISK_END_DECLS

#endif
