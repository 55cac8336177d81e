#include "support/transcripttesting.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// What is not printable ASCII as "<202E>".
QString visible(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit >= 0x20 && unit < 0x7F)
            result += c;
        else
            result += u'<' + QString::number(unit, 16).toUpper() + u'>';
    }
    return u'"' + result + u'"';
}

QString streamName(const std::optional<TranscriptStream> &stream)
{
    return stream ? QString::number(qint32(*stream)) : u"none"_s;
}

} // namespace

QByteArray fromHex(const char *hex)
{
    return QByteArray::fromHex(hex);
}

TranscriptLimits wideLimits()
{
    constexpr qint64 wide = qint64(1) << 40;
    return {wide, wide, wide, wide, wide};
}

TranscriptLimits withRetained(qint64 bytes)
{
    TranscriptLimits limits = wideLimits();
    limits.maxRetainedBytes = bytes;
    return limits;
}

TranscriptLimits windowLimits()
{
    return {8'388'608, 100'000, 65'536, 262'144, 65'536};
}

DecoderFragment textFragment(const QString &text, const QString &directionText)
{
    return {DecoderFragmentKind::Text, text, directionText};
}

DecoderFragment plainFragment(const QString &text)
{
    return textFragment(text, text);
}

DecoderFragment breakFragment()
{
    return {DecoderFragmentKind::Break, QString(), QString()};
}

QString describe(const DecoderFragment &fragment)
{
    return u"%1 %2 direction %3"_s.arg(fragment.kind == DecoderFragmentKind::Text ? u"Text"_s
                                                                                  : u"Break"_s,
                                       visible(fragment.text), visible(fragment.directionText));
}

QString describe(const TranscriptAppendResult &result)
{
    return u"accepted %1, stopped %2, limit %3"_s.arg(result.acceptedBytes)
        .arg(result.captureStopped)
        .arg(qint32(result.limit));
}

QString describe(const TranscriptFindResult &result)
{
    return u"found %1, wrapped %2, position %3, length %4"_s.arg(result.found)
        .arg(result.wrapped)
        .arg(result.position)
        .arg(result.length);
}

QString describe(const TranscriptRecord &record)
{
    return u"record %1 stream %2 bytes %3 text %4 label %5 detail %6 marker %7 reserved %8"_s.arg(
        QString::number(qint32(record.kind)), streamName(record.stream),
        QString::fromLatin1(record.bytes.toHex(' ')), visible(record.text), visible(record.label),
        visible(record.detail), QString::number(record.marker), QString::number(record.reserved));
}

QString describe(const TranscriptParagraph &paragraph, bool terminated)
{
    return u"paragraph %1 stream %2 text %3 direction %4 terminated %5"_s.arg(
        QString::number(qint32(paragraph.kind)), streamName(paragraph.stream),
        visible(paragraph.text), visible(paragraph.directionText), QString::number(terminated));
}

QStringList describe(const QList<DecoderFragment> &fragments)
{
    QStringList lines;
    for (const DecoderFragment &fragment : fragments)
        lines << describe(fragment);
    return lines;
}

QString accepted(qint64 bytes)
{
    return describe(TranscriptAppendResult{.acceptedBytes = bytes});
}

QString stopped(qint64 bytes, TranscriptLimit limit)
{
    return describe(
        TranscriptAppendResult{.acceptedBytes = bytes, .captureStopped = true, .limit = limit});
}

QString append(Transcript &transcript, TranscriptStream stream, const QByteArray &bytes)
{
    return describe(transcript.appendStream(stream, bytes));
}

TranscriptRecord outputRecord(TranscriptStream stream, const QByteArray &bytes, const QString &text)
{
    TranscriptRecord record;
    record.stream = stream;
    record.bytes = bytes;
    record.text = text;
    return record;
}

QStringList paragraphTexts(const Transcript &transcript)
{
    QStringList texts;
    for (qsizetype i = 0; i < transcript.paragraphs().size(); ++i) {
        const QString &text = transcript.paragraphs().at(i).text;
        texts << (isTerminated(transcript, i) ? text + u'$' : text);
    }
    return texts;
}

} // namespace tarn::console
