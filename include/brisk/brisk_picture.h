#ifndef BRISK_BRISK_PICTURE_H_
#define BRISK_BRISK_PICTURE_H_

#include "brisk/brisk_types.h"

/* The controller's frame memory through its two-wire picture port, and PLL settings: device types
 * 0, 1, 5 and 9 (Sddi_Tx also 2). Elsewhere the calls do nothing; Sddi_Bitmap, Sddi_Jpeg, Pll_Clock
 * and Pll_Nandu return 1 on types 2, 3 and 8 and 0 on 4 and 7.
 *
 * Geometry and colour mode are read from the controller (I2C device 0xF4) before anything is sent.
 * Nothing comes back from the picture port: a missing controller shows only in those reads. When
 * one fails the operation ends there: nothing more is sent, and the result, where there is one,
 * is 1. */

BRISK_BEGIN_DECLS

/* Fills the frame with one 32-bit colour pattern (two 16-bit pixels). */
BRISK_API void BRISK_CALL Sddi_Erase(uint32_t colour);

/* Draws the fixed 16 x 16 one-bit pattern with its top-left corner at (x, y). The controller
 * addresses pairs of pixels: here and in block copies the first pixel of the pair is meant. */
BRISK_API void BRISK_CALL Sddi_Bitblt(uint32_t x, uint32_t y, uint32_t unused);

/* Copies a block of w x h pixels from (x1, y1) to (x2, y2). The controller's command counts lines
 * in 4 bits and pairs of pixels in 4 bits: larger counts are sent modulo 16, an odd width one pixel
 * less. Copy larger areas block by block. */
BRISK_API void BRISK_CALL Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2,
                                           uint32_t w, uint32_t h);

/* Sends an uncompressed 24-bit BMP of at most 1600 x 1200, or a JPEG (Huffman, 8 bit, YCbCr 4:4:4,
 * 4:2:2 or 4:2:0; path of at most 127 characters), to the top-left corner of the main plane or,
 * with a non-zero `plane`, the second one. What lies outside the frame is cut off. Messages go to
 * standard output. Result: 0 = done, or no memory for the picture, with nothing sent; 1 = file not
 * opened, rejected or stopped. */
BRISK_API uint32_t BRISK_CALL Sddi_Bitmap(const char* path, uint32_t plane);
BRISK_API uint32_t BRISK_CALL Sddi_Jpeg(const char* path, uint32_t plane);

/* Sends one word of `bits` (1 to 32) bits, most significant first, on the picture port. */
BRISK_API void BRISK_CALL Sddi_Tx(uint32_t bits, uint32_t value);

/* Sends `bits` (1 to 32) bits, least significant first, on data bit 4 with clock on data bit 5. */
BRISK_API void BRISK_CALL C1_TxDebug(uint32_t bits, uint32_t value);

/* Divider settings for `target` from `reference` (same unit, kHz for the thresholds): reference
 * divider code, exponent of the power-of-two post divider, multiplier code. Touches no hardware.
 * Result: 0 = done; 1 = a target or reference of 0, no setting near enough, or a null output, with
 * the outputs untouched. */
BRISK_API uint32_t BRISK_CALL Pll_Clock(uint32_t target, uint32_t reference, uint16_t* divider,
                                        uint16_t* exponent, uint16_t* multiplier);

/* The 24-bit setting word of the second kind of synthesizer as high, middle and low byte. Results
 * as for Pll_Clock. */
BRISK_API uint32_t BRISK_CALL Pll_Nandu(uint32_t target, uint32_t reference, uint16_t* high,
                                        uint16_t* middle, uint16_t* low);

/* Loads the PLL of the USB debug board (device type 2) with two setting bytes and three setting
 * words, sent as they are, high byte first; of `e` bits 23 to 16 are sent as 0x17. Type 1 only
 * writes a debug line. Always 0, and no sign of a missing board. */
BRISK_API uint32_t BRISK_CALL Pll_Write(uint8_t a, uint8_t b, uint32_t c, uint32_t d, uint32_t e);

BRISK_END_DECLS

#endif
