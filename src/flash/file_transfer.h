#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "base/debug.h"
#include "base/progress.h"
#include "flash/flash.h"
#include "platform/files.h"

namespace brisk::flash {

// What a file transfer moves: the flash's contents, in pieces of at most a page.
class Contents {
 public:
  virtual ~Contents() = default;

  virtual void Erase() = 0;  // the whole chip, and the wait for it
  // One page program and the wait for it; with no bytes too. False ends the transfer.
  virtual bool Program(uint32_t address, Bytes bytes) = 0;

  // One range, read in pieces that follow one another. False ends the transfer.
  virtual void BeginRead(uint32_t /*address*/) {}
  virtual bool Read(uint32_t address, Buffer bytes) = 0;
  virtual void EndRead() {}
};

// In what the adapters' transfers differ.
struct FileForm {
  bool logs = true;  // tells the debug log of each transfer, and of each file opened for reading
  // Erases the chip before the file is opened, whatever the caller asked for; else after that, and
  // when asked.
  bool erasesFirst = false;
  // Reads the file first: its size is the transfer's, unless the caller's limit is smaller and not
  // 0, and pieces end where pages of the flash do. Else as many pages as the limit needs, counted
  // from the address, are read one by one.
  bool readsAhead = false;
  // A page that the file does not fill has 0xFF for the rest, and the end of the file ends nothing;
  // else the page in which it is met is the last one.
  bool fillsPages = false;
  bool stoppable = true;  // by Stop() or by the reporter's answer
  // Whether the percentage that a report finds counts the piece just moved.
  bool countsProgrammed = false;
  bool countsRead = false;
  bool checksWrites = false;  // a piece that the file does not take whole ends the transfer
};

// Moves files into a flash and out of it. Blocks until the end, with a report after every piece. A
// file that cannot be opened is told on the standard output, and nothing is moved.
class FileTransfer {
 public:
  FileTransfer(Contents& contents, const FileForm& form, Files& files, CDebug& log,
               ProgressReporter& reporter)
      : contents_(contents), form_(form), files_(files), log_(log), reporter_(reporter) {}
  FileTransfer(const FileTransfer&) = delete;
  FileTransfer& operator=(const FileTransfer&) = delete;

  // File byte k goes to `address` + k, for `maxSize` bytes rounded up to pages. The result counts
  // the bytes programmed.
  Transferred FromFile(uint32_t address, uint32_t maxSize, const char* path, bool erase);
  // `maxSize` bytes from `address` on. The result counts the bytes read, those of the last piece
  // before a stop too; a full disk may have taken fewer.
  Transferred ToFile(uint32_t address, uint32_t maxSize, const char* path);

  void Stop() { running_ = false; }  // the transfer under way ends after its piece
  // Percent of the transfer under way; 100 after any, until it is reset or the next begins.
  uint32_t progress() const { return progress_; }
  void ResetProgress() { progress_ = 0; }

 private:
  class Pieces;

  void Begin();
  Transferred End(const Transferred& transferred);
  Transferred Refuse(const char* message);
  Transferred ProgramAll(uint32_t address, Pieces& pieces);
  Transferred ReadAll(uint32_t address, uint32_t size, File& file);
  bool StopAsked(uint64_t done, uint32_t total);

  Contents& contents_;
  const FileForm form_;
  Files& files_;
  CDebug& log_;
  ProgressReporter& reporter_;
  uint32_t progress_ = 0;
  bool running_ = false;
};

}  // namespace brisk::flash
