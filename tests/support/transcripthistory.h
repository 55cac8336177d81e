#pragma once

#include "session/transcriptstream.h"
#include "transcript/decoderfragment.h"
#include "transcript/transcriptlimits.h"
#include "transcript/transcriptresults.h"
#include "widgets/paragraphpresentation.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace tarn::console {

class NastyBytes;

/// One call to a transcript, drawn at random and carried out on any number of them.
struct TranscriptStep
{
    enum class Kind {
        Append,
        AppendUnderTheOtherName,
        Finalize,
        Echo,
        Clear,
        Acknowledge,
        BeginStreams,
        SetDirection,
        Label,
        Outcome,
        LimitRecord,
        Stop,
        ApplyFragments,
    };

    Kind kind = Kind::Append;
    TranscriptStream stream = TranscriptStream::StandardOutput;
    QByteArray bytes;
    QString text;
    TranscriptLimit limit = TranscriptLimit::None;
    ContentDirection direction = ContentDirection::Auto;
    QList<DecoderFragment> fragments;
};

/// Limits from "nothing fits" to "plenty"; the longest chunk worth trying with them.
struct RandomLimits
{
    TranscriptLimits limits;
    int longestChunk = 0;
};

RandomLimits randomLimits(NastyBytes &random);
/// The next call; a stopped transcript is cleared soon, so that the history goes on.
TranscriptStep randomStep(NastyBytes &random, int longestChunk, bool stopped);
QString describe(const TranscriptStep &step);

/// Carries the step out. Steps without a result give an empty one.
template<typename AnyTranscript>
TranscriptAppendResult carryOut(const TranscriptStep &step, AnyTranscript &transcript)
{
    using Kind = TranscriptStep::Kind;
    switch (step.kind) {
    case Kind::Append:
        return transcript.appendStream(step.stream, step.bytes);
    case Kind::AppendUnderTheOtherName:
        return transcript.appendStreamBytes(step.stream, step.bytes);
    case Kind::Finalize:
        return transcript.finalizeStream(step.stream);
    case Kind::Echo:
        return transcript.appendInputEcho(step.text, step.bytes);
    case Kind::Clear:
        transcript.clear();
        break;
    case Kind::Acknowledge:
        transcript.acknowledgePendingUpdates();
        break;
    case Kind::BeginStreams:
        transcript.beginStreams();
        break;
    case Kind::SetDirection:
        transcript.setDirection(step.direction);
        break;
    case Kind::Label:
        transcript.appendApplicationLabel(step.text);
        break;
    case Kind::Outcome:
        transcript.appendOutcome(step.text);
        break;
    case Kind::LimitRecord:
        transcript.appendLimitRecord(step.limit);
        break;
    case Kind::Stop:
        transcript.stop(step.limit);
        break;
    case Kind::ApplyFragments:
        transcript.applyStreamFragments(step.stream, step.fragments);
        break;
    }
    return {};
}

} // namespace tarn::console
