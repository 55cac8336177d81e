#pragma once

#include "transcript/packedparagraphs.h"
#include "transcript/transcriptchanges.h"

#include <QStringView>

namespace tarn::console {

/// The displayed paragraphs of a transcript, and what changed in them since a view last showed
/// them. No index is checked.
class TranscriptParagraphs
{
public:
    const PackedParagraphs &packed() const { return m_paragraphs; }
    qint64 size() const { return m_paragraphs.size(); }
    const TranscriptChanges &changes() const { return m_changes; }

    /// Returns the index of the paragraph. The origin's own texts do not matter.
    qint64 add(const TranscriptParagraph &origin, QStringView text, QStringView directionText,
               bool terminated = false);
    void append(qint64 index, QStringView text, QStringView directionText);
    /// A line break ends the paragraph; it grows no more.
    void terminate(qint64 index);
    void clear();

    /// A view has shown everything so far.
    void acknowledge();
    void markEverythingChanged();

private:
    void noteExtension(qint64 index);

    PackedParagraphs m_paragraphs;
    TranscriptChanges m_changes;
};

} // namespace tarn::console
