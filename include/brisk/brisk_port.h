#ifndef BRISK_BRISK_PORT_H_
#define BRISK_BRISK_PORT_H_

#include "brisk/brisk_types.h"

BRISK_BEGIN_DECLS

/* The parallel port (types 0, 5, 9). On Linux the right to access it belongs to a thread: to the
 * one that loads the library and to those started later, which inherit it. In a thread that ran
 * before, the port instruction faults, as it does everywhere without the right. */

/* Writes the data register (0x378) of the parallel port, or what stands for it on types 1 and 2.
 * The value with bits 0 and 1 cleared becomes the base of I2c_BitOut, I2c_BitIn and the picture
 * port. Result: 0 = done on types 0, 1, 5, 9; always 0 on types 2, 4 and 7, 1 on 3 and 8. Type 2
 * has no line for bit 7: it is not sent, and read as 0. */
BRISK_API uint32_t BRISK_CALL Lpt_Output(uint8_t value);

/* Reads the status register (0x379) as it is, including the lines that the port inverts; on
 * type 2 the byte that the port puts out. Results as for Lpt_Output; a null pointer gives 1 on the
 * parallel port. */
BRISK_API uint32_t BRISK_CALL Lpt_Input(uint8_t* value);

/* Port registers of the USB boards: device type 4 addresses the timing-controller board, 8 sets the
 * port pins of the FTDI boards (SetPortVal only: direction nibble, level nibble), every other type
 * the USB debug board. Result: that board's, non-zero for success; 0 without a board, but type 8
 * always answers 1. */
BRISK_API uint32_t BRISK_CALL SetPortVal(uint8_t port, uint8_t value);
BRISK_API uint32_t BRISK_CALL GetPortVal(uint8_t port, uint8_t* value);

BRISK_END_DECLS

#endif
