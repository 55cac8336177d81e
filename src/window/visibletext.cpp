#include "window/visibletext.h"

#include "transcript/incrementaloutputdecoder.h"

#include <QStringList>

#include <algorithm>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

bool needsEscape(QChar unit)
{
    constexpr char16_t lineSeparator = 0x2028;
    constexpr char16_t paragraphSeparator = 0x2029;
    const char16_t code = unit.unicode();
    return IncrementalOutputDecoder::isUnsupportedControl(code)
           || IncrementalOutputDecoder::isBidiFormattingControl(code) || code == lineSeparator
           || code == paragraphSeparator;
}

/// A place at or before the given one that is not in the middle of a character.
qsizetype cutBefore(const QString &text, qsizetype place)
{
    return text.at(place).isLowSurrogate() ? place - 1 : place;
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
    if (std::none_of(text.begin(), text.end(), needsEscape))
        return text;
    QString visible;
    for (const QChar unit : text) {
        if (needsEscape(unit))
            visible += IncrementalOutputDecoder::codePointEscape(unit.unicode());
        else
            visible += unit;
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
    QStringList lines = foldedLines(shortenedText(visibleText(text), mostCharacters));
    for (QString &line : lines)
        line = line.toHtmlEscaped();
    // A path is read from its root, whatever letters follow.
    const auto direction = text.startsWith(u'/') ? " dir=\"ltr\""_L1 : ""_L1;
    // Tool tips guess whether they are rich text; only what surely is, is shown as it should be.
    return u"<div%1 style=\"white-space:pre\">%2</div>"_s.arg(direction, lines.join("<br>"_L1));
}

} // namespace tarn::console
