#include "textlayout/blockheight.h"

#include <QTextBlock>

#include <algorithm>
#include <cmath>

namespace tarn::console {

qreal BlockHeight::rowsAt(qreal lineWidth) const
{
    return std::max(1.0, std::ceil(oneLineWidth / std::max(1.0, lineWidth)));
}

BlockHeight BlockHeight::guessedRows(qreal rows) const
{
    BlockHeight guess = *this;
    guess.certainty = Certainty::Guessed;
    guess.pixels = std::max(1, static_cast<int>(rows) * rowHeight);
    return guess;
}

BlockHeight BlockHeight::guessed(qreal lineWidth) const
{
    return guessedRows(rowsAt(lineWidth));
}

BlockHeight BlockHeight::guessedAgain(qreal lineWidthBefore, qreal lineWidth) const
{
    if (certainty != Certainty::Measured)
        return guessed(lineWidth);
    const qreal rowsBefore = static_cast<qreal>(pixels) / rowHeight;
    return guessedRows(std::round(rowsAt(lineWidth) * rowsBefore / rowsAt(lineWidthBefore)));
}

BlockHeight BlockHeight::of(const QTextBlock &block)
{
    BlockHeight height = fromUserState(block.userState());
    height.pixels = block.lineCount();
    return height;
}

bool BlockHeight::keepIn(QTextBlock block) const
{
    block.setUserState(toUserState());
    if (block.lineCount() == pixels)
        return false;
    block.setLineCount(pixels);
    return true;
}

int BlockHeight::toUserState() const
{
    const int rows = rowHeight < rowHeights ? std::max(0, rowHeight) : 0;
    return (std::clamp(oneLineWidth, 0, maximumWidth) * rowHeights + rows) * certainties
           + static_cast<int>(certainty);
}

BlockHeight BlockHeight::fromUserState(int state)
{
    if (state < 0)
        return {};
    return {.certainty = static_cast<Certainty>(state % certainties),
            .oneLineWidth = state / (certainties * rowHeights),
            .rowHeight = state / certainties % rowHeights};
}

} // namespace tarn::console
