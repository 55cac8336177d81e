#include "transcript/transcriptparagraphs.h"

#include <utility>

namespace tarn::console {

namespace {

/// Whether two strings are one buffer. A line without escapes costs a single one.
bool areOneText(const QString &a, const QString &b)
{
    return a.size() == b.size() && (a.isEmpty() || a.constData() == b.constData());
}

/// Makes the buffer as small as the text. A buffer that has no reserve is left alone, since
/// squeeze() would copy it when it is shared.
void dropReserve(QString &text)
{
    if (text.capacity() > text.size())
        text.squeeze();
}

} // namespace

qint64 TranscriptParagraphs::add(TranscriptParagraph &&paragraph, bool terminated)
{
    m_paragraphs.append(std::move(paragraph));
    m_terminated.append(terminated);
    return m_paragraphs.size() - 1;
}

void TranscriptParagraphs::append(qint64 index, const QString &text, const QString &directionText)
{
    noteExtension(index);
    TranscriptParagraph &paragraph = m_paragraphs[index];
    if (!areOneText(paragraph.text, paragraph.directionText) || !areOneText(text, directionText)) {
        paragraph.text.append(text);
        paragraph.directionText.append(directionText);
        return;
    }
    // A text that is not shared while it grows is not copied each time.
    paragraph.directionText.clear();
    paragraph.text.append(text);
    paragraph.directionText = paragraph.text;
}

void TranscriptParagraphs::terminate(qint64 index)
{
    noteExtension(index);
    m_terminated[index] = true;
    TranscriptParagraph &paragraph = m_paragraphs[index];
    const bool oneText = areOneText(paragraph.text, paragraph.directionText);
    if (oneText)
        paragraph.directionText.clear();
    dropReserve(paragraph.text);
    if (oneText)
        paragraph.directionText = paragraph.text;
    else
        dropReserve(paragraph.directionText);
}

void TranscriptParagraphs::clear()
{
    m_paragraphs.clear();
    m_terminated.clear();
    markEverythingChanged();
}

void TranscriptParagraphs::acknowledge()
{
    m_changes = {.acknowledgement = m_changes.acknowledgement + 1,
                 .everything = false,
                 .firstNew = m_paragraphs.size(),
                 .extended = {},
                 .lastWasTerminated = !m_terminated.isEmpty() && m_terminated.last()};
}

void TranscriptParagraphs::markEverythingChanged()
{
    m_changes = {.acknowledgement = m_changes.acknowledgement,
                 .everything = true,
                 .firstNew = 0,
                 .extended = {},
                 .lastWasTerminated = false};
}

void TranscriptParagraphs::noteExtension(qint64 index)
{
    if (m_changes.everything || index >= m_changes.firstNew)
        return;
    auto at = m_changes.extended.cbegin();
    while (at != m_changes.extended.cend() && at->paragraph < index)
        ++at;
    if (at == m_changes.extended.cend() || at->paragraph != index)
        m_changes.extended.insert(
            at, {.paragraph = index, .shownLength = m_paragraphs[index].text.size()});
}

} // namespace tarn::console
