#include "support/transcripthistory.h"

#include "support/nastybytes.h"
#include "support/transcripttesting.h"

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

using Kind = TranscriptStep::Kind;

qint64 plentyOr(NastyBytes &random, int lowest, int highest)
{
    return random.chance(25) ? wideLimits().maxRetainedBytes : random.between(lowest, highest);
}

Kind randomKind(NastyBytes &random, bool stopped)
{
    if (stopped && random.chance(35))
        return Kind::Clear;
    const int percent = random.below(100);
    if (percent < 58)
        return Kind::Append;
    if (percent < 62)
        return Kind::AppendUnderTheOtherName;
    if (percent < 68)
        return Kind::Finalize;
    if (percent < 76)
        return Kind::Echo;
    if (percent < 86)
        return Kind::Acknowledge;
    const Kind rare[] = {Kind::Clear,        Kind::Clear, Kind::BeginStreams,
                         Kind::SetDirection, Kind::Label, Kind::Outcome,
                         Kind::LimitRecord,  Kind::Stop,  Kind::Outcome,
                         Kind::BeginStreams, Kind::Label, Kind::ApplyFragments};
    return rare[random.below(12)];
}

int randomLength(NastyBytes &random, int longest)
{
    const int percent = random.below(100);
    if (percent < 50)
        return random.below(9);
    if (percent < 88)
        return random.below(60);
    return random.below(longest + 1);
}

QList<DecoderFragment> randomFragments(NastyBytes &random)
{
    const DecoderFragment choices[] = {breakFragment(), plainFragment(u"ab"_s),
                                       textFragment(u"\\xFF"_s, QString()),
                                       textFragment(QString(), u"x"_s), plainFragment(u"\u0645"_s)};
    QList<DecoderFragment> fragments;
    for (int i = random.below(5); i > 0; --i)
        fragments << choices[random.below(5)];
    return fragments;
}

} // namespace

RandomLimits randomLimits(NastyBytes &random)
{
    switch (random.below(4)) {
    case 0:
        return {{plentyOr(random, 0, 9), plentyOr(random, 0, 3), plentyOr(random, 0, 4),
                 plentyOr(random, 0, 12), 0},
                20};
    case 1:
        return {{plentyOr(random, 10, 120), plentyOr(random, 1, 12), random.between(1, 20),
                 plentyOr(random, 8, 120), 0},
                200};
    case 2:
        return {{plentyOr(random, 200, 6000), plentyOr(random, 5, 150), plentyOr(random, 10, 400),
                 plentyOr(random, 100, 2500), 0},
                1200};
    default:
        return {windowLimits(), 600};
    }
}

TranscriptStep randomStep(NastyBytes &random, int longestChunk, bool stopped)
{
    TranscriptStep step;
    step.kind = randomKind(random, stopped);
    step.stream =
        random.chance(65) ? TranscriptStream::StandardOutput : TranscriptStream::StandardError;
    step.bytes = random.chunk(randomLength(random, longestChunk));
    // A carriage return at the end of a chunk is where most of the trouble is.
    if (random.chance(8))
        step.bytes += '\r';
    step.text = QString::number(random.below(1000));
    step.limit = TranscriptLimit(random.below(6));
    step.direction = ContentDirection(random.below(4));
    step.fragments = randomFragments(random);
    return step;
}

QString describe(const TranscriptStep &step)
{
    return u"call %1, stream %2, limit %3, direction %4, fragments (%5), bytes %6"_s.arg(
        QString::number(qint32(step.kind)), QString::number(qint32(step.stream)),
        QString::number(qint32(step.limit)), QString::number(qint32(step.direction)),
        describe(step.fragments).join(u"; "_s), QString::fromLatin1(step.bytes.toHex(' ')));
}

} // namespace tarn::console
