#pragma once

#include "transcript/decoderfragment.h"
#include "transcript/transcript.h"
#include "transcript/transcriptlimits.h"
#include "transcript/transcriptparagraph.h"
#include "transcript/transcriptrecord.h"
#include "transcript/transcriptresults.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

namespace tarn::console {

inline constexpr auto Out = TranscriptStream::StandardOutput;
inline constexpr auto Err = TranscriptStream::StandardError;

/// "C3 A9" as bytes; string literals run a hexadecimal escape into the letters after it.
QByteArray fromHex(const char *hex);

/// Limits that no test reaches by accident.
TranscriptLimits wideLimits();
/// The same but for one.
TranscriptLimits withRetained(qint64 bytes);
/// The limits of the console window.
TranscriptLimits windowLimits();

DecoderFragment textFragment(const QString &text, const QString &directionText);
/// A Text of ordinary characters, which all count for the direction.
DecoderFragment plainFragment(const QString &text);
DecoderFragment breakFragment();

/// One line for each, with everything that it holds, for comparisons that explain themselves.
QString describe(const DecoderFragment &fragment);
QString describe(const TranscriptAppendResult &result);
QString describe(const TranscriptFindResult &result);
QString describe(const TranscriptRecord &record);
QString describe(const TranscriptParagraph &paragraph, bool terminated);
QStringList describe(const QList<DecoderFragment> &fragments);

/// What describe() says of a result while the capture goes on, and once a limit has stopped it.
QString accepted(qint64 bytes);
QString stopped(qint64 bytes, TranscriptLimit limit);

/// Appends output; returns what describe() says of the result.
QString append(Transcript &transcript, TranscriptStream stream, const QByteArray &bytes);

TranscriptRecord outputRecord(TranscriptStream stream, const QByteArray &bytes,
                              const QString &text);

/// Whether a line break ended a paragraph; the plain transcript has the same.
inline bool isTerminated(const Transcript &transcript, qint64 paragraph)
{
    return transcript.packedParagraphs().isTerminated(paragraph);
}

/// Counts, stop state, records and paragraphs of a transcript; also of the plain one.
template<typename AnyTranscript>
QStringList describeAll(const AnyTranscript &transcript)
{
    QStringList lines;
    lines << QStringLiteral("retained %1, pending %2, stopped %3, reason %4")
                 .arg(transcript.retainedByteCount())
                 .arg(transcript.pendingUpdateByteCount())
                 .arg(transcript.captureStopped())
                 .arg(qint32(transcript.stopReason()));
    for (const TranscriptRecord &record : transcript.records())
        lines << describe(record);
    for (qsizetype i = 0; i < transcript.paragraphs().size(); ++i)
        lines << describe(transcript.paragraphs().at(i), isTerminated(transcript, i));
    return lines;
}

/// The paragraph texts, each followed by "$" when a line break ended it.
QStringList paragraphTexts(const Transcript &transcript);

} // namespace tarn::console
