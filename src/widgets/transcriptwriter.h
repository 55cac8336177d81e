#pragma once

#include "transcript/transcript.h"
#include "widgets/paragraphblockmap.h"

#include <QObject>
#include <QString>

#include <optional>

class QTextCursor;
class QTextDocument;

namespace tarn::console {

/// Writes a transcript into a text document: exactly Transcript::documentText(), each paragraph in
/// its own direction.
class TranscriptWriter
{
public:
    /// Neither is owned, and both outlive the writer.
    TranscriptWriter(Transcript *transcript, QTextDocument *document);

    /// Brings the document up to date, and tells the transcript that its changes are shown. The
    /// cost is that of what changed since the last time; all is written anew when somebody else has
    /// acknowledged changes meanwhile, or changed the document since the last update.
    ///
    /// Those who hear of what is written may change the transcript or the document meanwhile: then
    /// it is written again, a few times at most; what is still wrong then is put right by the next
    /// update. One that they ask for themselves is that.
    void update();
    bool isUpdating() const { return m_isUpdating; }

    /// Gives every block the presentation of the paragraph whose text it shows.
    void applyFormats();
    /// Gives the transcript a direction, and its paragraphs, which the document shows, the
    /// presentations that they have then.
    void setDirection(ContentDirection direction);

    /// The paragraph whose text a block of the document shows, without its texts; nothing for the
    /// empty block that has none, and for one whose paragraph the transcript has meanwhile dropped.
    std::optional<TranscriptParagraph> originOfBlock(int number) const;

    /// The text of a block that is so long, without asking the document; null when it may be
    /// another by now. Valid until the next one is asked for.
    QStringView textOfBlock(int number, qsizetype length) const;

private:
    class Edit;

    void acknowledge();
    bool write();
    bool isDisturbed() const;
    void rebuild();
    void patch(const TranscriptChanges &changes);
    bool growsIntoNewParagraphs(const TranscriptChanges &changes) const;
    void extendParagraph(QTextCursor &cursor, const TranscriptChanges::Extension &extension);
    void insertExtension(QTextCursor &cursor, const TranscriptChanges::Extension &extension);
    void appendParagraphs(QTextCursor &cursor, qint64 first, bool previousWasTerminated);
    struct Run
    {
        qint64 end;    ///< the paragraph after it
        qint64 length; ///< of its text, line breaks between its paragraphs included
    };
    Run runFrom(qint64 first) const;
    void insertAdded(QTextCursor &cursor, qint64 first, bool inFreshBlock);
    void presentParagraph(qint64 paragraph);
    ParagraphPresentation presentationOfBlock(int number) const;
    bool shows(qint64 paragraph) const;
    bool isShownAsItWas() const;

    Transcript *m_transcript;
    QTextDocument *m_document;
    ParagraphBlockMap m_blockMap;
    /// The acknowledgement of what the document shows; none before the first.
    std::optional<quint64> m_shownAcknowledgement;
    quint64 m_writtenRevision = 0; ///< of the transcript, when the document was written last
    bool m_isUpdating = false;
    bool m_isForeign = false; ///< somebody else has changed the document, or the update gave up
    QObject m_context;        ///< of the connection: the document lives on
    /// What is added by an update, for the layout, which asks for the texts of blocks in turn when
    /// their edit block ends; null otherwise.
    struct Added
    {
        QString text;
        qint64 block = 0;    ///< the number of the one that is asked for next,
        qsizetype place = 0; ///< and where its text begins
    };
    mutable Added m_added;
    mutable QString m_known; ///< what was asked for last, unpacked
};

} // namespace tarn::console
