/// Where one block of a picture shows what, in columns from its left end.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "wave_layout.h"
#include "wave_picture.h"

namespace rig::wave {

/// The picture and the block outlive it.
class BlockColumns {
  public:
    BlockColumns(const Picture& drawn, const Block& drawnBlock);

    std::size_t Width() const { return width; }
    /// The column at which a span of the block begins.
    std::size_t StartOf(std::size_t span) const { return starts[span]; }

    struct Time {
        std::size_t column; ///< where its text begins
        std::size_t moment;
    };
    /// The times in the row above the lines. That of the end, if it is here, stands at the right.
    std::vector<Time> Times() const;

    /// What is here of a pulse. One that begins here does so behind column 0.
    struct Piece {
        const Pulse* pulse;
        std::size_t begin;
        std::size_t end;
    };
    std::vector<Piece> PiecesOf(const Lane& lane) const;

  private:
    std::size_t FirstInterval() const { return block.front().interval; }
    std::size_t EndInterval() const { return block.back().interval + 1; }

    const Picture& picture;
    const Block& block;
    std::vector<std::size_t> starts;
    std::size_t width = 0;
};

} // namespace rig::wave
