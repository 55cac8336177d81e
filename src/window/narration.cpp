#include "window/narration.h"

#include <algorithm>
#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

constexpr std::array streams{TranscriptStream::StandardOutput, TranscriptStream::StandardError};

std::size_t indexOf(TranscriptStream stream)
{
    return stream == TranscriptStream::StandardOutput ? 0 : 1;
}

bool saysSomething(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return !c.isSpace(); });
}

bool hasWords(QStringView text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

/// The beginning and the end of a line: it may end with a question.
QString cutInTheMiddle(const QString &text, qsizetype length)
{
    if (text.size() <= length)
        return text;
    const QString ellipsis = u" … "_s;
    const qsizetype half = (length - ellipsis.size()) / 2;
    return text.first(half) + ellipsis + text.last(half);
}

/// What is left to see of a line that went back to its beginning, as spinners and counters do: the
/// transcript shows each carriage return as an escape.
QString afterLastReturn(const QString &line)
{
    const auto escape = "\\u{000D}"_L1;
    qsizetype end = line.size();
    while (true) {
        const qsizetype found = QStringView(line).first(end).lastIndexOf(escape);
        if (found < 0)
            return line.first(end);
        const qsizetype start = found + escape.size();
        if (saysSomething(QStringView(line).sliced(start, end - start)))
            return line.sliced(start, end - start);
        end = found;
    }
}

} // namespace

void Narration::addOutput(TranscriptStream stream, QStringView text, Time now)
{
    m_lastOutput = now;
    ++m_pieces;
    while (!text.isEmpty()) {
        const qsizetype end = text.indexOf(u'\n');
        extendLine(stream, end < 0 ? text : text.first(end), now);
        if (end < 0)
            return;
        endLine(stream, now);
        text = text.sliced(end + 1);
    }
}

void Narration::extendLine(TranscriptStream stream, QStringView text, Time now)
{
    // More than can be told, so that a cut shows, and little enough to be kept.
    constexpr qsizetype longestKept = 4 * longestOutput;
    OpenLine &line = m_lines[indexOf(stream)];
    line.text += text;
    if (line.text.size() > 2 * longestKept)
        line.text.remove(longestKept / 2, line.text.size() - longestKept);
    line.lastGrowth = now;
}

void Narration::endLine(TranscriptStream stream, Time now)
{
    OpenLine &line = m_lines[indexOf(stream)];
    const OpenLine ended = std::exchange(line, {});
    if (!saysSomething(ended.text))
        return;
    if (!hasOutput())
        m_firstOutput = now;
    const QString text = cutInTheMiddle(afterLastReturn(ended.text), longestOutput);
    m_items.append(
        {stream == TranscriptStream::StandardOutput ? Kind::Output : Kind::ErrorOutput, text});
    m_passing = false;
    m_outputLength += text.size();
    shorten();
}

/// Leaves out the earliest lines as long as there are more than can be listened to.
void Narration::shorten()
{
    m_items.removeIf([this](const Item &item) {
        if (m_outputLength <= longestOutput || item.kind == Kind::Status)
            return false;
        m_outputLength -= item.text.size();
        ++m_omittedLines;
        return true;
    });
}

void Narration::addStatus(const QString &text, Status status, Time now)
{
    if (std::exchange(m_passing, false))
        m_items.removeLast();
    m_items.removeIf([&](const Item &i) { return i.kind == Kind::Status && i.text == text; });
    m_items.append({Kind::Status, text});
    m_passing = status == Status::Passing;
    const Time due = now + (status == Status::Plain ? gathering : longestGathering);
    m_statusDueTime = std::min(m_statusDueTime.value_or(due), due);
}

void Narration::addAnswer(Time now)
{
    m_spokenUntil = now;
    for (OpenLine &line : m_lines)
        line = {};
}

void Narration::endLines(Time now)
{
    for (const TranscriptStream stream : streams)
        endLine(stream, now);
}

void Narration::hold()
{
    m_heldUntil.reset();
}

void Narration::release(Time now)
{
    if (m_heldUntil)
        return;
    m_heldUntil = now;
    if (dueTimeWhereHeard())
        *m_heldUntil += arrival;
}

void Narration::clear()
{
    const auto heldUntil = m_heldUntil;
    *this = {};
    m_heldUntil = heldUntil;
}

bool Narration::hasOutput() const
{
    return m_outputLength > 0 || m_omittedLines > 0;
}

/// When the program has been quiet for so long that the line it has not ended is to be told.
std::optional<Narration::Time> Narration::pauseOf(const OpenLine &line) const
{
    if (!saysSomething(line.text))
        return std::nullopt;
    constexpr int mostDoublings = 5;
    Time patience = hasWords(line.text) ? pause : pauseAfterSigns;
    if (line.partsTold > 0)
        patience = pauseAfterPart * (1 << std::min(line.partsTold - 1, mostDoublings));
    return line.lastGrowth + patience;
}

std::optional<Narration::Time> Narration::outputDueTime() const
{
    std::optional<Time> due;
    for (const OpenLine &line : m_lines) {
        if (const auto end = pauseOf(line))
            due = due ? std::min(*due, *end) : *end;
    }
    if (hasOutput()) {
        // A question that is about to follow is told with the lines before it.
        const Time latest = m_firstOutput + (due ? longestGathering : gathering);
        due = std::min(due.value_or(latest), latest);
    }
    if (!due)
        return due;
    return std::max(*due, m_spokenUntil - longestLead);
}

std::optional<Narration::Time> Narration::dueTime() const
{
    const std::optional<Time> due = m_heldUntil ? dueTimeWhereHeard() : std::nullopt;
    return due ? std::max(*due, *m_heldUntil) : due;
}

std::optional<Narration::Time> Narration::dueTimeWhereHeard() const
{
    std::optional<Time> due = outputDueTime();
    if (!due || (m_statusDueTime && *m_statusDueTime < *due))
        due = m_statusDueTime;
    if (due && hasOutput()) {
        const Time settled = m_lastOutput + m_pieces * perPiece;
        due = std::max(*due, std::min(settled, m_firstOutput + longestSettling));
    }
    return due;
}

/// Makes items of the lines that the program has paused in.
void Narration::takePausedLines(Time now)
{
    for (const TranscriptStream stream : streams) {
        OpenLine &line = m_lines[indexOf(stream)];
        const std::optional<Time> end = pauseOf(line);
        if (!end || *end > now)
            continue;
        const Time lastGrowth = line.lastGrowth;
        const int partsTold = line.partsTold;
        endLine(stream, now);
        line = {{}, lastGrowth, partsTold + 1};
    }
}

Narration::Utterance Narration::take(Time now)
{
    const std::optional<Time> due = dueTime();
    if (!due || *due > now)
        return {};
    takePausedLines(now);
    Utterance utterance{std::exchange(m_items, {}), std::exchange(m_omittedLines, 0)};
    if (utterance.omittedLines > 0) {
        std::stable_partition(utterance.items.begin(), utterance.items.end(),
                              [](const Item &item) { return item.kind == Kind::Status; });
    }
    qsizetype length = 0;
    for (const Item &item : std::as_const(utterance.items))
        length += item.text.size();
    m_spokenUntil = std::max(m_spokenUntil, now) + length * perCharacter;
    m_outputLength = 0;
    m_pieces = 0;
    m_statusDueTime.reset();
    m_passing = false;
    return utterance;
}

} // namespace tarn::console
