#include "support/plaindecoder.h"

#include <QChar>

namespace tarn::console::plain {

using namespace Qt::StringLiterals;

namespace {

bool isContinuation(uchar byte)
{
    return byte >= 0x80 && byte <= 0xBF;
}

int expectedLength(uchar lead)
{
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return 2;
    if (lead >= 0xE0 && lead <= 0xEF)
        return 3;
    if (lead >= 0xF0 && lead <= 0xF4)
        return 4;
    return 0;
}

uint decodeSequence(const QByteArray &bytes, int length)
{
    const uchar lead = uchar(bytes.at(0));
    if (length == 1)
        return lead;
    uint codePoint = lead & (0x7Fu >> length);
    for (int i = 1; i < length; ++i)
        codePoint = (codePoint << 6) | (uchar(bytes.at(i)) & 0x3Fu);
    return codePoint;
}

bool isAllowed(uint codePoint, int length)
{
    const uint lowest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint >= lowest[length] && codePoint <= 0x10FFFF && !surrogate;
}

} // namespace

bool isEscaped(uint codePoint)
{
    return codePoint <= 0x1F || (codePoint >= 0x7F && codePoint <= 0x9F) || codePoint == 0x061C
           || codePoint == 0x200E || codePoint == 0x200F
           || (codePoint >= 0x202A && codePoint <= 0x202E)
           || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

QList<DecoderFragment> Decoder::append(QByteArrayView bytes)
{
    QList<DecoderFragment> result;
    for (const char c : bytes) {
        if (m_pendingCarriageReturn && c == '\n') {
            addBreak(result);
            m_pendingCarriageReturn = false;
            continue;
        }
        if (m_pendingCarriageReturn) {
            flushInto(result);
            addText(result, u"\\u{000D}"_s, QString());
            m_pendingCarriageReturn = false;
        }
        if (c == '\r') {
            flushInto(result);
            m_pendingCarriageReturn = true;
        } else if (c == '\n') {
            flushInto(result);
            addBreak(result);
        } else {
            m_pending.append(c);
            flushInto(result);
        }
    }
    return result;
}

QList<DecoderFragment> Decoder::finish()
{
    QList<DecoderFragment> result;
    flushInto(result);
    for (const char c : m_pending)
        addText(result, byteEscape(uchar(c)), QString());
    m_pending.clear();
    if (m_pendingCarriageReturn)
        addText(result, u"\\u{000D}"_s, QString());
    m_pendingCarriageReturn = false;
    return result;
}

QList<DecoderFragment> Decoder::flush()
{
    QList<DecoderFragment> fragments;
    while (!m_pending.isEmpty() && flushFront(fragments)) {
    }
    return fragments;
}

/// False when the sequence at the front is still incomplete.
bool Decoder::flushFront(QList<DecoderFragment> &fragments)
{
    const uchar lead = uchar(m_pending.at(0));
    const int length = expectedLength(lead);
    bool escapeLead = length == 0;
    for (int i = 1; i < length && i < m_pending.size(); ++i) {
        if (!isContinuation(uchar(m_pending.at(i))))
            escapeLead = true;
    }
    if (!escapeLead && m_pending.size() < length)
        return false;
    if (!escapeLead && !isAllowed(decodeSequence(m_pending, length), length))
        escapeLead = true;

    if (escapeLead) {
        addText(fragments, byteEscape(lead), QString());
        m_pending.remove(0, 1);
    } else {
        addCodePoint(fragments, decodeSequence(m_pending, length));
        m_pending.remove(0, length);
    }
    return true;
}

void Decoder::flushInto(QList<DecoderFragment> &fragments)
{
    const QList<DecoderFragment> flushed = flush();
    for (const DecoderFragment &fragment : flushed) {
        if (fragment.kind == DecoderFragmentKind::Text)
            addText(fragments, fragment.text, fragment.directionText);
        else
            fragments.append(fragment);
    }
}

void Decoder::addText(QList<DecoderFragment> &fragments, const QString &text,
                      const QString &directionText)
{
    if (!fragments.isEmpty() && fragments.last().kind == DecoderFragmentKind::Text) {
        fragments.last().text += text;
        fragments.last().directionText += directionText;
    } else {
        fragments.append(DecoderFragment{DecoderFragmentKind::Text, text, directionText});
    }
}

void Decoder::addCodePoint(QList<DecoderFragment> &fragments, uint codePoint)
{
    if (codePoint == 0x09)
        addText(fragments, u"\t"_s, QString());
    else if (isEscaped(codePoint))
        addText(fragments, codePointEscape(codePoint), QString());
    else
        addText(fragments, character(codePoint), character(codePoint));
}

void Decoder::addBreak(QList<DecoderFragment> &fragments)
{
    fragments.append(DecoderFragment{DecoderFragmentKind::Break, QString(), QString()});
}

QString Decoder::codePointEscape(uint codePoint)
{
    QString digits = QString::number(codePoint, 16).toUpper();
    while (digits.size() < 4)
        digits.prepend(u'0');
    return u"\\u{"_s + digits + u"}"_s;
}

QString Decoder::byteEscape(uchar byte)
{
    QString digits = QString::number(byte, 16).toUpper();
    while (digits.size() < 2)
        digits.prepend(u'0');
    return u"\\x"_s + digits;
}

QString Decoder::character(uint codePoint)
{
    if (codePoint < 0x10000)
        return QString(QChar(char16_t(codePoint)));
    return QString(QChar(QChar::highSurrogate(codePoint))) + QChar(QChar::lowSurrogate(codePoint));
}

QString textOf(const QList<DecoderFragment> &fragments)
{
    QString text;
    for (const DecoderFragment &fragment : fragments)
        text += fragment.kind == DecoderFragmentKind::Break ? u"\n"_s : fragment.text;
    return text;
}

qint64 displayBytesOf(const QList<DecoderFragment> &fragments)
{
    return textOf(fragments).toUtf8().size();
}

} // namespace tarn::console::plain
