#include "widgets/blockpresentation.h"

#include <QTextBlockFormat>

namespace tarn::console {

namespace {

int directionProperty(ParagraphPresentation presentation)
{
    return presentation.layoutDirection == Qt::RightToLeft ? Qt::RightToLeft : Qt::LeftToRight;
}

int alignmentProperty(ParagraphPresentation presentation)
{
    return presentation.rightAligned ? Qt::AlignRight : Qt::AlignLeft;
}

} // namespace

QTextBlockFormat blockFormatFor(ParagraphPresentation presentation)
{
    QTextBlockFormat format;
    format.setProperty(QTextFormat::LayoutDirection, directionProperty(presentation));
    format.setProperty(QTextFormat::BlockAlignment, alignmentProperty(presentation));
    return format;
}

bool hasBlockPresentation(const QTextBlockFormat &format, ParagraphPresentation presentation)
{
    return format.hasProperty(QTextFormat::LayoutDirection)
           && format.hasProperty(QTextFormat::BlockAlignment)
           && format.intProperty(QTextFormat::LayoutDirection) == directionProperty(presentation)
           && format.intProperty(QTextFormat::BlockAlignment) == alignmentProperty(presentation);
}

} // namespace tarn::console
