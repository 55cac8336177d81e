// The paragraphs and fragments as one text, and what is copied from it and found in it.

#include "transcript/transcript.h"

#include <algorithm>

namespace tarn::console {

namespace {

/// Length of a well-formed UTF-16 text in UTF-8.
qint64 utf8Length(QStringView text)
{
    qint64 length = 0;
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        // Each half of a surrogate pair stands for two of the four bytes.
        length += unit < 0x80 ? 1 : unit < 0x800 || character.isSurrogate() ? 2 : 3;
    }
    return length;
}

} // namespace

qint64 Transcript::fragmentsDisplayBytes(const QList<DecoderFragment> &fragments)
{
    qint64 bytes = 0;
    for (const DecoderFragment &fragment : fragments)
        bytes += fragment.kind == DecoderFragmentKind::Break ? 1 : utf8Length(fragment.text);
    return bytes;
}

QString Transcript::fragmentsText(const QList<DecoderFragment> &fragments)
{
    qsizetype length = 0;
    for (const DecoderFragment &fragment : fragments)
        length += fragment.kind == DecoderFragmentKind::Break ? 1 : fragment.text.size();

    QString text;
    text.reserve(length);
    for (const DecoderFragment &fragment : fragments) {
        if (fragment.kind == DecoderFragmentKind::Break)
            text.append(u'\n');
        else
            text.append(fragment.text);
    }
    return text;
}

QString Transcript::documentText() const
{
    return packedParagraphs().documentTextFrom(0);
}

QString Transcript::copy(qint64 from, qint64 to) const
{
    const QString text = documentText();
    const auto [start, end] = std::minmax(
        {std::clamp<qint64>(from, 0, text.size()), std::clamp<qint64>(to, 0, text.size())});
    return text.mid(start, end - start);
}

TranscriptFindResult Transcript::findLiteral(const QString &text, qint64 from, bool backward) const
{
    if (text.isEmpty())
        return {};
    const QString document = documentText();
    const qint64 start = std::clamp<qint64>(from, 0, document.size());
    const auto result = [&text](qsizetype position, bool wrapped) {
        return TranscriptFindResult{
            .found = true, .wrapped = wrapped, .position = position, .length = text.size()};
    };

    // A start of -1 means the last character, so that going back from 0 searches everything.
    // Without it Qt 6.4 begins beyond the last character, and finds U+0000 there.
    const qsizetype position =
        backward ? document.lastIndexOf(text, start - 1) : document.indexOf(text, start);
    if (position >= 0)
        return result(position, false);
    const qsizetype wrappedPosition =
        backward ? document.lastIndexOf(text, -1) : document.indexOf(text);
    if (wrappedPosition >= 0)
        return result(wrappedPosition, true);
    return {};
}

} // namespace tarn::console
