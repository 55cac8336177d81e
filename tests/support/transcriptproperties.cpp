#include "support/transcriptproperties.h"

#include "support/decodercheck.h"
#include "transcript/transcript.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

QString TranscriptAccounts::enter(const TranscriptStep &step, const TranscriptAppendResult &result,
                                  const Transcript &transcript)
{
    using Kind = TranscriptStep::Kind;
    m_accepted += result.acceptedBytes;
    if (step.kind == Kind::Clear) {
        m_accepted = 0;
        m_bypassed = false;
    }
    if (step.kind == Kind::ApplyFragments)
        m_bypassed = true;

    const TranscriptLimits &limits = transcript.limits();
    if (transcript.retainedByteCount() != m_accepted)
        return u"%1 bytes were accepted, %2 are retained"_s.arg(m_accepted)
            .arg(transcript.retainedByteCount());
    // A carriage return that waited for its line feed comes on top of the chunk.
    if (result.acceptedBytes < 0 || result.acceptedBytes > step.bytes.size() + 1)
        return u"%1 bytes were accepted"_s.arg(result.acceptedBytes);
    if (m_accepted > limits.maxRetainedBytes)
        return u"%1 bytes are retained"_s.arg(m_accepted);
    if (m_bypassed)
        return QString();
    if (transcript.paragraphs().size() > limits.maxParagraphs)
        return u"there are %1 paragraphs"_s.arg(transcript.paragraphs().size());
    if (transcript.pendingUpdateByteCount() > limits.maxPendingUpdateBytes)
        return u"%1 bytes are pending"_s.arg(transcript.pendingUpdateByteCount());
    return QString();
}

QString brokenPromise(const Transcript &transcript)
{
    qint64 recorded = 0;
    for (const TranscriptRecord &record : transcript.records()) {
        recorded += record.bytes.size();
        QString text = record.text;
        if (!isSafeToShow(text.remove(u'\n')))
            return u"a record is unsafe to show"_s;
    }
    if (recorded != transcript.retainedByteCount())
        return u"%1 bytes are recorded, %2 retained"_s.arg(recorded).arg(
            transcript.retainedByteCount());
    for (const TranscriptParagraph &paragraph : transcript.paragraphs()) {
        if (!isSafeToShow(paragraph.text) || !isSafeToShow(paragraph.directionText))
            return u"a paragraph is unsafe to show"_s;
    }
    return QString();
}

} // namespace tarn::console
