#include "window/announcer.h"

#include "transcript/transcript.h"
#include "window/statustexts.h"
#include "window/visibletext.h"

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>

#include <algorithm>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// One text of several, with a stop where a voice would run on from one into the next.
QString joined(const QStringList &texts)
{
    QString all;
    for (const QString &text : texts) {
        if (!all.isEmpty())
            all += all.back().isLetterOrNumber() ? u". "_s : u" "_s;
        all += text.trimmed();
    }
    return all;
}

/// The sentences of an utterance. What comes from standard error is said to, once for all lines in
/// a row.
QString wording(const Narration::Utterance &utterance)
{
    QStringList texts;
    bool omissionTold = utterance.omittedLines == 0;
    auto previous = Narration::Kind::Status;
    for (const Narration::Item &item : utterance.items) {
        const bool isStatus = item.kind == Narration::Kind::Status;
        if (!isStatus && !std::exchange(omissionTold, true))
            texts.append(StatusTexts::linesLeftOut(utterance.omittedLines));
        const bool errorsBegin = item.kind == Narration::Kind::ErrorOutput && item.kind != previous;
        texts.append(errorsBegin ? StatusTexts::errorOutput(item.text) : item.text);
        previous = item.kind;
    }
    return joined(texts);
}

} // namespace

Announcer::Announcer(const Transcript *transcript, QWidget *window)
    : QObject(window)
    , m_transcript(transcript)
    , m_voice(window)
{
    m_clock.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Announcer::speak);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &Announcer::followPerson);
    followPerson(QGuiApplication::focusWindow());
}

void Announcer::followTranscript()
{
    const qint64 count = m_transcript->packedRecords().size();
    // Somebody has cleared the transcript.
    if (count < m_knownRecords)
        m_knownRecords = 0;
    const qint64 first = std::exchange(m_knownRecords, count);
    if (!Voice::isHeard())
        return;
    const QList<TranscriptRecord> records = m_transcript->packedRecords().from(first);
    for (const TranscriptRecord &record : records) {
        if (record.kind == TranscriptRecordKind::StreamOutput && record.stream)
            m_narration.addOutput(*record.stream, record.text, now());
        else if (record.kind == TranscriptRecordKind::InputEcho)
            m_narration.addAnswer(now());
    }
    schedule();
}

void Announcer::tellRunStatus(const StatusMessage &status)
{
    const auto is = [&](ProgramSessionState state) {
        return status == StatusTexts::runState(state);
    };
    if (is(ProgramSessionState::Starting) || is(ProgramSessionState::Stopping))
        tell(status, Narration::Status::Passing);
    else if (is(ProgramSessionState::Running) || status == StatusTexts::limitReached())
        tell(status, Narration::Status::Opening);
    else
        tell(status, Narration::Status::Plain);
}

void Announcer::tellStatus(const StatusMessage &status)
{
    tell(status, Narration::Status::Plain);
}

void Announcer::tell(const StatusMessage &status, Narration::Status kind)
{
    constexpr qsizetype longestStatus = 300;
    if (!Voice::isHeard() || status.isEmpty())
        return;
    m_narration.addStatus(shortenedText(visibleText(status.text()), longestStatus), kind, now());
    schedule();
}

void Announcer::endOutput()
{
    if (!Voice::isHeard())
        return;
    m_narration.endLines(now());
    schedule();
}

/// Two consoles, or a console and an editor, must not speak at the same time.
void Announcer::followPerson(const QWindow *window)
{
    if (window)
        m_narration.release(now());
    else
        m_narration.hold();
    schedule();
}

Narration::Time Announcer::now() const
{
    return Narration::Time(m_clock.elapsed());
}

void Announcer::schedule()
{
    const std::optional<Narration::Time> due = m_narration.dueTime();
    if (due)
        m_timer.start(std::max(*due - now(), Narration::Time(0)));
    else
        m_timer.stop();
}

void Announcer::speak()
{
    // Whoever listens later has not missed anything that is still to be told.
    if (!Voice::isHeard())
        m_narration.clear();
    const Narration::Utterance utterance = m_narration.take(now());
    if (!utterance.isEmpty())
        m_voice.say(wording(utterance));
    schedule();
}

} // namespace tarn::console
