#pragma once

#include "measuring.h"
#include "transcript/transcript.h"
#include "widgets/transcriptview.h"

#include <QAbstractEventDispatcher>
#include <QByteArray>
#include <QByteArrayView>
#include <QFont>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QtGui/qtestsupport_gui.h>
#include <QWidget>

/// The two views that are compared, each on a shown window, and the texts they are filled with.
namespace tarn::benchmark {

using console::Transcript;
using console::TranscriptLimits;
using console::TranscriptStream;
using console::TranscriptView;

/// Those of the console window: 100,000 lines of 80 characters are just within.
constexpr TranscriptLimits consoleLimits{
    .maxRetainedBytes = 8 * 1024 * 1024,
    .maxParagraphs = 100'000,
    .maxParagraphBytes = 64 * 1024,
    .maxPendingUpdateBytes = 256 * 1024,
    .maxInputBytes = 64 * 1024,
};

constexpr qsizetype lineCount = 100'000;
constexpr qsizetype lineBytes = 80;
constexpr qsizetype sliceBytes = 65'536;

/// A line of exactly 80 bytes and a line end; the text is cut between two characters.
inline QByteArray lineOf(const QString &text)
{
    QByteArray line;
    for (const QChar character : text) {
        const QByteArray bytes = QString(character).toUtf8();
        if (line.size() + bytes.size() > lineBytes)
            break;
        line += bytes;
    }
    return line.leftJustified(lineBytes, '.') + '\n';
}

inline QByteArray asciiLine(int number)
{
    return lineOf(
        u"%1: the quick brown fox jumps over the lazy dog and runs (away) into the woods"_s.arg(
            number, 6, 10, QChar(u'0')));
}

inline QByteArray arabicLine(int number)
{
    return lineOf(u"مرحبا بالعالم هذا سطر من نص عربي يطبعه برنامج %1"_s.arg(number));
}

inline QByteArray mixedLine(int number)
{
    return number % 2 == 0 ? lineOf(
               u"error %1 in قيمة السعر at café.tarn, value «عشرة» is unknown"_s.arg(number))
                           : lineOf(u"السطر %1 يطبع price = 12.50 ثم ينتهي the end"_s.arg(number));
}

inline QByteArray textOf(QByteArray (*line)(int number), int lines = int(lineCount))
{
    QByteArray text;
    text.reserve(lines * (lineBytes + 1));
    for (int number = 0; number < lines; ++number)
        text += line(number);
    return text;
}

/// What the console sets on its window.
inline QFont consoleFont(int pointSize = 11)
{
    QFont font;
    font.setFamilies({u"Noto Sans Arabic"_s, u"Noto Sans"_s, u"Sans Serif"_s});
    font.setPointSize(pointSize);
    return font;
}

/// Until nothing is left to do: what was posted is done, painted, and idle work is finished.
inline void drainEvents()
{
    QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance();
    do {
        QCoreApplication::sendPostedEvents();
    } while (dispatcher->processEvents(QEventLoop::AllEvents));
}

constexpr QSize viewSize(900, 620);

/// A window of one size, so that no window manager takes part when the view on it is resized.
class Stage : public QWidget
{
public:
    Stage()
    {
        setFont(consoleFont());
        setFixedSize(1100, viewSize.height());
    }

    void present(QWidget *view)
    {
        view->setParent(this);
        view->setGeometry(QRect(QPoint(), viewSize));
        show();
        if (!QTest::qWaitForWindowExposed(windowHandle()))
            qFatal("the window does not appear");
        drainEvents();
    }
};

class TranscriptSubject
{
public:
    TranscriptSubject()
    {
        stage.present(view);
        view->refresh();
        drainEvents();
    }

    void take(QByteArrayView bytes) { take(TranscriptStream::StandardOutput, bytes); }
    void take(TranscriptStream stream, QByteArrayView bytes)
    {
        const auto result = transcript.appendStream(stream, bytes);
        if (result.captureStopped)
            qFatal("the text breaks the %s", qPrintable(transcriptLimitName(result.limit)));
        view->refresh();
    }
    void finish() {}

    Transcript transcript{consoleLimits};
    Stage stage;
    TranscriptView *view = new TranscriptView(&transcript, &stage);
};

class PlainTextSubject
{
public:
    PlainTextSubject()
    {
        edit->setReadOnly(true);
        edit->setUndoRedoEnabled(false);
        stage.present(edit);
    }

    /// It appends whole lines, so what follows the last line end waits for the next slice.
    void take(QByteArrayView bytes)
    {
        const qsizetype end = bytes.lastIndexOf('\n');
        if (end < 0) {
            m_lineStart += bytes;
            return;
        }
        edit->appendPlainText(QString::fromUtf8(m_lineStart + bytes.first(end)));
        m_lineStart = bytes.sliced(end + 1).toByteArray();
    }
    /// The empty line after the last line end.
    void finish() { edit->appendPlainText(QString::fromUtf8(m_lineStart)); }

    Stage stage;
    QPlainTextEdit *edit = new QPlainTextEdit(&stage);

private:
    QByteArray m_lineStart;
};

/// What any view of Qt's has to do at the least: a document that nobody lays out gets the text.
class BareDocumentSubject
{
public:
    BareDocumentSubject() { document.setUndoRedoEnabled(false); }

    void take(QByteArrayView bytes)
    {
        QTextCursor cursor(&document);
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(QString::fromUtf8(bytes));
    }
    void finish() {}

    QTextDocument document;
};

struct FillTimes
{
    Milliseconds total{};
    Milliseconds worst{};    ///< worst single slice, without the painting
    Milliseconds computed{}; ///< processor time of all
};

/// Fills a view slice by slice, painting after each.
template<typename Subject>
FillTimes fill(Subject &subject, QByteArrayView text)
{
    FillTimes times;
    const Milliseconds before = processorTime();
    times.total = timeOf([&] {
        for (qsizetype from = 0; from < text.size(); from += sliceBytes) {
            const auto slice = text.sliced(from, std::min(sliceBytes, text.size() - from));
            times.worst = std::max(times.worst, timeOf([&] { subject.take(slice); }));
            drainEvents();
        }
        subject.finish();
        drainEvents();
    });
    times.computed = processorTime() - before;
    return times;
}

} // namespace tarn::benchmark
