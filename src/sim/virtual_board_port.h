// A virtual port that owns the board at its other end, for `--port virtual`.
#pragma once

#include <memory>

#include "sim/board.h"
#include "sim/virtual_port.h"

namespace velmora {

namespace detail {
struct BoardOwner {
  std::unique_ptr<Board> owned;
};
}  // namespace detail

class VirtualBoardPort : private detail::BoardOwner, public VirtualPort {
 public:
  explicit VirtualBoardPort(BoardConfig config)
      : detail::BoardOwner{std::make_unique<Board>(std::move(config))}, VirtualPort(*owned) {}
};

}  // namespace velmora
