#pragma once

#include "transcript/transcript.h"
#include "widgets/paragraphblockmap.h"

#include <optional>

class QTextBlock;
class QTextCursor;
class QTextDocument;

namespace tarn::console {

/// Writes a transcript into a text document: exactly Transcript::documentText(), each paragraph in
/// its own direction.
class TranscriptWriter
{
public:
    /// Neither is owned, and both outlive the writer, which alone changes the document.
    TranscriptWriter(Transcript *transcript, QTextDocument *document);

    /// Brings the document up to date. The cost is that of what changed since acknowledge(); all is
    /// written anew when somebody else has acknowledged changes meanwhile.
    void update();

    /// Gives every block the presentation of the paragraph whose text it shows.
    void applyFormats();

    /// The paragraph whose text a block of the document shows; null for the empty block that has
    /// none, and for one whose paragraph the transcript has meanwhile dropped.
    const TranscriptParagraph *paragraphOfBlock(int number) const;

    /// The text of a block that is so long, without asking the document; null when it may be
    /// another by now.
    QStringView textOfBlock(int number, qsizetype length) const;

    /// Tells the transcript that its changes are shown.
    void acknowledge();

private:
    void rebuild();
    void extendParagraph(const TranscriptChanges::Extension &extension);
    void appendParagraphs(qint64 first, bool previousWasTerminated);
    qint64 appendRun(QTextCursor &cursor, qint64 first);
    void presentParagraph(qint64 paragraph);
    ParagraphPresentation presentationOfBlock(int number) const;
    bool shows(qint64 paragraph) const;
    bool isShownAsItWas() const;

    Transcript *m_transcript;
    QTextDocument *m_document;
    ParagraphBlockMap m_blockMap;
    /// The acknowledgement of what the document shows; none before the first.
    std::optional<quint64> m_shownAcknowledgement;
    bool m_isAppending = false; ///< the document and the map are ahead of what is acknowledged
};

} // namespace tarn::console
