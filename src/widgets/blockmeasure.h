#pragma once

#include <algorithm>
#include <limits>

namespace tarn::console {

/// How the height of a document block is known. It fits into the one number that a block keeps for
/// its owner (QTextBlock::userState), so that it stays with the block whatever is inserted before.
struct BlockMeasure
{
    enum class Height {
        Unknown, ///< nothing has looked at the block yet
        Guessed, ///< to be measured when there is time
        Exact,   ///< measured at the current width
        OneLine, ///< exact at every width that is not below `width`
    };

    Height height = Height::Unknown;
    int width = 0; ///< pixels; with OneLine, what the block needs to stay on one line

    bool operator==(const BlockMeasure &) const = default;

    bool isExact() const { return height == Height::Exact || height == Height::OneLine; }

    /// Widths beyond a quarter of the number range saturate.
    int toUserState() const
    {
        constexpr int maximumWidth = std::numeric_limits<int>::max() / 4;
        return std::clamp(width, 0, maximumWidth) * 4 + static_cast<int>(height);
    }

    /// A block's initial state, -1, is Unknown.
    static BlockMeasure fromUserState(int state)
    {
        if (state < 0)
            return {};
        return {.height = static_cast<Height>(state % 4), .width = state / 4};
    }
};

} // namespace tarn::console
