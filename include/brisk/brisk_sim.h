#ifndef BRISK_BRISK_SIM_H_
#define BRISK_BRISK_SIM_H_

#include "brisk/brisk_types.h"

/* The simulated bench, exported by brisk_sim only: the same library as the real one, on a simulated
 * PC with a simulated board instead of the operating system. */

BRISK_BEGIN_DECLS

/* Replaces the bench by the one that `options` describes: "key=value" separated by commas (a
 * doubled comma stands for one), every key optional.
 *
 *   adapter=NAME[+NAME]   what connects the board, or none; default lpt:
 *                           lpt, lpt-b, lpt-c  the parallel port's wirings of device types 0, 5
 *                                        and 9; they exclude one another
 *                           u2c, debug-board, tcon-usb, uart, text-bridge
 *                                        the hardware of device types 1, 2, 4, 3 and 7
 *                           ft2232c, ft2232c-2, talvo, ft2232h, ft4232h
 *                                        FTDI boards; device type 8 finds the first three (one
 *                                        that goes to a second board, one named TALVO), the I2C_
 *                                        functions all
 *   flash=CHIP            w25q16, w25q32 (default), w25q64, w25q128 or none
 *   image=FILE            keeps the flash contents: loaded now (a missing file is a blank chip, and
 *                         is created), every program and erase is written to it
 *   chip-erase-ms=N       how long a chip erase takes; by default 0.5 s per MiB, which is quicker
 *                         than real
 *   frame=WxH             the controller's frame in pixels; default 1024x768
 *   memory=FILE           keeps the controller's registers and frame memory, as if its power stayed
 *                         on: loaded now (a missing file is a controller just switched on, and is
 *                         created), written when the bench ends. frame=, where given, replaces the
 *                         frame size that the file holds.
 *   ten-bit=ADDRESS       adds an I2C device with this 10-bit address (0 to 0x3FF); default none
 *   trace=FILE            every line's changes, as a VCD file
 *   clock=virtual | real  virtual (default): time passes only by what is done, so waiting costs
 *                         nothing
 *   system=nt | 9x        family of the simulated operating system; default nt
 *   seed=N                of everything drawn at random; default 1
 *   debug=none | stderr   where debug lines go; default none
 *   fault=KIND[:ARGUMENT][@N][%P][+...]
 *                         what goes wrong: at every occasion, at the Nth only (from 1), or by a
 *                         chance of P percent. Each of several counts for itself; what is a state
 *                         (a stuck line, something unplugged) stays from then on. The kinds are
 *                         listed below; a fault of an adapter that is not connected is an error.
 *
 * On the board and the PC, whatever the adapter:
 *   nak[:DEVICE]          an I2C device does not acknowledge: any, or controller, eeprom, ten-bit
 *   sda-low, scl-low      the line is stuck, from a falling edge of SCL on
 *   flash-busy[:MS]       a program or erase never ends, or takes that long
 *   open-refused          a file cannot be opened
 *   disk-full:BYTES       a file that is created takes no more
 * Of adapters debug-board and tcon-usb:
 *   usb-stall             a transfer is refused
 *   usb-time-out          a transfer is never answered
 *   usb-short             an answer lacks its last byte (control transfers of tcon-usb) or half
 *   usb-status            data moves, but the status that comes with it tells an error
 *   usb-unplug            the board goes away, for good
 * Of adapters uart and text-bridge:
 *   line-silent           an answer is lost
 *   line-delay:MS         an answer comes late
 *   line-split:MS         there is a pause between the bytes of an answer
 *   line-junk:BYTES       an answer comes behind so many bytes of junk
 *   line-width            a register frame is answered with a wrong width (uart only)
 *   line-gone             the adapter is unplugged; an occasion is a byte, in either direction
 * Of the FTDI adapters:
 *   d2xx-fails[:FT_NAME]  a D2XX function fails: any, or the one named
 *   d2xx-short-write:N    FT_Write takes at most N bytes
 *   ftdi-no-answers       what the chips answer is lost
 *   ftdi-unplug           a chip leaves the bus during a call
 * Of adapter u2c:
 *   u2c-absent            opening fails
 *   u2c-fails[:U2C_NAME]  a function of its library fails: any, or the one named
 *
 * The library is detached from the old bench and attached to the new one, as if it had been
 * unloaded and loaded: the device type, rates and connections start afresh. No other call may be
 * running.
 *
 * Result: 0 = done. Otherwise the old bench stays, its trace ended if a file could not be opened,
 * and `message` (which may be null) receives what is wrong, cut to messageSize with the NUL. */
BRISK_API int BRISK_CALL BriskSimConfigure(const char* options, char* message,
                                           uint32_t messageSize);

/* Saves a plane of the simulated frame memory, 0 or 1, as it would be displayed: a 24-bit BMP file
 * of the plane's size in the controller's registers, at most 1600 x 1200 from its upper left
 * corner. What nothing has written is black. The other calls may not run meanwhile.
 *
 * Result: 0 = done. Otherwise `message` receives what is wrong, as above. */
BRISK_API int BRISK_CALL BriskSimSnapshot(const char* path, uint32_t plane, char* message,
                                          uint32_t messageSize);

BRISK_END_DECLS

#endif
