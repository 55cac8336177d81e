#include "transcript/transcriptparagraphs.h"

namespace tarn::console {

qint64 TranscriptParagraphs::add(const TranscriptParagraph &origin, QStringView text,
                                 QStringView directionText, bool terminated)
{
    ++m_changes.revision;
    m_paragraphs.add(origin, text, directionText, terminated);
    return m_paragraphs.size() - 1;
}

void TranscriptParagraphs::append(qint64 index, QStringView text, QStringView directionText)
{
    noteExtension(index);
    m_paragraphs.append(index, text, directionText);
}

void TranscriptParagraphs::terminate(qint64 index)
{
    noteExtension(index);
    m_paragraphs.terminate(index);
}

void TranscriptParagraphs::clear()
{
    m_paragraphs.clear();
    markEverythingChanged();
}

void TranscriptParagraphs::acknowledge()
{
    m_changes = {.acknowledgement = m_changes.acknowledgement + 1,
                 .revision = m_changes.revision,
                 .everything = false,
                 .firstNew = m_paragraphs.size(),
                 .extended = {},
                 .lastWasTerminated =
                     m_paragraphs.size() > 0 && m_paragraphs.isTerminated(m_paragraphs.size() - 1)};
}

void TranscriptParagraphs::markEverythingChanged()
{
    m_changes = {.acknowledgement = m_changes.acknowledgement,
                 .revision = m_changes.revision + 1,
                 .everything = true,
                 .firstNew = 0,
                 .extended = {},
                 .lastWasTerminated = false};
}

void TranscriptParagraphs::noteExtension(qint64 index)
{
    ++m_changes.revision;
    if (m_changes.everything || index >= m_changes.firstNew)
        return;
    auto at = m_changes.extended.cbegin();
    while (at != m_changes.extended.cend() && at->paragraph < index)
        ++at;
    if (at == m_changes.extended.cend() || at->paragraph != index)
        m_changes.extended.insert(
            at, {.paragraph = index, .shownLength = m_paragraphs.textLength(index)});
}

} // namespace tarn::console
