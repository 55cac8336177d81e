#include "widgets/shownview.h"

#include "support/transcripttesting.h"

#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QVBoxLayout>

namespace tarn::console {

ShownView::ShownView(QSize size)
    : transcript(windowLimits())
    , view(&transcript, &window)
    , draft(&window)
{
    auto *layout = new QVBoxLayout(&window);
    layout->addWidget(&view, 1);
    layout->addWidget(&draft);
    view.setDraftEditor(&draft);
    window.resize(size);
    window.show();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window does not become active");
    view.refresh();
}

void ShownView::print(const QByteArray &bytes, TranscriptStream stream)
{
    transcript.appendStream(stream, bytes);
    view.refresh();
}

void ShownView::select(int anchor, int position)
{
    QTextCursor cursor(view.document());
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    view.setTextCursor(cursor);
}

void ShownView::scrollTo(int value)
{
    view.verticalScrollBar()->setValue(value);
}

int ShownView::scrollValue() const
{
    return view.verticalScrollBar()->value();
}

int ShownView::scrollMaximum() const
{
    return view.verticalScrollBar()->maximum();
}

int ShownView::topBlock() const
{
    return view.cursorForPosition(QPoint(1, 1)).blockNumber();
}

int ShownView::topOf(int block) const
{
    return view.cursorRect(QTextCursor(view.document()->findBlockByNumber(block))).top();
}

bool ShownView::isEndInSight() const
{
    QTextCursor end(view.document());
    end.movePosition(QTextCursor::End);
    const QRect rect = view.cursorRect(end);
    return rect.top() >= 0 && rect.bottom() < view.viewport()->height();
}

QByteArray numberedLines(int first, int count)
{
    QByteArray lines;
    for (int i = first; i < first + count; ++i)
        lines += "line " + QByteArray::number(i) + '\n';
    return lines;
}

QString sides(const QTextEdit &edit)
{
    QString letters;
    for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
        const QTextBlockFormat format = block.blockFormat();
        const QVariant direction = format.property(QTextFormat::LayoutDirection);
        const QVariant alignment = format.property(QTextFormat::BlockAlignment);
        if (direction == QVariant(int(Qt::RightToLeft))
            && alignment == QVariant(int(Qt::AlignRight)))
            letters += u'R';
        else if (direction == QVariant(int(Qt::LeftToRight))
                 && alignment == QVariant(int(Qt::AlignLeft)))
            letters += u'L';
        else
            letters += u'?';
    }
    return letters;
}

QString characters(const QTextEdit &edit)
{
    return edit.document()->toRawText().replace(QChar::ParagraphSeparator, u'\n');
}

} // namespace tarn::console
