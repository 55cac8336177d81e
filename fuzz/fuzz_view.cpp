// The view over a small transcript; the input is a history of output, keys and window sizes. What
// is shown must always be what a view made anew would show.

#include "fuzz/fuzzing.h"

#include "transcript/transcript.h"
#include "widgets/inputeditor.h"
#include "widgets/transcriptview.h"

#include <QApplication>
#include <QKeyEvent>
#include <QTextBlock>

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
