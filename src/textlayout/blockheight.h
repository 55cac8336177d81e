#pragma once

#include <QtGlobal>

#include <limits>

class QTextBlock;

namespace tarn::console {

/// The height of a document block, and how far it can be trusted. The block itself keeps it, so
/// that it stays with the block whatever is inserted before: the pixels as its line count, which
/// the document's own tree adds up, and the rest in the one number that a block keeps for its owner
/// (QTextBlock::userState).
struct BlockHeight
{
    enum class Certainty {
        Unknown,  ///< nothing has looked at the block yet
        Guessed,  ///< to be measured when there is time
        Measured, ///< at the current line width
        OneLine,  ///< exact at every line width that is not below `oneLineWidth`
    };

    Certainty certainty = Certainty::Unknown;
    int pixels = 0;
    /// In pixels: what the block would need to be surely on one line, and the height of that line.
    int oneLineWidth = 0;
    int rowHeight = 0; ///< 0 when neither is known

    bool operator==(const BlockHeight &) const = default;

    bool isExact() const { return certainty >= Certainty::Measured; }

    /// Whether the width on one line and the height of a row are known.
    bool isSized() const { return rowHeight > 0; }

    /// Guesses from the width on one line; never zero: a block without height would be at no y.
    BlockHeight guessed(qreal lineWidth) const;
    /// The same after a change of the line width. How far a guess is off from the height that was
    /// measured tells how far the next one will be: some characters shrink to nothing beside
    /// others.
    BlockHeight guessedAgain(qreal lineWidthBefore, qreal lineWidth) const;

    static BlockHeight of(const QTextBlock &block);
    /// Returns whether the block had another height in pixels.
    bool keepIn(QTextBlock block) const;

    /// All but the pixels. Widths that are too large for the number saturate; rows that are, are
    /// not known.
    int toUserState() const;
    /// A block's initial state, -1, is Unknown.
    static BlockHeight fromUserState(int state);

    static constexpr int certainties = 4;  ///< how many values of Certainty there are
    static constexpr int rowHeights = 256; ///< rows are lower than this
    static constexpr int maximumWidth =
        std::numeric_limits<int>::max() / (certainties * rowHeights);

private:
    qreal rowsAt(qreal lineWidth) const;
    BlockHeight guessedRows(qreal rows) const;
};

} // namespace tarn::console
