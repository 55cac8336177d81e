#pragma once

#include "transcript/transcriptchanges.h"
#include "transcript/transcriptparagraph.h"

#include <QList>
#include <QString>

namespace tarn::console {

/// The displayed paragraphs of a transcript, which of them a line break has ended, and what changed
/// in them since a view last showed them. No index is checked.
class TranscriptParagraphs
{
public:
    const QList<TranscriptParagraph> &all() const { return m_paragraphs; }
    qint64 size() const { return m_paragraphs.size(); }
    const TranscriptParagraph &at(qint64 index) const { return m_paragraphs[index]; }
    bool isTerminated(qint64 index) const { return m_terminated[index]; }
    const TranscriptChanges &changes() const { return m_changes; }

    /// Returns the index of the paragraph.
    qint64 add(TranscriptParagraph &&paragraph, bool terminated = false);
    void append(qint64 index, const QString &text, const QString &directionText);
    /// A line break ends the paragraph; it grows no more.
    void terminate(qint64 index);
    void clear();

    /// A view has shown everything so far.
    void acknowledge();
    void markEverythingChanged();

private:
    void noteExtension(qint64 index);

    QList<TranscriptParagraph> m_paragraphs;
    QList<bool> m_terminated;
    TranscriptChanges m_changes;
};

} // namespace tarn::console
