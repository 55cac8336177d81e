#pragma once

#include <QList>

namespace tarn::console {

/// What changed in the paragraphs since the last acknowledgement. A view that showed the state of
/// then brings itself up to date from this alone.
struct TranscriptChanges
{
    /// Which acknowledgement they are relative to, so that a view can tell that it missed one.
    quint64 acknowledgement = 0;
    /// Goes up with every change, also with those that the other fields do not tell apart.
    quint64 revision = 0;
    /// The paragraphs were emptied, or all their presentations may have changed; the other fields
    /// then say nothing but that every paragraph is new.
    bool everything = false;
    /// Paragraphs from this index on are new.
    qint64 firstNew = 0;
    /// An earlier paragraph that has grown or was ended by a line break, in its state of then.
    struct Extension
    {
        qint64 paragraph = 0;
        qint64 shownLength = 0; ///< UTF-16 length of its text at the last acknowledgement
    };
    /// In ascending order of the paragraph, each paragraph once; at most two.
    QList<Extension> extended;
    /// The last paragraph of then had been ended by a line break.
    bool lastWasTerminated = false;
};

} // namespace tarn::console
