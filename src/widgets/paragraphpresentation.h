#pragma once

#include <QString>
#include <Qt>

namespace tarn::console {

/// The direction that the user chose for all content.
enum class ContentDirection : qint32 {
    Auto = 0,        ///< each paragraph takes the direction of its first strong character
    LeftToRight = 1, ///< every paragraph is laid out left to right
    RightToLeft = 2, ///< every paragraph is laid out right to left
};

/// How one paragraph is laid out.
struct ParagraphPresentation
{
    Qt::LayoutDirection layoutDirection = Qt::LeftToRight; ///< never Qt::LayoutDirectionAuto
    bool rightAligned = false; ///< aligned to the right edge; true exactly for right to left

    bool operator==(const ParagraphPresentation &) const = default;
};

/// Direction of the first character whose bidirectional class (UAX #9, table 4) is L, R or AL;
/// left to right when there is none. Unlike rule P2, characters inside isolates count too.
Qt::LayoutDirection firstStrongDirection(const QString &text);

/// Presentation of a paragraph with this text; the text matters under Auto only. A value outside
/// the enumeration means left to right.
ParagraphPresentation paragraphPresentation(ContentDirection direction, const QString &text);
/// The same where the direction of its first strong character is known.
ParagraphPresentation presentationOf(ContentDirection direction, Qt::LayoutDirection firstStrong);

} // namespace tarn::console
