#ifndef BRISK_BRISK_FLASH_H_
#define BRISK_BRISK_FLASH_H_

#include "brisk/brisk_types.h"

/* The board's serial NOR flash: device types 0, 1, 2, 5, 8, 9 (elsewhere the calls do nothing and
 * return 0; SPIReadID returns 1 on type 7). Commands as in common data sheets of the 25-series with
 * JEDEC identification: 06 05 C7 D8 02 03 9F. Addresses are bytes, 24 bits; higher bits are
 * dropped.
 *
 * Every erase and program waits until the flash is ready, for at most 5 seconds; after that the
 * operation goes on without a word, so verify what matters. Nothing is verified here, and no size
 * is checked against the identification.
 *
 * Device type 2 leaves the work to its board and differs in this:
 * - A busy flash is waited for without limit, as long as the board itself answers.
 * - SPIWriteByte erases nothing.
 * - SPIProgramFromFile erases the whole chip first, whatever `erase` and before it opens the file:
 *   a missing file costs the old content. It programs exactly `maxsize` bytes, the whole file when
 *   `maxsize` is 0 or more than that, in pieces that end at the flash's own page boundaries, so
 *   that `adr` may be any.
 * - SPIInit and SPIStop do nothing; the progress callback stops a transfer.
 * - Without a board everything does nothing and returns 0. */

BRISK_BEGIN_DECLS

/* Brings the lines into their resting state. Sends nothing to the flash. */
BRISK_API void BRISK_CALL SPIInit(void);

/* Manufacturer << 16 | memory type << 8 | capacity (the chip holds 2^capacity bytes). All ones or
 * all zeros mean that nothing answers. */
BRISK_API uint32_t BRISK_CALL SPIReadID(void);

/* Erases the whole flash to 0xFF. */
BRISK_API void BRISK_CALL SPIBulkErase(void);

/* Erases the 64 KiB sector that holds `adr`. */
BRISK_API void BRISK_CALL SPISectorErase(uint32_t adr);

/* Erases the sector that holds `adr` (the whole chip on type 1, nothing on type 2), then programs
 * the low 8 bits of `data` there. */
BRISK_API void BRISK_CALL SPIWriteByte(uint32_t adr, uint32_t data);

/* Stores the byte at `adr`, zero-extended; does nothing when `data` is null. */
BRISK_API void BRISK_CALL SPIReadByte(uint32_t adr, uint32_t* data);

/* Except on type 2 (above): programs file byte k at adr + k, in pages of 256 bytes, at most
 * `maxsize` rounded up to whole pages; with a non-zero `erase` the chip is erased first. Without it
 * the caller must have erased the range: programming only clears bits. A page goes out as one page
 * program at adr + 256 p, so with an `adr` that is not a multiple of 256 the part of each page
 * beyond the flash's own page boundary wraps to the start of that flash page: such a file does not
 * arrive intact. Program the bytes up to the boundary with a call of their own.
 *
 * Result: bytes programmed; 0 with a message on standard output when the file cannot be opened (the
 * flash is then untouched, but on type 2). Stops after the page that meets the end of the file;
 * when the file ends on a page boundary one more page program without data follows. Type 1 pads to
 * whole pages with 0xFF and counts them. */
BRISK_API uint32_t BRISK_CALL SPIProgramFromFile(uint32_t adr, uint32_t maxsize, const char* szfile,
                                                 uint32_t erase);

/* Reads `maxsize` bytes from `adr` on into the file, which is created or truncated. Result: bytes
 * read; 0 with a message on standard output when the file cannot be created. A stopped transfer
 * counts every byte that was read into the file. Errors while writing the file are not reported:
 * compare its size with the result. */
BRISK_API uint32_t BRISK_CALL SPIProgramToFile(uint32_t adr, uint32_t maxsize, const char* szfile);

/* Percent, 0 to 100, of the selected device type's current or last file transfer: rising with the
 * bytes done, 100 at its end however it ended, 0 before the first. A call from another thread waits
 * until the running transfer has returned: use BriskSetProgressCallback to watch it. */
BRISK_API uint32_t BRISK_CALL SPIGetProgress(void);

/* Ends a running file transfer after the page or chunk under way. Only useful inside the progress
 * callback, since a call from another thread waits for the transfer. Has no effect on a transfer
 * that starts later. Device types 1 and 2 ignore it. */
BRISK_API void BRISK_CALL SPIStop(void);

/* Flash clock in kHz on device type 1, nearest of its rates; ignored elsewhere. On the parallel
 * port I2cSetClockRate paces the flash too. */
BRISK_API void BRISK_CALL SPISetClockRate(uint32_t kHz);

BRISK_END_DECLS

#endif
