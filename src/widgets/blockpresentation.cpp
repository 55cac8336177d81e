#include "widgets/blockpresentation.h"

#include <QTextBlock>

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

const QTextBlockFormat *FormatsToChange::changed(const QTextBlock &block,
                                                 ParagraphPresentation presentation)
{
    const auto key =
        std::pair(block.blockFormatIndex(),
                  std::pair(directionProperty(presentation), alignmentProperty(presentation)));
    auto known = m_formats.find(key);
    if (known == m_formats.end()) {
        QTextBlockFormat format = block.blockFormat();
        const bool isChanged = !hasBlockPresentation(format, presentation);
        format.merge(blockFormatFor(presentation));
        known = m_formats.emplace(key, isChanged ? std::optional(format) : std::nullopt).first;
    }
    return known->second ? &*known->second : nullptr;
}

} // namespace tarn::console
