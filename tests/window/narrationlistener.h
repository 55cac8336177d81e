#pragma once

#include "window/narration.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>

#include <algorithm>

namespace tarn::console {

using Time = Narration::Time;
inline constexpr auto out = TranscriptStream::StandardOutput;
inline constexpr auto errors = TranscriptStream::StandardError;

/// A narration whose clock is set by hand, and everything it told.
struct Listener
{
    Narration narration;
    Time now{10'000};
    QList<Narration::Utterance> told;
    QList<Time> times;

    /// Lets the time pass, taking what is due when it is due.
    void pass(Time time)
    {
        const Time end = now + time;
        while (const auto due = narration.dueTime()) {
            if (*due > end)
                break;
            now = std::max(now, *due);
            const Narration::Utterance utterance = narration.take(now);
            QVERIFY2(!utterance.isEmpty(), "nothing was told when it was due");
            told.append(utterance);
            times.append(now);
        }
        now = end;
    }
    void write(const QString &text, TranscriptStream stream = out)
    {
        narration.addOutput(stream, text, now);
    }
    void status(const QString &text, Narration::Status kind = Narration::Status::Plain)
    {
        narration.addStatus(text, kind, now);
    }
    /// The texts of each utterance, one beside the other.
    QStringList texts() const
    {
        QStringList all;
        for (const Narration::Utterance &utterance : told) {
            QStringList items;
            for (const Narration::Item &item : utterance.items)
                items.append(item.text);
            all.append(items.join(u'|'));
        }
        return all;
    }
};

} // namespace tarn::console
