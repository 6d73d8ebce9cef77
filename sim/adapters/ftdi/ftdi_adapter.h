#pragma once

#include <memory>
#include <string>

#include "sim/adapters/ftdi/d2xx_host.h"
#include "sim/config/adapter.h"

namespace brisk::sim {

// An FTDI chip between the PC's USB and the board. All chips of a bench share one vendor library.
class FtdiAdapter final : public Adapter {
 public:
  FtdiAdapter(std::shared_ptr<D2xxHost> host, std::unique_ptr<Trace> trace,
              std::unique_ptr<Board> ownBoard);
  ~FtdiAdapter() override;

  D2xxHost& host() { return *host_; }
  Board* ownBoard() { return ownBoard_.get(); }  // null when it is the bench's board

 private:
  std::shared_ptr<D2xxHost> host_;
  std::unique_ptr<Trace> trace_;
  std::unique_ptr<Board> ownBoard_;
};

// On the bench's board: an FT2232C, one that calls itself a Talvo board, an FT2232H, an FT4232H.
// The last is an FT2232C with a second board, like the bench's, of its own.
std::unique_ptr<Adapter> MakeFt2232c(Bench& bench, std::string* whyNot);
std::unique_ptr<Adapter> MakeTalvo(Bench& bench, std::string* whyNot);
std::unique_ptr<Adapter> MakeFt2232h(Bench& bench, std::string* whyNot);
std::unique_ptr<Adapter> MakeFt4232h(Bench& bench, std::string* whyNot);
std::unique_ptr<Adapter> MakeSecondFt2232c(Bench& bench, std::string* whyNot);

}  // namespace brisk::sim
