#pragma once

#include <QStringView>
#include <QTextLayout>

namespace tarn::console {

/// The positions whose caret is drawn in a line. The end of a wrapped line is none of them: it is
/// the start of the next one.
struct LinePositions
{
    int first = 0;
    int last = 0;

    int nearest(int position) const;
};

LinePositions positionsIn(const QTextLayout &layout, const QTextLine &line);

/// The position in a line that is meant by an x; the text is the line's own. Qt's answer is off by
/// the blanks that end a line of right-to-left text, and at the edges of wrapped lines it may be in
/// the line above or below.
int positionAt(const QTextLayout &layout, const QTextLine &line, QStringView text, qreal x,
               QTextLine::CursorPosition where);

} // namespace tarn::console
