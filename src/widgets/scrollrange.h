#pragma once

#include <QtGlobal>

#include <algorithm>
#include <optional>

namespace tarn::console {

/// Place of the reader: a block, and how far its top is below the top of the viewport.
struct ScrollAnchor
{
    qint32 blockNumber = 0;
    qint32 offset = 0; ///< pixels
};

/// The scroll values at which a text can stand in its viewport, from 0 to the maximum, in pixels.
struct ScrollRange
{
    int maximum = 0;

    bool operator==(const ScrollRange &) const = default;

    static ScrollRange of(int textHeight, int viewportHeight)
    {
        return {.maximum = std::max(0, textHeight - viewportHeight)};
    }

    bool isAtEnd(int value) const { return value >= maximum; }

    /// The value at which the top of a block is so far below the top of the viewport, as nearly as
    /// the range allows; the end when there is no such block.
    int valueFor(std::optional<int> blockTop, int offset) const
    {
        return blockTop ? std::clamp(*blockTop - offset, 0, maximum) : maximum;
    }
};

} // namespace tarn::console
