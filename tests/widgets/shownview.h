#pragma once

#include "transcript/transcript.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"

#include <QByteArray>
#include <QString>
#include <QWidget>

namespace tarn::console {

/// A transcript view over a draft in an active window.
struct ShownView
{
    explicit ShownView(QSize size = QSize(400, 260));

    /// Output of the program, shown at once.
    void print(const QByteArray &bytes, TranscriptStream stream = TranscriptStream::StandardOutput);
    void select(int anchor, int position);
    void scrollTo(int value);
    int scrollValue() const;
    int scrollMaximum() const;
    /// Number of the block at the top of the viewport.
    int topBlock() const;
    /// Where a block's first line begins, in viewport coordinates.
    int topOf(int block) const;
    bool isEndInSight() const;

    Transcript transcript;
    QWidget window;
    TranscriptView view;
    InputEditor draft;
};

/// "line 5\nline 6\n" and so on.
QByteArray numberedLines(int first, int count);

/// One letter for each block: R is right to left and right-aligned, L is left to right and
/// left-aligned, '?' is anything else.
QString sides(const QTextEdit &edit);

/// The document's characters, with LF between blocks.
QString characters(const QTextEdit &edit);

} // namespace tarn::console
