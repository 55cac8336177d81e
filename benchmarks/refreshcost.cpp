// What a refresh costs when the transcript is small and when it is large, until the window shows
// it: writing and laying out everything again, appending with Qt's stock layout, and ours.

#include "subjects.h"
#include "support/rebuiltview.h"
#include "widgets/blockpresentation.h"

#include <QApplication>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include <memory>

using namespace tarn::benchmark;
using tarn::console::RebuiltView;

namespace {

constexpr qint64 unreachable = qint64(1) << 40;
/// So that a view can be filled in one go.
constexpr TranscriptLimits noLimits{unreachable, unreachable, unreachable, unreachable,
                                    unreachable};

/// Writes everything again.
class Rebuilt
{
public:
    static constexpr int lines = 1; ///< how often one line more is measured: it takes long

    Rebuilt() { m_stage.present(m_view); }

    void take(QByteArrayView bytes)
    {
        m_transcript.appendStream(TranscriptStream::StandardOutput, bytes);
        m_view->refresh();
        m_transcript.acknowledgePendingUpdates();
    }

private:
    Transcript m_transcript{noLimits};
    Stage m_stage;
    RebuiltView *m_view = new RebuiltView(&m_transcript, &m_stage);
};

/// Appends in one edit block to a QTextEdit as it is.
class Stock
{
public:
    static constexpr int lines = 9;

    Stock()
    {
        m_view->setReadOnly(true);
        m_view->setUndoRedoEnabled(false);
        QTextCursor(m_view->document()).setBlockFormat(tarn::console::blockFormatFor({}));
        m_stage.present(m_view);
    }

    void take(QByteArrayView bytes)
    {
        QTextCursor cursor(m_view->document());
        cursor.movePosition(QTextCursor::End);
        cursor.beginEditBlock();
        cursor.insertText(QString::fromUtf8(bytes));
        cursor.endEditBlock();
        // The layout is lazy; scrolling to the end needs all of it.
        m_view->document()->size();
        m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
    }

private:
    Stage m_stage;
    QTextEdit *m_view = new QTextEdit(&m_stage);
};

class Ours
{
public:
    static constexpr int lines = 9;

    Ours()
    {
        m_stage.present(m_view);
        m_view->refresh();
    }

    void take(QByteArrayView bytes)
    {
        m_transcript.appendStream(TranscriptStream::StandardOutput, bytes);
        m_view->refresh();
    }

private:
    Transcript m_transcript{noLimits};
    Stage m_stage;
    TranscriptView *m_view = new TranscriptView(&m_transcript, &m_stage);
};

template<typename Subject>
Milliseconds timeTake(Subject &subject, QByteArrayView bytes)
{
    return timeOf([&] {
        subject.take(bytes);
        drainEvents();
    });
}

struct Costs
{
    std::vector<Milliseconds> line;
    std::vector<Milliseconds> slice;
};

/// Fills a view with so many lines and then times one line more, some times, and one slice more.
template<typename Subject>
void measure(Costs &costs, const QByteArray &text)
{
    Subject subject;
    timeTake(subject, text);
    for (int number = 0; number < Subject::lines; ++number)
        costs.line.push_back(timeTake(subject, asciiLine(number)));
    costs.slice.push_back(timeTake(subject, textOf(asciiLine, sliceBytes / (lineBytes + 1))));
}

void addPoints(Report &report, const QString &way, double paragraphs, const Costs &costs)
{
    report.point(way + u", one line more"_s, paragraphs, median(costs.line));
    report.point(way + u", one slice more"_s, paragraphs, median(costs.slice));
}

void compareAt(Report &report, int paragraphs, int repetitions)
{
    const QByteArray text = textOf(asciiLine, paragraphs);
    Costs rebuilt;
    Costs stock;
    Costs ours;
    for (int i = 0; i < repetitions; ++i) {
        measure<Rebuilt>(rebuilt, text);
        measure<Stock>(stock, text);
        measure<Ours>(ours, text);
    }
    addPoints(report, u"full rebuild"_s, paragraphs, rebuilt);
    addPoints(report, u"stock layout"_s, paragraphs, stock);
    addPoints(report, u"ours"_s, paragraphs, ours);
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    const Options options =
        parseOptions(u"Measures a refresh at growing sizes of the transcript."_s, 3);
    Report report(u"refreshcost: one refresh until it is shown, by paragraphs already there"_s);
    for (const int paragraphs : {100, 1'000, 10'000, 100'000})
        compareAt(report, paragraphs, options.repetitions);
    return report.finish(options.jsonFile);
}
