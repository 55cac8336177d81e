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
    /// In pixels: what the block would need to be surely on one line, and the height of that line.
    int width = 0;
    int rowHeight = 0; ///< 0 when neither is known

    bool operator==(const BlockMeasure &) const = default;

    bool isExact() const { return height == Height::Exact || height == Height::OneLine; }

    /// Whether the width and the row height are known.
    bool isSized() const { return rowHeight > 0; }

    /// Widths that are too large for the number saturate; rows that are, are not known.
    int toUserState() const
    {
        const int rows = rowHeight < rowHeights ? std::max(0, rowHeight) : 0;
        return (std::clamp(width, 0, maximumWidth) * rowHeights + rows) * heights
               + static_cast<int>(height);
    }

    /// A block's initial state, -1, is Unknown.
    static BlockMeasure fromUserState(int state)
    {
        if (state < 0)
            return {};
        return {.height = static_cast<Height>(state % heights),
                .width = state / (heights * rowHeights),
                .rowHeight = state / heights % rowHeights};
    }

    static constexpr int heights = 4;      ///< how many values of Height there are
    static constexpr int rowHeights = 256; ///< rows are lower than this
    static constexpr int maximumWidth = std::numeric_limits<int>::max() / (heights * rowHeights);
};

} // namespace tarn::console
