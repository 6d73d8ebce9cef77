#ifndef BRISK_BRISK_I2C_H_
#define BRISK_BRISK_I2C_H_

#include "brisk/brisk_types.h"

/* I2C: single bus actions, register transactions, buffer transactions, string commands. Bus actions
 * and protocol as in NXP's UM10204. */

BRISK_BEGIN_DECLS

/* ---- Bus actions: device types 0, 1, 2, 3, 5, 9 (I2c_Tx and I2c_Rx also 7). ----
 *
 * On the other types nothing is sent and no `data` stored, and the results are 0, which for I2c_Tx
 * and I2c_Rx looks like success: select the device type first. */

BRISK_API void BRISK_CALL I2c_Start(void);
BRISK_API void BRISK_CALL I2c_RStart(void); /* repeated start */
BRISK_API void BRISK_CALL I2c_Stop(void);

/* Sends the low 8 bits. Result: the acknowledge bit, 0 = acknowledged, 1 = not (1 also when a
 * bridge does not answer). Always 0 on type 2. Clock stretching is not waited for on the parallel
 * port. */
BRISK_API uint32_t BRISK_CALL I2c_Tx(uint32_t byte);

/* Receives one byte, stored zero-extended; it is answered with ACK when `last` is 0, else with
 * NACK. Result: 0 = success, else failure with `data` untouched. Always 0 on type 2; `data` is
 * untouched there when there is no board. */
BRISK_API uint32_t BRISK_CALL I2c_Rx(uint32_t* data, uint32_t last);

/* One clock with SDA as given (non-zero = high), and one clock that reads SDA (0 or 1), on the
 * parallel port (types 0, 5, 9). The other data lines keep the value last written by Lpt_Output. On
 * types 5 and 9 both work on the data register alone, as their adapters expect. I2c_BitIn
 * elsewhere: 1 on types 2 and 3, else 0. */
BRISK_API void BRISK_CALL I2c_BitOut(uint8_t bit);
BRISK_API uint8_t BRISK_CALL I2c_BitIn(void);

/* Bus clock in kHz. On the parallel port (types 0, 5, 9, which share the setting) every line change
 * then lasts 500 / kHz microseconds, truncated; above 500 there is no wait, and 0 leaves the
 * setting as it is. Right after load there is no wait. Types 1, 4 and 8 take the nearest rate their
 * hardware has; elsewhere the call does nothing. */
BRISK_API void BRISK_CALL I2cSetClockRate(uint32_t kHz);

/* ---- Register transactions: 1 = success, 0 = a byte was not acknowledged. ----
 *
 * I2cWrite and I2cRead: device types 0, 1, 2, 3, 5, 7, 9. I2cWriteHead: 0, 1, 5, 9; types 2 and 3
 * answer 1 all the same. I2cWriteByte and I2cReadByte: all but 7 and 8. I2cWriteData and
 * I2cReadData: all. Elsewhere the result is 0.
 *
 * Type 8 samples no acknowledges. It keeps short writes back, ten and 10 ms at most, to send them
 * together; every other call sends them first.
 *
 * Type 2 reports no acknowledges, here and in the buffer transactions: non-zero means only that the
 * board took the request. */

/* One byte, and one received byte, inside a transaction that the caller started. */
BRISK_API uint32_t BRISK_CALL I2cWrite(uint8_t byte);
BRISK_API uint32_t BRISK_CALL I2cRead(uint8_t* data, uint32_t last);

/* Start, device, sub-address; no stop: continue with I2cWrite and end with I2c_Stop. */
BRISK_API uint32_t BRISK_CALL I2cWriteHead(uint8_t device, uint8_t subAddress);

BRISK_API uint32_t BRISK_CALL I2cWriteByte(uint8_t device, uint8_t subAddress, uint8_t data);

/* `data` keeps its value when a byte was not acknowledged (parallel port). */
BRISK_API uint32_t BRISK_CALL I2cReadByte(uint8_t device, uint8_t subAddress, uint8_t* data);

/* Start, device, command bytes, data bytes, stop. On the parallel port only the last command byte's
 * acknowledge counts; data stops at the first byte not acknowledged. Lengths may be 0.
 *
 * Type 2 takes at most 60 command bytes and fails with 0 above. Where command and data together
 * have 60, 123, 186, ... bytes (60 + 63 n), its board puts something extra on the bus before the
 * stop: a repeated start when there are 60, otherwise the 63rd byte from the end once more. Avoid
 * such a length. */
BRISK_API uint32_t BRISK_CALL I2cWriteData(uint8_t device, const uint8_t* command,
                                           uint32_t commandLength, const uint8_t* data,
                                           uint32_t dataLength);

/* Start, device, command bytes, repeated start, device with the read flag, `dataLength` bytes (ACK
 * to all but the last), stop. On the parallel port the result is the read address's acknowledge.
 * Type 2 takes at most 58 command bytes and fails with 0 above. */
BRISK_API uint32_t BRISK_CALL I2cReadData(uint8_t device, const uint8_t* command,
                                          uint32_t commandLength, uint8_t* data,
                                          uint32_t dataLength);

/* ---- Buffer transactions: 1 = all acknowledged, 0 = not. ----
 *
 * `address` with the top five bits 11110 is a 10-bit address: the high byte (bit 0 = direction) and
 * then the low byte are sent, for reading as for writing, without a repeated start between them.
 * Otherwise its low byte is the 8-bit address; bit 0 is set as the direction needs. `channel` is
 * used by device types 1 (speed: low four bits 0 or 1 = 100 kHz, 2 = 400 kHz) and 4 only. Type 8
 * answers 1 and type 4 answers 0 without bus traffic. */

/* Sends the first group and, when all of it was acknowledged, the second. A group is always sent
 * whole, and a stop condition always follows. Reads end with a stop condition, too; only a
 * WriteRead whose write part was not acknowledged leaves the bus without one on types 1, 2 and 3
 * (there the register reads, too): call I2c_Stop. */
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Write(uint8_t channel, uint16_t address,
                                              const uint8_t* first, uint32_t firstLength,
                                              const uint8_t* second, uint32_t secondLength);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Read(uint8_t channel, uint16_t address, uint8_t* data,
                                             uint32_t length);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_WriteRead(uint8_t channel, uint16_t address,
                                                  const uint8_t* write, uint32_t writeLength,
                                                  uint8_t* read, uint32_t readLength);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1Byte(uint8_t channel, uint16_t address, uint8_t byte);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W2Bytes(uint8_t channel, uint16_t address, uint8_t first,
                                                uint8_t second);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_W1ByteR1Byte(uint8_t channel, uint16_t address,
                                                     uint8_t byte, uint8_t* data);

/* Kept for old tools; no lock. Init and Cleanup are one function: 1. Scan: 0. */
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Init(void);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Cleanup(void);
BRISK_API uint8_t BRISK_LIB_CALL I2cLib_Scan7bitAddr(uint8_t address);

/* ---- String commands: device types 0, 1, 5, 9. ----
 *
 * Fixed positions, two hex digits per byte of either case, nothing skipped between fields:
 *
 *   write  "F4-10=1234."   device, register, then items: "-aa", "=aabb", "+aabbcc" (one to three
 *                          bytes, sent low byte first); "." or the end of the text completes it
 *   read   "F4-70-F5="     device, register, device for reading, size: "-" one byte, "=" two,
 *                          "+" three (low byte first on the bus)
 *
 * The two separators are any characters. A field that is not two hex digits counts as 0 and is
 * sent. Spaces or tabs before a field's digits are skipped, but the next field does not move. A
 * command shorter than its fixed fields fails before anything is sent; an item whose digits are cut
 * short fails with a stop condition, none of its bytes sent. Only the device's acknowledge is
 * examined. */

/* 0 = done, 1 = failure. Bytes sent before an unknown item stay sent. Other device types: 1, but 0
 * on type 8. */
BRISK_API uint32_t BRISK_CALL I2c_String(const char* command);

/* The value as 2, 4 or 6 upper-case hex digits, high byte first, into `result` (at least 7
 * characters). 0 = done, 1 = failure with an empty `result`. An unknown size reads nothing, leaves
 * `result` alone and is no failure. Other device types: 1, but 0 on type 8.
 *
 * Device type 3 (raw register read): `result` points to a byte, the number of frame bytes on entry
 * (1 to 20), the value's width in bytes (1, 2 or 4) on success; `command` holds the frame as hex
 * digits; the result is the value read, 1 on failure. */
BRISK_API uint32_t BRISK_CALL I2c_ReadString(char* result, const char* command);

/* The value read, 0 to 0xFFFFFF, or -2 on failure; 0 for an unknown size. Other device types: 1 on
 * types 2 and 3, -2 on 4 and 7, 0 on 8. */
BRISK_API int32_t BRISK_CALL I2c_ReadStringEx(const char* command);

/* Device type 3 (raw register write): `count` points to the number of frame bytes on entry and to
 * the width on success; `text` holds the frame as hex digits; 255 on success, 1 on failure. Other
 * device types: 1, but 0 on type 8. */
BRISK_API uint32_t BRISK_CALL I2c_WriteString(char* count, const char* text);

BRISK_END_DECLS

#endif
