#include "window/visibletext.h"

#include "transcript/incrementaloutputdecoder.h"
#include "transcript/visibleescape.h"
#include "window/pathmarks.h"

#include <QStringList>

#include <algorithm>
#include <iterator>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

struct Range
{
    uint first;
    uint last;
};

/// What fonts draw as nothing: the default ignorable code points of Unicode (DerivedCoreProperties)
/// and the interlinear annotations. Without those that change how their neighbours look: the
/// joiners, U+200C and U+200D, which Arabic, Persian and emoji need, and the choice between the
/// text and the picture of an emoji, U+FE0E and U+FE0F.
constexpr Range invisibleCharacters[] = {
    {0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x061C, 0x061C},   {0x115F, 0x1160}, {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200B},   {0x200E, 0x200F},   {0x202A, 0x202E}, {0x2060, 0x206F},
    {0x3164, 0x3164},   {0xFE00, 0xFE0D},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB},
    {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool isInvisible(uint codePoint)
{
    const auto *range = std::lower_bound(
        std::begin(invisibleCharacters), std::end(invisibleCharacters), codePoint,
        [](const Range &candidate, uint wanted) { return candidate.last < wanted; });
    return range != std::end(invisibleCharacters) && range->first <= codePoint;
}

/// Line ends too: a label and a tool tip show the text as one line.
bool needsEscape(uint codePoint)
{
    constexpr uint lineSeparator = 0x2028;
    constexpr uint paragraphSeparator = 0x2029;
    return isShownAsEscape(codePoint) || isInvisible(codePoint) || codePoint == lineSeparator
           || codePoint == paragraphSeparator;
}

/// The character that begins there; half of a surrogate pair stands for itself.
uint codePointAt(const QString &text, qsizetype at)
{
    const QChar first = text.at(at);
    if (first.isHighSurrogate() && at + 1 < text.size() && text.at(at + 1).isLowSurrogate())
        return QChar::surrogateToUcs4(first, text.at(at + 1));
    return first.unicode();
}

/// A place at or before the given one that is not in the middle of a character.
qsizetype cutBefore(const QString &text, qsizetype place)
{
    return place < text.size() && text.at(place).isLowSurrogate() ? place - 1 : place;
}

QStringList foldedLines(QString text)
{
    constexpr qsizetype lineLength = 120;
    QStringList lines;
    while (text.size() > lineLength) {
        qsizetype end = text.lastIndexOf(u'/', lineLength - 1) + 1;
        if (end < lineLength / 2)
            end = cutBefore(text, lineLength);
        lines.append(text.left(end));
        text.remove(0, end);
    }
    lines.append(text);
    return lines;
}

} // namespace

QString visibleText(const QString &text)
{
    QString visible;
    visible.reserve(text.size());
    for (qsizetype at = 0, size = 0; at < text.size(); at += size) {
        const uint codePoint = codePointAt(text, at);
        size = QChar::requiresSurrogates(codePoint) ? 2 : 1;
        if (needsEscape(codePoint))
            visible += IncrementalOutputDecoder::codePointEscape(codePoint);
        else
            visible += QStringView(text).sliced(at, size);
    }
    return visible;
}

QString shortenedText(const QString &text, qsizetype characters)
{
    constexpr QChar ellipsis(0x2026);
    if (text.size() <= characters)
        return text;
    const qsizetype beginning = cutBefore(text, characters / 3);
    const qsizetype end = cutBefore(text, text.size() - (characters - beginning - 1));
    return text.first(beginning) + ellipsis + text.sliced(end);
}

QString visibleToolTip(const QString &text)
{
    // The longest path that can be opened has fewer.
    constexpr qsizetype mostCharacters = 4096;
    QStringList lines =
        foldedLines(withPathMarks(shortenedText(visibleText(text), mostCharacters)));
    for (QString &line : lines)
        line = line.toHtmlEscaped();
    // A path is read from its root, whatever letters follow.
    const auto direction = text.startsWith(u'/') ? " dir=\"ltr\""_L1 : ""_L1;
    // Tool tips guess whether they are rich text; only what surely is, is shown as it should be.
    return u"<div%1 style=\"white-space:pre\">%2</div>"_s.arg(direction, lines.join("<br>"_L1));
}

} // namespace tarn::console
