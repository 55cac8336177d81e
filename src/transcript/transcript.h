#pragma once

#include "session/transcriptstream.h"
#include "transcript/incrementaloutputdecoder.h"
#include "transcript/packedrecords.h"
#include "transcript/transcriptlimits.h"
#include "transcript/transcriptparagraphs.h"
#include "transcript/transcriptresults.h"
#include "widgets/paragraphpresentation.h"

#include <QByteArrayView>
#include <QList>
#include <QString>

#include <array>
#include <optional>

namespace tarn::console {

/// Everything the transcript area shows: records of what happened, and the paragraphs that are
/// displayed, bounded by limits. Where a piece of output would break a limit, the capture stops at
/// exactly that byte: what came before is kept, and everything later is refused until clear().
/// Refusals are results; a refused piece changes nothing.
///
/// Text positions are UTF-16 indices into documentText().
class Transcript
{
public:
    explicit Transcript(const TranscriptLimits &limits);

    const TranscriptLimits &limits() const { return m_limits; }
    /// Takes much memory from then on: there is one for every chunk of output.
    const QList<TranscriptRecord> &records() const { return m_records.all(); }
    const PackedRecords &packedRecords() const { return m_records; }
    /// Takes much memory from then on: they are kept packed otherwise.
    const QList<TranscriptParagraph> &paragraphs() const { return m_paragraphs.packed().all(); }
    const PackedParagraphs &packedParagraphs() const { return m_paragraphs.packed(); }
    bool captureStopped() const { return m_stopReason.has_value(); }
    TranscriptLimit stopReason() const { return m_stopReason.value_or(TranscriptLimit::None); }
    qint64 retainedByteCount() const { return m_retainedByteCount; }
    qint64 pendingUpdateByteCount() const { return m_pendingUpdateByteCount; }

    ContentDirection direction() const { return m_direction; }
    void setDirection(ContentDirection direction);
    /// The index is not checked.
    ParagraphPresentation presentationForParagraph(qint64 index) const;

    /// Takes in one chunk of output and adds one record for what was accepted.
    TranscriptAppendResult appendStream(TranscriptStream stream, QByteArrayView bytes);
    /// The same under its longer name.
    TranscriptAppendResult appendStreamBytes(TranscriptStream stream, QByteArrayView bytes);
    /// End of a stream: shows what its decoder still holds, also after the capture has stopped.
    /// When that does not fit, it is lost and the capture stops.
    TranscriptAppendResult finalizeStream(TranscriptStream stream);
    /// New streams begin (another program): their first output continues no earlier line.
    void beginStreams();

    /// Echoes a line of input in paragraphs of its own. The label names the record.
    TranscriptAppendResult appendInputEcho(const QString &label, QByteArrayView bytes);
    /// Records that are not displayed; they are added also while the capture is stopped.
    void appendLimitRecord(TranscriptLimit limit);
    void appendApplicationLabel(const QString &label);
    void appendOutcome(const QString &text);

    /// Empties records and paragraphs and lets the capture run again. A character or a carriage
    /// return that was incomplete is completed afterwards, and a line that was not ended goes on
    /// in a new paragraph with the direction it had.
    void clear();

    /// A view has shown everything so far.
    void acknowledgePendingUpdates();
    const TranscriptChanges &changes() const { return m_paragraphs.changes(); }

    /// Checks; a refusal writes the limit and returns false, otherwise the limit is left alone.
    bool canAcceptRaw(qint64 byteCount, TranscriptLimit *limit) const;
    bool canApply(TranscriptStream stream, const QList<DecoderFragment> &fragments,
                  TranscriptLimit *limit) const;
    bool canApplyStandalone(const QList<DecoderFragment> &fragments, TranscriptLimit *limit) const;
    static qint64 fragmentsDisplayBytes(const QList<DecoderFragment> &fragments);

    /// Paragraphs joined by LF, and a final LF if a line break ended the last one.
    QString documentText() const;
    /// The document text between two positions in any order, clamped to the text.
    QString copy(qint64 from, qint64 to) const;
    /// Literal, case-sensitive search from a position on (backward: for matches that start before
    /// it; from 0 the whole text is searched), going round once.
    TranscriptFindResult findLiteral(const QString &text, qint64 from, bool backward) const;
    /// The texts of the fragments, each Break as one LF.
    static QString fragmentsText(const QList<DecoderFragment> &fragments);

    /// The steps of the append operations, each after its checks have passed.
    void applyStreamFragments(TranscriptStream stream, const QList<DecoderFragment> &fragments);
    void applyStandaloneFragments(TranscriptRecordKind kind,
                                  const QList<DecoderFragment> &fragments);
    qint64 ensureStreamParagraph(TranscriptStream stream);
    void appendStreamRecord(TranscriptStream stream, const QByteArray &bytes, const QString &text);
    qint64 addParagraph(TranscriptRecordKind kind, std::optional<TranscriptStream> stream,
                        const QString &directionText);
    void stop(TranscriptLimit limit);

private:
    struct StreamState
    {
        IncrementalOutputDecoder decoder;
        qint64 lineBytes = 0;       ///< raw bytes of the current line so far
        qint64 paragraphIndex = -1; ///< the open paragraph, -1 when there is none
        /// A carriage return came exactly at the line limit; only a line feed may follow.
        bool carriageReturnAtLimit = false;
        /// Direction text of a line whose paragraph was cleared away before the line had ended.
        QString directionText;

        bool hasOpenParagraph() const { return paragraphIndex >= 0; }
    };
    class ChunkIntake;

    StreamState &stateFor(TranscriptStream stream);
    const StreamState &stateFor(TranscriptStream stream) const;
    TranscriptAppendResult resultOf(qint64 acceptedBytes) const;
    bool canApplyFrom(bool paragraphOpen, const QList<DecoderFragment> &fragments,
                      TranscriptLimit *limit) const;

    TranscriptLimits m_limits;
    ContentDirection m_direction = ContentDirection::Auto;
    PackedRecords m_records;
    TranscriptParagraphs m_paragraphs;
    std::array<StreamState, 2> m_streams;
    qint64 m_retainedByteCount = 0;
    qint64 m_pendingUpdateByteCount = 0;
    std::optional<TranscriptLimit> m_stopReason; ///< set while the capture is stopped
};

} // namespace tarn::console
