#include "textlayout/linepositions.h"

#include <QGlyphRun>
#include <QList>
#include <QRawFont>

#include <algorithm>
#include <cmath>
#include <optional>

namespace tarn::console {

namespace {

/// Where the blanks begin that end a line. A tab is no blank: it has its place in the line.
int trailingBlanks(const QTextLine &line, QStringView text)
{
    qsizetype visible = text.size();
    while (visible > 0 && text[visible - 1].isSpace() && text[visible - 1] != u'\t')
        --visible;
    return line.textStart() + static_cast<int>(visible);
}

/// Whether there is a tab among the blanks that end a line of right-to-left text. Carets in it are
/// drawn as far away as the tab is wide, and tell nothing.
bool endsInTab(const QTextLayout &layout, QStringView text)
{
    if (layout.textOption().textDirection() != Qt::RightToLeft)
        return false;
    const auto isBlank = [](QChar character) { return character.isSpace(); };
    const auto visible = std::find_if_not(text.rbegin(), text.rend(), isBlank);
    return std::find(text.rbegin(), visible, u'\t') != visible;
}

/// The width of the blanks that hang out of a line of right-to-left text. Qt leaves them out where
/// it draws, and takes them for a part of the line where it looks for a position. At the end of a
/// text blanks are a part of the line, as long as there is room for them.
qreal hangingWidth(const QTextLayout &layout, QTextLine line)
{
    if (layout.textOption().textDirection() != Qt::RightToLeft)
        return 0;
    // Carets left of everything are drawn at the edge; there is none left of a line further right.
    constexpr qreal farRight = 100'000;
    const QPointF position = line.position();
    line.setPosition(position + QPointF(farRight, 0));
    const qreal last = line.cursorToX(line.textStart() + line.textLength());
    const qreal left = line.naturalTextRect().left();
    line.setPosition(position);
    // After English words, blanks run on beyond the other edge, where no caret tells how far.
    return std::max(0.0, left - last);
}

/// The position from first to last whose caret is the nearest, as far as they come nearer.
int nearestCaret(const QTextLayout &layout, const QTextLine &line, LinePositions positions, qreal x)
{
    const auto distance = [&](int position) { return std::abs(line.cursorToX(position) - x); };
    int nearest = positions.first;
    for (int next = layout.nextCursorPosition(nearest);
         next > nearest && next <= positions.last && distance(next) < distance(nearest);
         next = layout.nextCursorPosition(nearest))
        nearest = next;
    return nearest;
}

/// Whether the characters between two positions run from right to left.
bool runLeftwards(const QTextLine &line, int from, int to)
{
    const QList<QGlyphRun> runs = line.glyphRuns(from, to - from);
    return !runs.isEmpty() && std::all_of(runs.begin(), runs.end(), [](const QGlyphRun &run) {
        return run.isRightToLeft();
    });
}

/// Whether a caret has text on both sides that runs from right to left. At the border of two
/// directions, it is drawn where the text around it goes on.
bool isAmongLeftwards(const QTextLayout &layout, const QTextLine &line, int end, int position)
{
    const int begin = line.textStart();
    const int before = layout.previousCursorPosition(position);
    const int after = layout.nextCursorPosition(position);
    // The ends of a line run as its paragraph does.
    const bool endsDo = layout.textOption().textDirection() == Qt::RightToLeft;
    return (position == begin ? endsDo : runLeftwards(line, before, position))
           && (position == end ? endsDo : runLeftwards(line, position, after));
}

/// The position before or after a letter with marks that are drawn apart from it, when an x is at
/// one: Qt misses its right half, and answers with the end of a whole run.
int besideMarkedLetter(const QTextLayout &layout, const QTextLine &line, int answer, qreal x)
{
    const int before = line.xToCursor(x, QTextLine::CursorOnCharacter);
    const int after = layout.nextCursorPosition(before);
    if (answer == before || answer == after || after - before < 2
        || runLeftwards(line, before, after))
        return answer;
    const bool isInLeftHalf = x - line.cursorToX(before) < line.cursorToX(after) - x;
    return isInLeftHalf ? before : after;
}

/// The nearest caret around a position, in text that runs from right to left. There, Qt's answer
/// may be some characters off among those without a script of their own: it looks for them as if
/// they ran from left to right. In a paragraph that does, the carets at their borders are
/// elsewhere. A line separator at the end of a line is none of its text.
int nearestLeftwards(const QTextLayout &layout, const QTextLine &line, int end, int position,
                     qreal x)
{
    const bool isRightToLeft = layout.textOption().textDirection() == Qt::RightToLeft;
    const auto isNearer = [&](int other) {
        return std::abs(line.cursorToX(other) - x) < std::abs(line.cursorToX(position) - x)
               && isAmongLeftwards(layout, line, end, other)
               && (isRightToLeft || isAmongLeftwards(layout, line, end, position));
    };
    for (int next = layout.nextCursorPosition(position);
         line.cursorToX(next) < line.cursorToX(position) && isNearer(next);
         next = layout.nextCursorPosition(position))
        position = next;
    for (int before = layout.previousCursorPosition(position);
         line.cursorToX(before) > line.cursorToX(position) && isNearer(before);
         before = layout.previousCursorPosition(position))
        position = before;
    return position;
}

/// A character that is drawn from right to left, or a part of one.
struct LeftwardsCharacter
{
    int position;
    qreal left;
    qreal width;
};

/// The one that is drawn at an x.
std::optional<LeftwardsCharacter> leftwardsCharacterAt(const QTextLayout &layout,
                                                       const QTextLine &line, qreal x)
{
    const int end = line.textStart() + line.textLength();
    int next = line.textStart();
    for (int position = next; position < end; position = next) {
        next = std::max(position + 1, layout.nextCursorPosition(position));
        const QList<QGlyphRun> runs = line.glyphRuns(position, 1);
        if (runs.isEmpty() || !runs.front().isRightToLeft() || runs.front().positions().isEmpty())
            continue;
        const qreal left = runs.front().positions().front().x();
        const qreal width =
            runs.front().rawFont().advancesForGlyphIndexes(runs.front().glyphIndexes()).front().x();
        if (left <= x && x < left + width)
            return LeftwardsCharacter{.position = position, .left = left, .width = width};
    }
    return std::nullopt;
}

/// A position beside the character at an x, when that runs from right to left and the answer is far
/// from it: where a sign beside English words is one, Qt's answer may be in the words.
int besideLeftwardsCharacter(const QTextLayout &layout, const QTextLine &line, int answer, qreal x)
{
    constexpr int longLine = 2048;
    if (line.textLength() > longLine)
        return answer;
    const auto character = leftwardsCharacterAt(layout, line, x);
    if (!character)
        return answer;
    const int before = character->position;
    const int after = layout.nextCursorPosition(before);
    const bool isNear = answer >= layout.previousCursorPosition(before)
                        && answer <= layout.nextCursorPosition(after);
    const bool isInLeftHalf = x < character->left + character->width / 2;
    return isNear ? answer : isInLeftHalf ? after : before;
}

/// Where a character is drawn that runs from left to right; nothing for others.
std::optional<qreal> leftOfRightwards(const QTextLine &line, int position)
{
    const QList<QGlyphRun> runs = line.glyphRuns(position, 1);
    if (runs.isEmpty() || runs.front().isRightToLeft() || runs.front().positions().isEmpty())
        return std::nullopt;
    return runs.front().positions().front().x();
}

/// In the last bit of a line of right-to-left text, which is out of reach for Qt where blanks hang
/// out of it on the other side. There may be a number, or an English word.
int atRightEdge(const QTextLayout &layout, const QTextLine &line, LinePositions positions, qreal x)
{
    int position = positions.first;
    auto left = leftOfRightwards(line, position);
    if (!left || x < *left)
        return nearestCaret(layout, line, positions, x);
    qreal right = line.naturalTextRect().right();
    for (int next = layout.nextCursorPosition(position);
         next < line.textStart() + line.textLength(); next = layout.nextCursorPosition(next)) {
        // Some characters are not drawn.
        if (line.glyphRuns(next, 1).isEmpty())
            continue;
        const auto nextLeft = leftOfRightwards(line, next);
        if (!nextLeft || *nextLeft < *left)
            break;
        if (*nextLeft > x) {
            right = *nextLeft;
            break;
        }
        position = next;
        left = nextLeft;
    }
    return x < (*left + right) / 2 ? position
                                   : positions.nearest(layout.nextCursorPosition(position));
}

} // namespace

int LinePositions::nearest(int position) const
{
    return std::clamp(position, first, last);
}

LinePositions positionsIn(const QTextLayout &layout, const QTextLine &line)
{
    const int first = line.textStart();
    const int end = first + line.textLength();
    const bool isLast = line.lineNumber() == layout.lineCount() - 1;
    return {.first = first,
            .last = isLast ? end : std::max(first, layout.previousCursorPosition(end))};
}

int positionAt(const QTextLayout &layout, const QTextLine &line, QStringView text, qreal x,
               QTextLine::CursorPosition where)
{
    const LinePositions positions = positionsIn(layout, line);
    if (endsInTab(layout, text))
        return positions.nearest(line.xToCursor(x, where));
    const int blanks = trailingBlanks(line, text);
    const qreal hanging = text.isEmpty() ? 0 : hangingWidth(layout, line);
    const QRectF rect = line.naturalTextRect();
    const bool endsInSeparator = text.endsWith(QChar(QChar::LineSeparator));
    const int end = line.textStart() + line.textLength() - (endsInSeparator ? 1 : 0);
    const auto answer = [&](qreal asked) {
        const int found = positions.nearest(line.xToCursor(asked, where));
        // Left of a sign that is all of such a line, Qt's answer is before it.
        const bool isBeyond = x >= rect.right() || (x <= rect.left() && !endsInSeparator);
        if (where != QTextLine::CursorBetweenCharacters || isBeyond)
            return found;
        const int beside = besideMarkedLetter(layout, line, found, asked);
        const int nearest = nearestLeftwards(layout, line, end, beside, x);
        return positions.nearest(besideLeftwardsCharacter(layout, line, nearest, x));
    };
    if (hanging == 0 || x >= rect.right())
        return answer(x);
    if (x <= rect.left())
        return nearestCaret(layout, line, {positions.nearest(blanks), positions.last}, x);
    if (x + hanging >= rect.right())
        return atRightEdge(layout, line, positions, x);
    return answer(x + hanging);
}

} // namespace tarn::console
