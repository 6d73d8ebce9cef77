#ifndef BRISK_BRISK_EXTENSIONS_H_
#define BRISK_BRISK_EXTENSIONS_H_

#include "brisk/brisk_types.h"

/* Additions to the interface that existing tools know. */

BRISK_BEGIN_DECLS

/* Told how far a flash file transfer (bytes, after every page or 256-byte chunk) or a picture
 * (rows, after every row) is. Runs on the caller's thread, under the lock. A non-zero return stops
 * the transfer as SPIStop would. `done` never exceeds `total`; a file that ends early ends the
 * reports early.
 *
 * SPIGetProgress and SPIStop may be called inside, and mean the running transfer;
 * BriskSetProgressCallback, too, for the reports that follow. Every other call to the selected
 * hardware, BriskSetDevice and the connects of the serial bridges return 0 at once and do nothing.
 * The I2C_ family has a lock of its own and is not refused: leave the interfaces alone that a
 * transfer of device type 8 uses. */
typedef int(BRISK_CALL* BriskProgressCallback)(uint32_t done, uint32_t total, void* context);

/* Sets the process's progress callback; a null callback removes it. Takes the lock, so it waits for
 * a running transfer; `context` is passed on as it is. */
BRISK_API void BRISK_CALL BriskSetProgressCallback(BriskProgressCallback callback, void* context);

BRISK_END_DECLS

#endif
