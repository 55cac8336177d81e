#include "support/transcriptscript.h"

#include "support/changesreader.h"
#include "support/nastybytes.h"
#include "support/plaintranscript.h"
#include "support/transcriptcomparison.h"
#include "support/transcriptproperties.h"
#include "support/transcripttesting.h"
#include "transcript/transcript.h"

#include <algorithm>
#include <array>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

using Kind = TranscriptStep::Kind;

qint64 limitOf(uchar byte)
{
    constexpr std::array<qint64, 16> limits = {0,  1,  2,  3,   4,   5,    8,    12,
                                               16, 33, 64, 100, 300, 1000, 8192, qint64(1) << 40};
    return limits[byte % limits.size()];
}

QList<DecoderFragment> fragmentsOf(int choice)
{
    const DecoderFragment text = plainFragment(u"ab"_s);
    switch (choice) {
    case 0:
        return {};
    case 1:
        return {breakFragment(), breakFragment()};
    case 2:
        return {text, breakFragment(), text};
    case 3:
        return {textFragment(u"\\xFF"_s, QString()), text};
    case 4:
        return {textFragment(QString(), u"x"_s)};
    default:
        return {plainFragment(u"\u0645"_s)};
    }
}

} // namespace

TranscriptScript::TranscriptScript(QByteArrayView bytes)
    : m_bytes(bytes)
{
    m_limits.maxRetainedBytes = limitOf(takeByte());
    m_limits.maxParagraphs = limitOf(takeByte());
    m_limits.maxParagraphBytes = limitOf(takeByte());
    m_limits.maxPendingUpdateBytes = limitOf(takeByte());
}

uchar TranscriptScript::takeByte()
{
    return atEnd() ? 0 : uchar(m_bytes[m_at++]);
}

QByteArray TranscriptScript::takeBytes(qsizetype count)
{
    const qsizetype taken = std::min(count, m_bytes.size() - m_at);
    m_at += taken;
    return m_bytes.sliced(m_at - taken, taken).toByteArray();
}

QByteArray TranscriptScript::takeRepeatedBytes(qsizetype unitSize)
{
    const int times = takeByte();
    return takeBytes(unitSize).repeated(times);
}

/// The low half of a call's first byte is what it does, the next bit the stream, and the rest a
/// size or a choice.
TranscriptStep TranscriptScript::takeStep()
{
    const uchar code = takeByte();
    const uchar kind = code & 0xF;
    const int choice = code >> 5;
    TranscriptStep step;
    step.stream = TranscriptStream(code >> 4 & 1);
    if (kind < 8)
        takeAppend(kind, choice, step);
    else if (kind < 10)
        step.kind = Kind::Finalize;
    else if (kind < 12)
        step.kind = Kind::Acknowledge;
    else if (kind < 13)
        takeAppend(kind, choice, step);
    else
        takeRareStep(kind, choice, step);
    return step;
}

void TranscriptScript::takeAppend(uchar kind, int size, TranscriptStep &step)
{
    step.kind = kind == 7 ? Kind::AppendUnderTheOtherName : kind == 12 ? Kind::Echo : Kind::Append;
    if (kind == 5)
        step.bytes = takeBytes(takeByte());
    else if (kind == 6)
        step.bytes = takeRepeatedBytes(size + 1);
    else
        step.bytes = takeBytes(size);
    if (step.kind == Kind::Echo)
        step.text = u"Input"_s;
}

void TranscriptScript::takeRareStep(uchar kind, int choice, TranscriptStep &step)
{
    constexpr std::array<Kind, 8> choices = {Kind::Clear,        Kind::Clear, Kind::BeginStreams,
                                             Kind::SetDirection, Kind::Label, Kind::Outcome,
                                             Kind::LimitRecord,  Kind::Stop};
    step.kind = kind == 13 ? Kind::ApplyFragments : choices[size_t(choice)];
    step.text = u"text"_s;
    step.limit = TranscriptLimit(choice);
    step.direction = ContentDirection(choice % 4);
    step.fragments = fragmentsOf(choice);
}

QByteArray randomScript(NastyBytes &random, int stepCount)
{
    QByteArray script;
    for (int i = 0; i < 4; ++i)
        script += char(random.below(256));
    for (int i = 0; i < stepCount; ++i) {
        // Three calls of four append, and most of them a few bytes.
        const int kind = random.chance(75) ? random.below(8) : random.between(8, 15);
        const int size = random.below(8);
        script += char(kind | random.below(2) << 4 | size << 5);
        const int byteCount = random.below(64);
        if (kind == 5)
            script += char(byteCount) + random.chunk(byteCount);
        else if (kind == 6)
            script += char(random.below(40)) + random.chunk(size + 1);
        else if (kind < 8 || kind == 12)
            script += random.chunk(size);
    }
    return script;
}

QString playScript(QByteArrayView bytes)
{
    TranscriptScript script(bytes);
    Transcript actual(script.limits());
    plain::Transcript expected(script.limits());
    ChangesReader reader;
    TranscriptAccounts accounts;
    actual.acknowledgePendingUpdates();
    for (int i = 0; !script.atEnd(); ++i) {
        TranscriptStep step = script.takeStep();
        // A transcript that stays stopped for long is a dull one.
        if (step.kind == Kind::Acknowledge && expected.captureStopped())
            step.kind = Kind::Clear;
        QString found;
        if (step.kind == Kind::Acknowledge)
            found = reader.catchUp(actual);
        const TranscriptAppendResult result = carryOut(step, actual);
        const TranscriptAppendResult expectedResult = carryOut(step, expected);
        if (found.isEmpty())
            found = firstMismatch(result, expectedResult);
        if (found.isEmpty())
            found = countsMismatch(actual, expected);
        if (found.isEmpty())
            found = accounts.enter(step, result, actual);
        if (!found.isEmpty())
            return u"step %1, %2: %3"_s.arg(QString::number(i), describe(step), found);
    }
    QString found = firstMismatch(actual, expected);
    if (found.isEmpty())
        found = reader.catchUp(actual);
    if (found.isEmpty() && reader.documentText() != actual.documentText())
        found = u"the changes tell another text"_s;
    return found.isEmpty() ? brokenPromise(actual) : found;
}

} // namespace tarn::console
