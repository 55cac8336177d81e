#pragma once

#include "session/transcriptstream.h"

#include <QList>
#include <QString>

#include <array>
#include <chrono>
#include <optional>

namespace tarn::console {

/// Decides what is worth telling somebody who listens, and when. What happens is gathered, so that
/// one answer of a program is one utterance; it is cut to a length that can be listened to; and new
/// output waits while too much is still being spoken. Statuses never wait for output.
///
/// While the person is elsewhere nothing is told, and afterwards what they missed, with the same
/// bounds.
///
/// Pure: the caller brings the time, and asks again when dueTime() has come.
class Narration
{
public:
    using Time = std::chrono::milliseconds;

    /// So much output is told at once; of more, the latest lines and the number of the others.
    static constexpr qsizetype longestOutput = 300;
    /// What comes within this time is told together.
    static constexpr Time gathering{250};
    /// The longest that whole lines, or a status that something is about to follow, are held back.
    static constexpr Time longestGathering{600};
    /// A program that has written nothing for so long waits, perhaps for an answer to the line that
    /// it has not ended; longer when no letter or digit says that it is a question.
    static constexpr Time pause{400};
    static constexpr Time pauseAfterSigns{800};
    /// The same once a part of the line has been told already; twice as much each further time.
    static constexpr Time pauseAfterPart{2000};
    /// How long a character takes to be spoken, and how far the telling may be ahead of that.
    static constexpr Time perCharacter{65};
    static constexpr Time longestLead{4000};

    /// A screen reader that is busy with changes of the text drops what it is told. It is given so
    /// long after the last for each piece of output, but no longer than that after the first.
    static constexpr Time perPiece{10};
    static constexpr Time longestSettling{3000};

    /// Whoever comes back is told first where they are, and then what they missed.
    static constexpr Time arrival{1000};

    enum class Kind { Output, ErrorOutput, Status };
    struct Item
    {
        Kind kind;
        QString text; ///< a line, or what there is of it, or a sentence
        bool operator==(const Item &) const = default;
    };
    struct Utterance
    {
        /// As they happened; with the statuses first when output was left out, because then the
        /// listener is late.
        QList<Item> items;
        qint64 omittedLines = 0;
        bool isEmpty() const { return items.isEmpty() && omittedLines == 0; }
    };

    enum class Status {
        Plain,   ///< told soon
        Opening, ///< told, and likely to be followed by something that it is told with
        Passing, ///< not told when another status takes its place before
    };

    /// Display text of a stream, lines ended by LF.
    void addOutput(TranscriptStream stream, QStringView text, Time now);
    /// The same sentence is told once, however often it comes before it is told.
    void addStatus(const QString &text, Status status, Time now);
    /// The person has answered: whatever was being spoken, they want to hear what comes now.
    void addAnswer(Time now);
    /// The program has ended: no line goes on.
    void endLines(Time now);
    /// The person is elsewhere, and has come back.
    void hold();
    void release(Time now);
    /// Nothing that is waiting is told any more.
    void clear();

    /// When take() has something; none while nothing waits.
    std::optional<Time> dueTime() const;
    /// What is to be told now; empty before dueTime().
    Utterance take(Time now);

private:
    struct OpenLine
    {
        QString text; ///< what has not been told yet
        Time lastGrowth{0};
        int partsTold = 0;
    };

    void extendLine(TranscriptStream stream, QStringView text, Time now);
    void endLine(TranscriptStream stream, Time now);
    void shorten();
    bool hasOutput() const;
    std::optional<Time> outputDueTime() const;
    std::optional<Time> dueTimeWhereHeard() const;
    std::optional<Time> pauseOf(const OpenLine &line) const;
    void takePausedLines(Time now);

    QList<Item> m_items;
    std::array<OpenLine, 2> m_lines;
    qsizetype m_outputLength = 0;
    qint64 m_omittedLines = 0;
    Time m_firstOutput{0}; ///< of what waits
    Time m_lastOutput{0};
    int m_pieces = 0;                         ///< of output, since something was told
    std::optional<Time> m_statusDueTime;      ///< while a status waits
    std::optional<Time> m_heldUntil{Time(0)}; ///< none while the person is elsewhere
    bool m_passing = false;                   ///< the last item is a status that passes
    Time m_spokenUntil{0}; ///< when what has been told will have been listened to
};

} // namespace tarn::console
