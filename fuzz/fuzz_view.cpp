// The view over a small transcript; the input is a history of output, keys and window sizes. What
// is shown must always be what a view made anew would show, and a click must land where it is seen.

#include "fuzz/fuzzing.h"

#include "transcript/transcript.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"

#include <QApplication>
#include <QImage>
#include <QKeyEvent>
#include <QPixmap>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include <algorithm>
#include <array>

using namespace tarn::console;
using namespace Qt::StringLiterals;

namespace {

constexpr TranscriptLimits limits{
    .maxRetainedBytes = 2048,
    .maxParagraphs = 64,
    .maxParagraphBytes = 512,
    .maxPendingUpdateBytes = 1024,
    .maxInputBytes = 64,
};

constexpr std::array keys{Qt::Key_Home, Qt::Key_End,    Qt::Key_Left,   Qt::Key_Right,
                          Qt::Key_Up,   Qt::Key_Down,   Qt::Key_PageUp, Qt::Key_PageDown,
                          Qt::Key_A,    Qt::Key_Escape, Qt::Key_Return, Qt::Key_Tab};
constexpr std::array modifiers{Qt::KeyboardModifiers(Qt::NoModifier),
                               Qt::KeyboardModifiers(Qt::ShiftModifier),
                               Qt::KeyboardModifiers(Qt::ControlModifier),
                               Qt::KeyboardModifiers(Qt::ControlModifier | Qt::ShiftModifier)};

/// Never on a display, whatever the environment says.
QApplication &application()
{
    static int count = 1;
    static char name[] = "fuzz-view";
    static char *arguments[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // For ever: at the end of the process it is too late to end it.
    static auto *instance = new QApplication(count, arguments);
    return *instance;
}

class History
{
public:
    explicit History(QByteArrayView bytes)
        : m_bytes(bytes)
    {
        m_view.setDraftEditor(&m_draft);
        m_view.resize(200, 120);
        m_view.refresh();
        m_view.show();
    }

    void play()
    {
        while (m_at < m_bytes.size()) {
            step(take());
            m_view.refresh();
            stopAt(difference());
        }
        application().processEvents();
        m_view.grab();
        stopAt(difference());
        stopAt(misplacedClick());
        stopAt(unpaintedSelection());
    }

private:
    uchar take() { return m_at < m_bytes.size() ? uchar(m_bytes[m_at++]) : 0; }

    QByteArray takeBytes(qsizetype count)
    {
        const QByteArray bytes =
            m_bytes.sliced(m_at, qMin(count, m_bytes.size() - m_at)).toByteArray();
        m_at += bytes.size();
        return bytes;
    }

    void step(uchar kind)
    {
        const auto stream = TranscriptStream(kind >> 7);
        switch (kind % 10) {
        case 0:
        case 1:
            m_transcript.appendStream(stream, takeBytes(take() % 32));
            break;
        case 2:
            m_transcript.appendStream(stream, takeBytes(1).repeated(take()));
            break;
        case 3:
            m_transcript.appendInputEcho(u"Input"_s, takeBytes(take() % 16).replace('\n', ' '));
            break;
        case 4:
            m_transcript.finalizeStream(stream);
            break;
        case 5:
            if (kind > 200)
                m_transcript.clear();
            break;
        case 6:
            m_view.setContentDirection(ContentDirection(take() % 3));
            break;
        case 7:
            m_view.resize(50 + take(), 50 + take());
            break;
        case 8:
            find(QString::fromLatin1(takeBytes(1)), kind > 127);
            break;
        default:
            press(take());
        }
    }

    void find(const QString &text, bool backward)
    {
        const TranscriptFindResult found = m_view.findLiteral(text, backward);
        if (found.found && m_transcript.copy(found.position, found.position + found.length) != text)
            stopAt(u"a match is somewhere else than at %1"_s.arg(found.position));
    }

    void press(uchar choice)
    {
        QKeyEvent event(QEvent::KeyPress, keys[choice % keys.size()],
                        modifiers[choice / 16 % modifiers.size()]);
        QCoreApplication::sendEvent(&m_view, &event);
    }

    QString difference() const
    {
        const QString text = m_transcript.documentText();
        QString shown = m_view.document()->toRawText();
        if (shown.size() != text.size())
            return u"%1 characters are shown, and not %2"_s.arg(shown.size()).arg(text.size());
        for (qsizetype i = 0; i < text.size(); ++i) {
            const bool isBreak = text[i] == u'\n' || text[i] == QChar::ParagraphSeparator;
            if (isBreak ? shown[i] != QChar::ParagraphSeparator : shown[i] != text[i])
                return u"another character is shown at %1"_s.arg(i);
        }
        const QTextCursor cursor = m_view.textCursor();
        return cursor.position() > text.size() ? u"the cursor is behind the end"_s : QString();
    }

    /// Where a caret is drawn, as high as its line.
    QRect caretAt(int position) const
    {
        QTextCursor cursor(m_view.document());
        cursor.setPosition(position);
        return m_view.cursorRect(cursor);
    }

    /// The first row in which a click puts the caret on another line.
    QString misplacedClick() const
    {
        constexpr int margin = 2;
        const QWidget *viewport = m_view.viewport();
        const QRect last = caretAt(m_view.document()->characterCount() - 1);
        for (int y = std::max(0, caretAt(0).top()); y < std::min(viewport->height(), last.top());
             y += 3) {
            for (const int x : {0, viewport->width() / 2, viewport->width() - 1}) {
                const QRect caret = m_view.cursorRect(m_view.cursorForPosition({x, y}));
                if (y < caret.top() - margin || y > caret.bottom() + margin)
                    return u"a click at %1, %2 puts the caret on another line"_s.arg(x).arg(y);
            }
        }
        return {};
    }

    /// Whether a letter that is hit shows that it is selected.
    QString unpaintedSelection()
    {
        QTextCursor cursor =
            m_view.cursorForPosition(QPoint(m_view.width() / 2, m_view.height() / 2));
        const QChar letter = m_view.document()->characterAt(cursor.position());
        const QRect row = m_view.cursorRect(cursor);
        const QRect sight = m_view.viewport()->rect() & QRect(0, row.top(), 10'000, row.height());
        if (!letter.isLetterOrNumber() || letter.isSurrogate() || sight.height() < row.height())
            return {};
        cursor.clearSelection();
        m_view.setTextCursor(cursor);
        const QImage before = m_view.viewport()->grab(sight).toImage();
        const int value = m_view.verticalScrollBar()->value();
        cursor.movePosition(QTextCursor::NextCharacter, QTextCursor::KeepAnchor);
        m_view.setTextCursor(cursor);
        const bool isStill = m_view.verticalScrollBar()->value() == value;
        return isStill && m_view.viewport()->grab(sight).toImage() == before
                   ? u"the selection of %1 is not painted"_s.arg(cursor.selectionStart())
                   : QString();
    }

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    Transcript m_transcript{limits};
    InputEditor m_draft;
    TranscriptView m_view{&m_transcript};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    application();
    History(QByteArrayView(data, qsizetype(size))).play();
    return 0;
}
