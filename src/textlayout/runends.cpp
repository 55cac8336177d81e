#include "textlayout/runends.h"

#include "textlayout/codepoints.h"
#include "textlayout/textpieces.h"

#include <QChar>
#include <QString>
#include <QStringView>

namespace tarn::console {

namespace {

/// Whether a character is the second half of a ligature that does not join to what follows.
bool endsLigature(const QString &text, qsizetype position)
{
    constexpr char16_t lam = 0x0644;
    constexpr QStringView alefs = u"\u0622\u0623\u0625\u0627\u0671";
    if (position == 0)
        return false;
    const QChar last = text[position];
    if (alefs.contains(last)) {
        qsizetype before = position - 1;
        while (before > 0 && text[before].isMark())
            --before;
        return text[before] == lam;
    }
    return text[position - 1] == u'f' && QStringView(u"fijlt").contains(last);
}

bool runsAgainst(QChar::Direction direction, bool isRightToLeft)
{
    return isRightToLeft ? direction == QChar::DirL
                         : direction == QChar::DirR || direction == QChar::DirAL;
}

/// Whether text on both sides of a character may be in one run.
bool goesOn(QChar::Direction direction)
{
    switch (direction) {
    case QChar::DirL:
    case QChar::DirR:
    case QChar::DirAL:
    case QChar::DirEN:
    case QChar::DirAN:
        return false;
    default:
        return true;
    }
}

/// Words of one direction, as far as they are known.
struct Run
{
    qsizetype end = 0;
    qsizetype lastLigatureEnd = 0;
};

} // namespace

QList<QTextLayout::FormatRange> runEndPieces(const QString &text, Qt::LayoutDirection direction)
{
    QList<QTextLayout::FormatRange> pieces;
    const bool isRightToLeft = direction == Qt::RightToLeft;
    Run run;
    const auto finish = [&] {
        if (run.lastLigatureEnd > 0 && run.lastLigatureEnd < run.end)
            pieces.append({.start = static_cast<int>(run.lastLigatureEnd),
                           .length = static_cast<int>(run.end - run.lastLigatureEnd),
                           .format = pieceFormat()});
        run = {};
    };
    for (qsizetype position = 0; position < text.size(); ++position) {
        const QChar::Direction found = QChar::direction(codePointAt(text, position));
        const bool isMark = text[position].isMark() && position > 0 && run.end == position;
        if (runsAgainst(found, isRightToLeft) || isMark) {
            run.end = position + 1;
            if (endsLigature(text, position) || (isMark && run.lastLigatureEnd == position))
                run.lastLigatureEnd = run.end;
        } else if (!goesOn(found)) {
            finish();
        }
        if (text[position].isHighSurrogate())
            ++position;
    }
    finish();
    return pieces;
}

} // namespace tarn::console
