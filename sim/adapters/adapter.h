#pragma once

namespace brisk::sim {

class Board;
class Faults;
class VirtualClock;

// Interface hardware between the simulated PC and the board. It plugs itself into its connector
// when it is made, moves the board's lines and leaves the connector at its end. It knows neither
// the other adapters nor the bench.
class Adapter {
 public:
  Adapter() = default;
  Adapter(const Adapter&) = delete;
  Adapter& operator=(const Adapter&) = delete;
  virtual ~Adapter() = default;
};

// Where an adapter stands: the board that it moves, the clock that it charges with the time its
// real counterpart takes, and what may go wrong. All outlive it.
struct Site {
  Board& board;
  VirtualClock& clock;
  Faults& faults;
};

}  // namespace brisk::sim
