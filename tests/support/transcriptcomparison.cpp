#include "support/transcriptcomparison.h"

#include "support/plaintranscript.h"
#include "support/transcripttesting.h"
#include "transcript/transcript.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

QString mismatch(const QString &actual, const QString &expected)
{
    return actual == expected ? QString() : u"is "_s + actual + u", should be "_s + expected;
}

bool same(const TranscriptRecord &a, const TranscriptRecord &b)
{
    return a.kind == b.kind && a.stream == b.stream && a.bytes == b.bytes && a.text == b.text
           && a.label == b.label && a.detail == b.detail && a.marker == b.marker
           && a.reserved == b.reserved;
}

bool same(const TranscriptParagraph &a, const TranscriptParagraph &b)
{
    return a.kind == b.kind && a.stream == b.stream && a.text == b.text
           && a.directionText == b.directionText;
}

QString recordsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    for (qsizetype i = 0; i < expected.records().size(); ++i) {
        if (!same(actual.records().at(i), expected.records().at(i)))
            return mismatch(describe(actual.records().at(i)), describe(expected.records().at(i)));
    }
    return QString();
}

QString paragraphsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    for (qsizetype i = 0; i < expected.paragraphs().size(); ++i) {
        const TranscriptParagraph &paragraph = expected.paragraphs().at(i);
        if (!same(actual.paragraphs().at(i), paragraph)
            || isTerminated(actual, i) != expected.isParagraphTerminated(i)) {
            return mismatch(describe(actual.paragraphs().at(i), isTerminated(actual, i)),
                            describe(paragraph, expected.isParagraphTerminated(i)));
        }
        if (actual.presentationForParagraph(i)
            != paragraphPresentation(expected.direction(), paragraph.directionText))
            return u"presentation of paragraph %1"_s.arg(i);
    }
    return mismatch(actual.documentText(), expected.documentText());
}

/// What the checks say about one more text and one more line break, which depends on whether the
/// stream has an open line.
template<typename AnyTranscript>
QString answers(const AnyTranscript &transcript)
{
    const QList<DecoderFragment> probes[] = {{plainFragment(u"a"_s)}, {breakFragment()}};
    QString result;
    for (const QList<DecoderFragment> &probe : probes) {
        for (const int stream : {0, 1}) {
            TranscriptLimit limit = TranscriptLimit::None;
            transcript.canApply(TranscriptStream(stream), probe, &limit);
            result += QString::number(qint32(limit));
        }
        TranscriptLimit limit = TranscriptLimit::None;
        transcript.canApplyStandalone(probe, &limit);
        result += QString::number(qint32(limit));
    }
    TranscriptLimit limit = TranscriptLimit::None;
    transcript.canAcceptRaw(3, &limit);
    return result + QString::number(qint32(limit));
}

} // namespace

QString countsMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    const bool equal = actual.retainedByteCount() == expected.retainedByteCount()
                       && actual.pendingUpdateByteCount() == expected.pendingUpdateByteCount()
                       && actual.captureStopped() == expected.captureStopped()
                       && actual.stopReason() == expected.stopReason()
                       && actual.direction() == expected.direction()
                       && actual.records().size() == expected.records().size()
                       && actual.paragraphs().size() == expected.paragraphs().size();
    if (equal)
        return QString();
    return describeAll(actual).join(u'\n') + u"\nshould be\n"_s + describeAll(expected).join(u'\n');
}

QString firstMismatch(const TranscriptAppendResult &actual, const TranscriptAppendResult &expected)
{
    const bool equal = actual.acceptedBytes == expected.acceptedBytes
                       && actual.captureStopped == expected.captureStopped
                       && actual.limit == expected.limit;
    return equal ? QString() : mismatch(describe(actual), describe(expected));
}

QString firstMismatch(const Transcript &actual, const plain::Transcript &expected)
{
    QString found = countsMismatch(actual, expected);
    if (found.isEmpty())
        found = recordsMismatch(actual, expected);
    if (found.isEmpty())
        found = paragraphsMismatch(actual, expected);
    if (found.isEmpty())
        found = mismatch(answers(actual), answers(expected));
    return found;
}

} // namespace tarn::console
