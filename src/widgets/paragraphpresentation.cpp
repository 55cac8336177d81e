#include "widgets/paragraphpresentation.h"

#include <QChar>
#include <QStringView>

namespace tarn::console {

namespace {

/// Bidirectional class of the character at an index; moves the index past it. A surrogate without
/// its partner is no character and counts as neutral.
QChar::Direction takeDirection(QStringView text, qsizetype *index)
{
    const QChar first = text[(*index)++];
    if (!first.isSurrogate())
        return first.direction();
    if (!first.isHighSurrogate() || *index == text.size() || !text[*index].isLowSurrogate())
        return QChar::DirON;
    return QChar::direction(QChar::surrogateToUcs4(first, text[(*index)++]));
}

} // namespace

Qt::LayoutDirection firstStrongDirection(const QString &text)
{
    for (qsizetype index = 0; index < text.size();) {
        switch (takeDirection(text, &index)) {
        case QChar::DirL:
            return Qt::LeftToRight;
        case QChar::DirR:
        case QChar::DirAL:
            return Qt::RightToLeft;
        default:
            break;
        }
    }
    return Qt::LeftToRight;
}

ParagraphPresentation paragraphPresentation(ContentDirection direction, const QString &text)
{
    const bool asks = direction == ContentDirection::Auto;
    return presentationOf(direction, asks ? firstStrongDirection(text) : Qt::LeftToRight);
}

ParagraphPresentation presentationOf(ContentDirection direction, Qt::LayoutDirection firstStrong)
{
    const bool rightToLeft =
        direction == ContentDirection::RightToLeft
        || (direction == ContentDirection::Auto && firstStrong == Qt::RightToLeft);
    return {.layoutDirection = rightToLeft ? Qt::RightToLeft : Qt::LeftToRight,
            .rightAligned = rightToLeft};
}

} // namespace tarn::console
