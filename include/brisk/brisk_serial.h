#ifndef BRISK_BRISK_SERIAL_H_
#define BRISK_BRISK_SERIAL_H_

#include <stdint.h> /* NOLINT(modernize-deprecated-headers): C reads this too */
#ifndef __cplusplus
#include <stdbool.h>
#endif

#include "brisk/brisk_types.h"

/* The two bridges on a serial port. Selecting their device types (3, 7) connects nothing: the tool
 * connects here, before or after the selection. Each bridge has a port of its own.
 *
 * None of these calls takes the lock: do not call them while another thread runs an operation of
 * the same device type.
 *
 * Port n is COMn on Windows; on Linux /dev/COMn when that exists, else /dev/ttyS(n-1). It is opened
 * for exclusive use with 8 data bits, no parity, one stop bit. On Windows everything else stays as
 * the port has been set: with XON/XOFF flow control on, the data bytes 0x11 and 0x13 stop the line.
 *
 * An answer may take 1152000 / rate + 10 milliseconds (30 at 57600 bits per second, 20 at 115200,
 * 130 at 9600) between one awaited byte and the next; then the operation fails, except that a byte
 * of a block read whose address was acknowledged leaves its place in the buffer as it was. An
 * answer that comes later is not taken for the next one: until a wait has been answered in time
 * again, whatever has arrived is dropped before anything is sent. So is what the text bridge sends
 * besides the bytes that a read wants, which it does until it is told to stop; a character of that
 * which crosses the next command fails this one command. While no port is open, operations send
 * nothing and fail after the same time. */

BRISK_BEGIN_DECLS

/* Opens the UART-to-I2C bridge of device type 3 at `rate` bits per second and switches it into its
 * frame mode; a bridge that is still open is disconnected first. True when the bridge answered,
 * which it may take one second to do. On failure the port is closed, and a line in the debug log
 * says which step failed. A rate of 0 fails before anything else: an open port stays open. */
BRISK_API bool BRISK_CALL uart_connect(uint8_t port, uint32_t rate);

/* Sends the bridge back to its command line and closes the port. Non-zero on success; 0 when no
 * port is open. */
BRISK_API int BRISK_CALL uart_disconnect(void);

/* Opens the text bridge of device type 7; a port that is still open is closed first. True whenever
 * the port could be opened, also when no bridge answers, and after a second without an answer at
 * the latest. The line runs at the rate of the previous call (115200 bits per second at the first);
 * `rate` sets the reply time-out from this call on, and the line from the next call on. To run the
 * line at another rate, call twice. A rate of 0 fails before anything else. */
BRISK_API bool BRISK_CALL uart_mag_connect(uint8_t port, uint32_t rate);

/* Closes the port without telling the bridge. Non-zero on success; 0 when no port is open. */
BRISK_API int BRISK_CALL uart_mag_disconnect(void);

BRISK_END_DECLS

#endif
