#pragma once

#include "session/transcriptstream.h"
#include "support/plaindecoder.h"
#include "transcript/decoderfragment.h"
#include "transcript/transcriptlimits.h"
#include "transcript/transcriptparagraph.h"
#include "transcript/transcriptrecord.h"
#include "transcript/transcriptresults.h"
#include "widgets/paragraphpresentation.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

/// The transcript once more, one piece at a time, beside the plain decoder.
namespace tarn::console::plain {

class Transcript
{
public:
    explicit Transcript(const TranscriptLimits &limits);

    const QList<TranscriptRecord> &records() const { return m_records; }
    const QList<TranscriptParagraph> &paragraphs() const { return m_paragraphs; }
    bool isParagraphTerminated(qint64 index) const { return m_terminated.at(index); }
    bool captureStopped() const { return m_stopped; }
    TranscriptLimit stopReason() const { return m_stopReason; }
    qint64 retainedByteCount() const { return m_retained; }
    qint64 pendingUpdateByteCount() const { return m_pendingUpdates; }

    ContentDirection direction() const { return m_direction; }
    void setDirection(ContentDirection direction) { m_direction = direction; }

    TranscriptAppendResult appendStream(TranscriptStream stream, QByteArrayView bytes);
    TranscriptAppendResult appendStreamBytes(TranscriptStream stream, QByteArrayView bytes)
    {
        return appendStream(stream, bytes);
    }
    TranscriptAppendResult finalizeStream(TranscriptStream stream);
    void beginStreams();
    TranscriptAppendResult appendInputEcho(const QString &label, QByteArrayView bytes);
    void appendLimitRecord(TranscriptLimit limit);
    void appendApplicationLabel(const QString &label);
    void appendOutcome(const QString &text);
    void clear();
    void acknowledgePendingUpdates() { m_pendingUpdates = 0; }

    bool canAcceptRaw(qint64 byteCount, TranscriptLimit *limit) const;
    bool canApply(TranscriptStream stream, const QList<DecoderFragment> &fragments,
                  TranscriptLimit *limit) const;
    bool canApplyStandalone(const QList<DecoderFragment> &fragments, TranscriptLimit *limit) const;
    void applyStreamFragments(TranscriptStream stream, const QList<DecoderFragment> &fragments);
    void stop(TranscriptLimit limit);

    QString documentText() const;

private:
    struct StreamState
    {
        Decoder decoder;
        qint64 lineBytes = 0;
        qint64 paragraphIndex = -1;
        bool paragraphOpen = false;
        bool carriageReturnAtLimit = false;
        QString directionText;
    };
    struct Chunk
    {
        QByteArray bytes;
        QString text;
        qint64 accepted = 0;
    };

    StreamState &stateFor(TranscriptStream stream);
    const StreamState &stateFor(TranscriptStream stream) const;
    TranscriptAppendResult resultOf(qint64 accepted) const;
    bool takeNext(TranscriptStream stream, QByteArrayView bytes, qsizetype &position, Chunk &chunk);
    bool takeAtLineLimit(TranscriptStream stream, QByteArrayView bytes, qsizetype &position,
                         Chunk &chunk);
    bool applyPiece(TranscriptStream stream, QByteArrayView piece, Chunk &chunk);
    bool canApplyFrom(bool open, const QList<DecoderFragment> &fragments,
                      TranscriptLimit *limit) const;
    qint64 ensureStreamParagraph(TranscriptStream stream);
    void appendStreamRecord(TranscriptStream stream, const QByteArray &bytes, const QString &text);
    void applyStandaloneFragments(TranscriptRecordKind kind,
                                  const QList<DecoderFragment> &fragments);
    qint64 addParagraph(TranscriptRecordKind kind, std::optional<TranscriptStream> stream,
                        const QString &directionText);

    TranscriptLimits m_limits;
    ContentDirection m_direction = ContentDirection::Auto;
    QList<TranscriptRecord> m_records;
    QList<TranscriptParagraph> m_paragraphs;
    QList<bool> m_terminated;
    StreamState m_standardOutput;
    StreamState m_standardError;
    qint64 m_retained = 0;
    qint64 m_pendingUpdates = 0;
    bool m_stopped = false;
    TranscriptLimit m_stopReason = TranscriptLimit::None;
};

inline bool isTerminated(const Transcript &transcript, qint64 paragraph)
{
    return transcript.isParagraphTerminated(paragraph);
}

} // namespace tarn::console::plain
