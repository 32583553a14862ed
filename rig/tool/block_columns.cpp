#include "block_columns.h"

#include <algorithm>

namespace rig::wave {

BlockColumns::BlockColumns(const Picture& drawn, const Block& drawnBlock)
    : picture(drawn), block(drawnBlock) {
    for (const Span& span : block) {
        starts.push_back(width);
        width += span.columns;
    }
}

std::vector<BlockColumns::Time> BlockColumns::Times() const {
    std::vector<Time> times;
    for (std::size_t i = 0; i < block.size(); ++i) {
        const std::size_t interval = block[i].interval;
        const bool isContinuation = i == 0 && interval > 0;
        if (!isContinuation) {
            times.push_back({starts[i], interval});
        }
    }
    const std::size_t end = picture.Intervals();
    if (EndInterval() == end && picture.moments[end] > picture.moments[end - 1]) {
        times.push_back({width - picture.times[end].size(), end});
    }
    return times;
}

std::vector<BlockColumns::Piece> BlockColumns::PiecesOf(const Lane& lane) const {
    const auto& pulses = lane.pulses;
    auto pulse = std::partition_point(pulses.begin(), pulses.end(), [&](const Pulse& candidate) {
        return candidate.last <= FirstInterval();
    });
    std::vector<Piece> pieces;
    for (; pulse != pulses.end() && pulse->first < EndInterval(); ++pulse) {
        const bool beginsHere = pulse->first > FirstInterval();
        const bool endsHere = pulse->last < EndInterval();
        pieces.push_back({&*pulse, beginsHere ? starts[pulse->first - FirstInterval()] : 0,
                          endsHere ? starts[pulse->last - FirstInterval()] : width});
    }
    return pieces;
}

} // namespace rig::wave
