#pragma once

#include <cstdint>

#include "base/progress.h"
#include "image/picture.h"
#include "image/word_writer.h"

namespace brisk::image {

// Writes the controller's frame memory through its picture port: the Sddi exports, over the word
// writer and the register reader of a back end. One object per back end.
//
// A register that cannot be read ends the operation there: nothing more is sent, and the result,
// where there is one, is 1. In a picture the start word is out by then. Progress is reported after
// every picture row; a stop ends the transfer after that row, also with result 1. There is no
// answer from the controller: a missing one goes unnoticed.
class PictureTransfer {
 public:
  PictureTransfer(WordWriter& writer, RegisterReader& registers, ProgressReporter& reporter)
      : writer_(writer), registers_(registers), reporter_(reporter) {}
  PictureTransfer(const PictureTransfer&) = delete;
  PictureTransfer& operator=(const PictureTransfer&) = delete;

  void Sddi_Erase(uint32_t colour);
  // Draws the fixed 16 x 16 pattern with its top left corner at (x, y).
  void Sddi_Bitblt(uint32_t x, uint32_t y);
  // Copies from (x1, y1) to (x2, y2); the controller knows 16 lines of 32 pixels at most.
  void Sddi_Bitblt_Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2, uint32_t width,
                        uint32_t height);
  // 0 = done, or no memory for the picture; 1 = file not opened or rejected, with a message on the
  // standard output, or the transfer ended early. A non-zero `plane` is the second plane. Pictures
  // are clipped at the right and at the bottom. A null path is a file that cannot be opened.
  uint32_t Sddi_Bitmap(const char* path, uint32_t plane);
  // The same for JPEG files. Their edges are filled up to whole MCUs: the output size counts.
  uint32_t Sddi_Jpeg(const char* path, uint32_t plane);

 private:
  // Geometry and colour mode of a plane, as the controller's registers tell.
  struct Plane {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t address = 0;  // in two-pixel units
    bool yCbCr = false;
    bool sixteenBit = false;
  };

  // False after a failed read.
  bool Read(const char* command, uint32_t& value);
  bool ReadFrame(uint32_t& width, uint32_t& height);
  bool ReadPlane(bool second, Plane& plane);

  void SendColour(uint32_t colour);
  void SendAddress(uint32_t address);

  uint32_t StreamPicture(PictureBuffer& picture, bool second);
  // Both return false when asked to stop.
  bool StreamPairs(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                   uint32_t height);
  bool StreamBytes(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                   uint32_t height);

  WordWriter& writer_;
  RegisterReader& registers_;
  ProgressReporter& reporter_;
};

}  // namespace brisk::image
