#pragma once

#include "transcript/transcript.h"
#include "widgets/consoletextedit.h"
#include "widgets/paintpace.h"
#include "widgets/readingplace.h"
#include "widgets/transcriptwriter.h"

#include <QPointer>

#include <chrono>
#include <functional>
#include <optional>

class QAction;
class QTextBlock;

namespace tarn::console {

/// Shows a transcript, read-only. Its document holds exactly Transcript::documentText(), each
/// paragraph in its own direction; positions in the document and in the model are the same. Copy
/// and find work on the model, so that no-break spaces and odd separators survive.
///
/// The view also keeps the direction of the program-input draft in step with its text.
class TranscriptView : public ConsoleTextEdit
{
public:
    using ScrollAnchor = tarn::console::ScrollAnchor;

    /// The transcript is not owned and must outlive the view. The first refresh() is the caller's.
    explicit TranscriptView(Transcript *transcript, QWidget *parent = nullptr);
    ~TranscriptView() override;

    /// Shows the transcript as it is now. Keeps the cursor and selection as character positions,
    /// the focus, and either the end in view or the reader's place; then acknowledges the
    /// transcript's pending updates. To be called after every change to the transcript; the cost
    /// is that of what changed. In a flood of changes the painting of some is left out.
    void refresh();
    /// How long the painting of a change waits for more after another; for tests.
    void setPaintPause(std::chrono::milliseconds pause) { m_paintPace.setPause(pause); }

    void setContentDirection(ContentDirection direction);

    /// Whether the scroll bar is at its end now.
    bool followsEnd() const;
    ScrollAnchor scrollAnchor() const;
    /// Goes to the end when the anchor's block is gone.
    void restoreScrollAnchor(ScrollAnchor anchor);

    /// The paragraph whose text a block shows, without its texts; nothing for the empty block after
    /// the last.
    std::optional<TranscriptParagraph> originOf(const QTextBlock &block) const;

    /// Gives every block the presentation of the paragraph whose text it shows.
    void applyParagraphFormats();

    /// Searches on from the selection and selects the match. Showing it never changes whether the
    /// view follows the end.
    TranscriptFindResult findLiteral(const QString &text, bool backward);

    /// Puts the selected text of the transcript on the clipboard; without a selection, nothing.
    void copySelection();

    /// The action that copies; while set, its shortcut does the copying. Null for none.
    void setCopyAction(QAction *action);

    /// The program-input editor whose direction follows its text; to be set once. Null for none.
    void setDraftEditor(QTextEdit *editor);
    void applyDraftPresentation();

    /// Of a line of output without any signs of unusual height.
    int lineHeight() const;

    /// One whole line, and the place of the next one: where space is short, the transcript yields
    /// no further.
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void changeEvent(QEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    QMimeData *createMimeDataFromSelection() const override;

private:
    using KeepPlace = void (ReadingPlace::*)(const std::function<void()> &);
    void showChanges(KeepPlace keepPlace, const std::function<void()> &update);
    void restoreCursor(int anchor, int position);
    void scrollToCursor();
    void measureBeforeKey();
    void bringCaretIntoSight();
    void showEndsAtTheCaret();
    QColor colourOf(const QTextBlock &block, const QPalette &palette) const;

    Transcript *m_transcript;
    QPointer<QTextEdit> m_draftEditor;
    QPointer<QAction> m_copyAction;
    TranscriptWriter m_writer;
    ReadingPlace m_readingPlace;
    PaintPace m_paintPace;
};

} // namespace tarn::console
