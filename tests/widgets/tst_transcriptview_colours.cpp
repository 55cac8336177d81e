#include "support/testregistry.h"
#include "widgets/paragraphcolour.h"
#include "widgets/shownview.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QPaintEvent>
#include <QRegion>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A letter that leaves pixels of its pure colour in every font.
const QString full = u"█"_s;

QPalette palette(const QColor &text, const QColor &base)
{
    QPalette palette;
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::Highlight, Qt::darkGreen);
    palette.setColor(QPalette::HighlightedText, Qt::yellow);
    return palette;
}

/// How many pixels of a block's first line have a colour.
int pixelsOf(const TranscriptView &view, int block, const QColor &colour)
{
    const QImage picture = const_cast<TranscriptView &>(view).viewport()->grab().toImage();
    const QRect line = view.cursorRect(QTextCursor(view.document()->findBlockByNumber(block)));
    int count = 0;
    for (int y = std::max(0, line.top()); y <= std::min(line.bottom(), picture.height() - 1); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            count += picture.pixelColor(x, y) == colour ? 1 : 0;
    }
    return count;
}

/// What a widget has painted since.
class PaintedRegion : public QObject
{
public:
    explicit PaintedRegion(QWidget *widget) { widget->installEventFilter(this); }

    bool contains(const QRect &rect) const { return QRegion(rect).subtracted(m_region).isEmpty(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            m_region += static_cast<QPaintEvent *>(event)->region();
        return QObject::eventFilter(watched, event);
    }

private:
    QRegion m_region;
};

void addPalettes()
{
    QTest::addColumn<QPalette>("colours");
    QTest::newRow("light") << palette(Qt::black, Qt::white);
    QTest::newRow("dark") << palette(Qt::white, QColor(0x2a, 0x2a, 0x2a));
    QTest::newRow("high contrast") << palette(Qt::white, Qt::black);
}

} // namespace

/// That the eye knows at once what the program said, what went wrong and what was typed; and that
/// nothing but the eye notices.
class TestTranscriptViewColours : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_shown.reset(); }

    void eachVoiceIsDrawnInItsColour_data() { addPalettes(); }
    void eachVoiceIsDrawnInItsColour();
    void aNewPaletteIsTakenAtOnce();
    void selectedTextKeepsTheHighlight();
    void theCaretKeepsTheColourOfTexts();
    void theCaretLeavesNothingBehind_data();
    void theCaretLeavesNothingBehind();
    void everyBlockOfAParagraphHasItsColour();
    void aLongParagraphHasItsColour_data();
    void aLongParagraphHasItsColour();
    void documentsAndCopiesStay();

private:
    QColor colourOf(ParagraphVoice voice) const;
    void echo(const QString &line);

    std::unique_ptr<ShownView> m_shown;
};

void TestTranscriptViewColours::init()
{
    m_shown = std::make_unique<ShownView>();
    m_shown->view.setPalette(palette(Qt::black, Qt::white));
}

QColor TestTranscriptViewColours::colourOf(ParagraphVoice voice) const
{
    for (const TranscriptParagraph &paragraph : m_shown->transcript.paragraphs()) {
        if (voiceOf(paragraph) == voice)
            return paragraphColour(paragraph, m_shown->view.palette());
    }
    return {};
}

void TestTranscriptViewColours::echo(const QString &line)
{
    m_shown->transcript.appendInputEcho(u"Input"_s, QString(line + u'\n').toUtf8());
    m_shown->view.refresh();
}

void TestTranscriptViewColours::eachVoiceIsDrawnInItsColour()
{
    QFETCH(QPalette, colours);
    m_shown->view.setPalette(colours);
    m_shown->print((full + u"\n"_s).toUtf8());
    m_shown->print((full + u" مشكلة\n"_s).toUtf8(), TranscriptStream::StandardError);
    echo(full);
    const QList<QColor> drawn{colours.color(QPalette::Text), colourOf(ParagraphVoice::Error),
                              colourOf(ParagraphVoice::Echo)};
    for (int block = 0; block < drawn.size(); ++block) {
        for (const QColor &colour : drawn)
            QCOMPARE(pixelsOf(m_shown->view, block, colour) > 0, colour == drawn.at(block));
    }
}

void TestTranscriptViewColours::aNewPaletteIsTakenAtOnce()
{
    m_shown->print((full + u"\n"_s).toUtf8(), TranscriptStream::StandardError);
    const QColor before = colourOf(ParagraphVoice::Error);
    m_shown->view.setPalette(palette(Qt::white, Qt::black));
    QVERIFY(colourOf(ParagraphVoice::Error) != before);
    QVERIFY(pixelsOf(m_shown->view, 0, colourOf(ParagraphVoice::Error)) > 0);
    QCOMPARE(pixelsOf(m_shown->view, 0, before), 0);
}

void TestTranscriptViewColours::selectedTextKeepsTheHighlight()
{
    m_shown->print((full + full + u"\n"_s).toUtf8(), TranscriptStream::StandardError);
    m_shown->select(0, 1);
    const QPalette &colours = m_shown->view.palette();
    QVERIFY(pixelsOf(m_shown->view, 0, colours.color(QPalette::HighlightedText)) > 0);
    QVERIFY(pixelsOf(m_shown->view, 0, colourOf(ParagraphVoice::Error)) > 0);
    m_shown->select(0, 2);
    QCOMPARE(pixelsOf(m_shown->view, 0, colourOf(ParagraphVoice::Error)), 0);
}

void TestTranscriptViewColours::theCaretKeepsTheColourOfTexts()
{
    m_shown->print("\n", TranscriptStream::StandardError);
    m_shown->view.setFocus();
    QTRY_VERIFY(m_shown->view.hasFocus());
    m_shown->select(0, 0);
    QTRY_VERIFY(pixelsOf(m_shown->view, 0, Qt::black) > 0);
    QCOMPARE(pixelsOf(m_shown->view, 0, colourOf(ParagraphVoice::Error)), 0);
}

void TestTranscriptViewColours::theCaretLeavesNothingBehind_data()
{
    QTest::addColumn<int>("position");
    QTest::newRow("at the edge") << 0;
    QTest::newRow("within") << 2;
}

/// In a line with right-to-left text, a small flag beside the caret shows the direction.
void TestTranscriptViewColours::theCaretLeavesNothingBehind()
{
    QFETCH(int, position);
    m_shown->print(u"مرحبا\n"_s.toUtf8());
    m_shown->view.setFocus();
    m_shown->select(position, position);
    QTRY_VERIFY(m_shown->view.hasFocus());
    QCoreApplication::processEvents();
    const PaintedRegion painted(m_shown->view.viewport());
    m_shown->draft.setFocus();
    constexpr int flag = 3;
    const QRect caret =
        m_shown->view.cursorRect().adjusted(-flag, 0, flag, 0) & m_shown->view.viewport()->rect();
    QTRY_VERIFY(painted.contains(caret));
}

void TestTranscriptViewColours::everyBlockOfAParagraphHasItsColour()
{
    // Documents begin a block at U+2029.
    m_shown->print((full + u"\u2029" + full + u"\n"_s).toUtf8(), TranscriptStream::StandardError);
    m_shown->print((full + u"\n"_s).toUtf8());
    const QColor error = colourOf(ParagraphVoice::Error);
    for (const int block : {0, 1})
        QVERIFY(pixelsOf(m_shown->view, block, error) > 0);
    QCOMPARE(pixelsOf(m_shown->view, 2, error), 0);
    m_shown->transcript.clear();
    m_shown->view.refresh();
    m_shown->print((full + u"\n"_s).toUtf8());
    QVERIFY(pixelsOf(m_shown->view, 0, Qt::black) > 0);
}

void TestTranscriptViewColours::aLongParagraphHasItsColour_data()
{
    QTest::addColumn<QString>("text");
    // Shaped in segments, in one piece, and as one word.
    QTest::newRow("words") << QString(full + u"word "_s).repeated(1000);
    QTest::newRow("both directions") << QString(full + u"كلمة word "_s).repeated(500);
    QTest::newRow("one word") << full.repeated(4000);
}

void TestTranscriptViewColours::aLongParagraphHasItsColour()
{
    QFETCH(QString, text);
    // Without a caret, which has the colour of texts.
    m_shown->draft.setFocus();
    QTRY_VERIFY(m_shown->draft.hasFocus());
    m_shown->print(text.toUtf8(), TranscriptStream::StandardError);
    m_shown->scrollTo(0);
    const QColor error = colourOf(ParagraphVoice::Error);
    QVERIFY(pixelsOf(m_shown->view, 0, error) > 0);
    QCOMPARE(pixelsOf(m_shown->view, 0, Qt::black), 0);
}

void TestTranscriptViewColours::documentsAndCopiesStay()
{
    const QByteArray text = "one\nاثنان\nthree\n";
    ShownView plain;
    plain.print(text);
    m_shown->print("one\n");
    m_shown->print(u"اثنان\n"_s.toUtf8(), TranscriptStream::StandardError);
    echo(u"three"_s);
    m_shown->view.viewport()->grab();
    const QTextDocument *document = m_shown->view.document();
    QCOMPARE(document->toHtml(), plain.view.document()->toHtml());
    QTextBlock other = plain.view.document()->begin();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        QCOMPARE(block.blockFormat(), other.blockFormat());
        QCOMPARE(block.charFormat(), other.charFormat());
        QVERIFY(!block.userData() && block.layout()->formats().isEmpty());
        other = other.next();
    }
    m_shown->view.selectAll();
    m_shown->view.copySelection();
    QCOMPARE(QGuiApplication::clipboard()->text(), QString::fromUtf8(text));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewColours))
#include "tst_transcriptview_colours.moc"
