#ifndef BRISK_BRISK_H_
#define BRISK_BRISK_H_

/* BRISK: one C interface to the buses of a display timing controller's board, whatever hardware
 * connects the PC to it.
 *
 * Conventions, for every header of this folder:
 *
 * 1. Load the library, select a device type with BriskSetDevice, call. Every call blocks until its
 *    bus work is done and runs on the caller's thread.
 * 2. One lock per process serialises all calls except those that say "no lock". A transaction put
 *    together from single calls (I2c_Start, I2c_Tx, ..., I2c_Stop) is not protected as a whole.
 *    Nothing is locked between processes.
 * 3. Buffers belong to the caller and are used only during the call. A null buffer where bytes are
 *    needed, or are to be stored, gives the function's failure result and moves no line.
 * 4. Failures are results; each family has its own convention, stated with it. No function prints,
 *    except where it says so, and none raises an exception.
 * 5. A device type that lacks an operation answers with a fixed result and touches no hardware; the
 *    operation says which device types serve it. Types 6 and above 9 serve nothing: results are 0.
 * 6. I2C device addresses are 8-bit bytes: the 7-bit address shifted left, read flag in bit 0.
 * 7. Diagnostic lines go to the debugger output stream (standard error on Linux), at most 1023
 *    characters each.
 */

#include "brisk/brisk_flash.h"
#include "brisk/brisk_i2c.h"
#include "brisk/brisk_picture.h"
#include "brisk/brisk_port.h"
#include "brisk/brisk_types.h"

BRISK_BEGIN_DECLS

/* Device types. */
enum {
  BRISK_DEVICE_LPT = 0,         /* PC parallel port */
  BRISK_DEVICE_U2C = 1,         /* USB-to-I2C/SPI adapter */
  BRISK_DEVICE_DEBUG_BOARD = 2, /* USB debug board */
  BRISK_DEVICE_UART = 3,        /* UART-to-I2C bridge, binary frames */
  BRISK_DEVICE_TCON_USB = 4,    /* USB timing-controller board */
  BRISK_DEVICE_LPT_B = 5,       /* parallel port, second wiring */
  BRISK_DEVICE_TEXT_BRIDGE = 7, /* serial bridge, text lines */
  BRISK_DEVICE_FTDI = 8,        /* FTDI boards with an MPSSE on interface A */
  BRISK_DEVICE_LPT_C = 9        /* parallel port, third wiring */
};

/* Selects the device type for every process that has the library loaded, from the next call on. The
 * type is stored whatever it is; right after the first load it is 0. No lock.
 *
 * Type 4 connects its board every time: it loads the board's firmware from the Intel HEX file
 * "firmware.hex" in the process's current directory. When that file cannot be opened, a debug line
 * names it and the board counts as connected, but answers nothing until firmware has been loaded.
 * An operation that finds no board connected connects first.
 *
 * Result: for type 4 the outcome of connecting the board (1 connected, 0 not); for type 8 the
 * number of interfaces found, low 8 bits, whether or not each could be opened; otherwise 1. Blocks
 * while types 4 and 8 connect; the serial bridges (3, 7) are connected by their own functions. */
BRISK_API uint8_t BRISK_CALL BriskSetDevice(uint8_t deviceType);

/* The interface version: always 6. No lock. */
BRISK_API uint32_t BRISK_CALL BriskGetVersion(void);

/* Switches the debug lines of the calls on (non-zero) or off (0), in every process that has the
 * library loaded. Start-up, clock, flash, connect and driver lines are written either way, those on
 * a driver that does not come up included. No lock. */
BRISK_API void BRISK_CALL BriskEnableDebug(int32_t enable);

BRISK_END_DECLS

#endif
