#pragma once

#include <cstdint>

#include "base/progress.h"
#include "image/picture.h"
#include "image/word_writer.h"

namespace brisk::image {

// Writes the controller's frame memory through its picture port, over the word writer and the
// register reader of a device. One object a device.
//
// A register that cannot be read ends the operation there: nothing more is sent. In a picture the
// start word is out by then. Progress is reported after every picture row; a stop ends the transfer
// after that row. There is no answer from the controller: a missing one goes unnoticed.
class PictureTransfer {
 public:
  PictureTransfer(WordWriter& writer, RegisterReader& registers, const PictureServices& services,
                  ProgressReporter& reporter)
      : writer_(writer), registers_(registers), services_(services), reporter_(reporter) {}
  PictureTransfer(const PictureTransfer&) = delete;
  PictureTransfer& operator=(const PictureTransfer&) = delete;

  // The whole frame in one colour.
  void Fill(uint32_t colour);
  // Draws the fixed 16 x 16 pattern with its top left corner at (x, y).
  void DrawPattern(uint32_t x, uint32_t y);
  // Copies from (x1, y1) to (x2, y2); the controller knows 16 lines of 32 pixels at most.
  void Copy(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2, uint32_t width, uint32_t height);
  // Fails when the file cannot be opened or is rejected, with a message on the standard output, and
  // when the transfer ended early; a picture that there is no memory for counts as done. Pictures
  // are clipped at the right and at the bottom. A null path is a file that cannot be opened.
  Status ShowBitmap(const char* path, bool second);
  // The same for JPEG files. Their edges are filled up to whole MCUs: the output size counts.
  Status ShowJpeg(const char* path, bool second);

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

  Status StreamPicture(PictureBuffer& picture, bool second);
  // Both return false when asked to stop.
  bool StreamPairs(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                   uint32_t height);
  bool StreamBytes(const PictureBuffer& picture, const Plane& plane, uint32_t width,
                   uint32_t height);

  WordWriter& writer_;
  RegisterReader& registers_;
  const PictureServices services_;
  ProgressReporter& reporter_;
};

}  // namespace brisk::image
