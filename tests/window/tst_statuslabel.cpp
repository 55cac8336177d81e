#include "support/testregistry.h"
#include "textlayout/fontink.h"
#include "window/statuslabel.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QImage>
#include <QTest>
#include <QToolTip>
#include <QTransform>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// A status by itself, without a window.
class TestStatusLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { QToolTip::hideText(); }

    void emptyIsAsHighAsALine();
    void shortStatusHasNoTip();
    void cutStatusTellsAllInItsTip();
    void tipOfAMessageIsWhatItNames();
    void remarkIsTheTipOfAShortStatus();
    void remarkIsTheDescription();
    void oneLineStandsInTheMiddleOfItsRow();
    void linesStandOneBelowTheOther();
    void itWrapsIntoAsManyLinesAsItMay();
    void itIsAsHighAsItsLines();
    void asMuchIsShownAsFits_data();
    void asMuchIsShownAsFits();
    void aMessageIsCutInWhatItNames();
    void aTextBeginsAtItsOwnSide_data();
    void aTextBeginsAtItsOwnSide();
    void itHasTheColourOfTexts();
    void moreLinesAreAskedForAtOnce();
    void theTipTellsAlsoWhatNoLabelShows();
    void anotherTextIsNotShownAsTheMessage();

private:
    QString tip();
    void showIn(const QFont &font, int width, int lines);
    QImage picture() { return m_label.grab().toImage().convertToFormat(QImage::Format_RGB32); }

    StatusLabel m_label;
};

namespace {

/// The runs of rows or columns that show anything, as first and last.
QList<QPair<int, int>> inkedRows(const QImage &image)
{
    QList<QPair<int, int>> runs;
    for (int y = 0; y < image.height(); ++y) {
        bool inked = false;
        for (int x = 0; x < image.width(); ++x)
            inked |= image.pixel(x, y) != image.pixel(image.width() - 1, 0);
        if (!inked)
            continue;
        if (!runs.isEmpty() && runs.last().second == y - 1)
            runs.last().second = y;
        else
            runs.append({y, y});
    }
    return runs;
}

QList<QPair<int, int>> inkedColumns(const QImage &image)
{
    return inkedRows(image.transformed(QTransform().rotate(90)).mirrored(true, false));
}

QFont plainFont()
{
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(20);
    return font;
}

/// One that declares much more height than its ink needs.
QFont roomyFont()
{
    QFont font(u"Noto Sans Arabic"_s);
    font.setPixelSize(20);
    return font;
}

} // namespace

void TestStatusLabel::init()
{
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    m_label.setFont({});
    m_label.setPalette({});
    m_label.showMessage({});
    m_label.setRemark({});
    m_label.setMaximumLines(1);
    m_label.resize(400, m_label.heightForWidth(400));
    m_label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_label));
}

/// What is shown when the pointer rests on the label.
QString TestStatusLabel::tip()
{
    const QPoint middle = m_label.rect().center();
    QHelpEvent rest(QEvent::ToolTip, middle, m_label.mapToGlobal(middle));
    QCoreApplication::sendEvent(&m_label, &rest);
    return QToolTip::text();
}

void TestStatusLabel::emptyIsAsHighAsALine()
{
    const int empty = m_label.heightForWidth(400);
    QVERIFY(empty > 0);
    QCOMPARE(empty, m_label.lineHeight());
    m_label.showMessage({u"Running"_s});
    QCOMPARE(m_label.heightForWidth(400), empty);
    QCOMPARE(m_label.minimumSizeHint(), QSize(0, empty));
}

void TestStatusLabel::shortStatusHasNoTip()
{
    m_label.showMessage({u"Running"_s});
    QCOMPARE(tip(), QString());
    m_label.showMessage({u"Returned status %1"_s, u"3"_s});
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::cutStatusTellsAllInItsTip()
{
    const QString status = u"word "_s.repeated(60) + u"end"_s;
    m_label.setText(status);
    QVERIFY(tip().contains(u"word end"_s));
    m_label.setMaximumLines(m_label.linesForWidth(m_label.width()));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::tipOfAMessageIsWhatItNames()
{
    const QString path = u"/srv"_s + u"/folder"_s.repeated(60) + u"/file.tarn"_s;
    m_label.showMessage({u"The source file cannot be read: %1"_s, path});
    QVERIFY(tip().contains(u"file.tarn"_s));
    QVERIFY(!tip().contains(u"cannot be read"_s));
}

void TestStatusLabel::remarkIsTheTipOfAShortStatus()
{
    m_label.showMessage({u"Program stopped by user"_s});
    m_label.setRemark(u"Output capture limit reached"_s);
    QCOMPARE(tip(), u"Output capture limit reached"_s);
    m_label.setRemark({});
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::remarkIsTheDescription()
{
    m_label.setRemark(u"Output capture limit reached"_s);
    QCOMPARE(m_label.accessibleDescription(), u"Output capture limit reached"_s);
    m_label.setRemark({});
    QCOMPARE(m_label.accessibleDescription(), QString());
}

void TestStatusLabel::showIn(const QFont &font, int width, int lines)
{
    m_label.setFont(font);
    m_label.setMaximumLines(lines);
    m_label.resize(width, m_label.heightForWidth(width));
}

/// Of a font that declares more than it needs; others decide themselves where their lines stand.
void TestStatusLabel::oneLineStandsInTheMiddleOfItsRow()
{
    m_label.showMessage({u"\u0623\u064F\u064A"_s});
    showIn(roomyFont(), 400, 1);
    // The tallest of the statuses has all its ink within the row, as it has within a higher one.
    const auto tall = inkedRows(picture());
    m_label.resize(400, m_label.height() + 40);
    const auto free = inkedRows(picture());
    m_label.resize(400, m_label.height() - 40);
    QCOMPARE(tall.constLast().second - tall.constFirst().first,
             free.constLast().second - free.constFirst().first);

    // What is usual is as far from the top as from the bottom.
    m_label.showMessage({u"H"_s});
    const auto letter = inkedRows(picture());
    QCOMPARE(letter.size(), 1);
    const InkReach usual = usualInk(roomyFont());
    const int baseline = letter.constFirst().second + 1;
    const int above = baseline - usual.above;
    const int below = m_label.height() - baseline - usual.below;
    QVERIFY2(above >= 0 && qAbs(above - below) <= 1,
             qPrintable(u"%1 above, %2 below"_s.arg(above).arg(below)));
}

void TestStatusLabel::linesStandOneBelowTheOther()
{
    for (const QFont &font : {plainFont(), roomyFont()}) {
        m_label.setText(u"HHHH HHHH HHHH"_s);
        showIn(font, QFontMetrics(font).horizontalAdvance(u"HHHH H"_s), 3);
        const auto lines = inkedRows(picture());
        QCOMPARE(lines.size(), 3);
        const int distance = lines.at(1).first - lines.at(0).first;
        QCOMPARE(distance, m_label.lineHeight());
        QCOMPARE(lines.at(2).first - lines.at(1).first, distance);
        // Spare height is shared out above and below.
        m_label.resize(m_label.width(), m_label.height() + 20);
        QCOMPARE(inkedRows(picture()).constFirst().first, lines.constFirst().first + 10);
    }
}

void TestStatusLabel::itWrapsIntoAsManyLinesAsItMay()
{
    m_label.setText(u"word "_s.repeated(20));
    m_label.setFont(plainFont());
    const int width = QFontMetrics(plainFont()).horizontalAdvance(u"word word w"_s);
    QCOMPARE(m_label.linesForWidth(width), 10);
    for (const int lines : {1, 3, 9, 10, 11}) {
        m_label.setMaximumLines(lines);
        QCOMPARE(m_label.linesForWidth(width), 10);
        QCOMPARE(m_label.heightForWidth(width), qMin(lines, 10) * m_label.lineHeight());
    }
    m_label.setText({});
    QCOMPARE(m_label.linesForWidth(width), 1);
    // Three are what a label takes that nobody has told anything.
    StatusLabel untold;
    untold.setText(u"word "_s.repeated(200));
    QCOMPARE(untold.heightForWidth(width), 3 * untold.lineHeight());
}

void TestStatusLabel::itIsAsHighAsItsLines()
{
    showIn(plainFont(), 400, 1);
    m_label.showMessage({u"Running"_s});
    const int usual = 60 * QFontMetrics(plainFont()).averageCharWidth();
    QCOMPARE(m_label.sizeHint(), QSize(usual, m_label.lineHeight()));
    QCOMPARE(m_label.minimumSizeHint(), QSize(0, m_label.lineHeight()));
    m_label.setMaximumLines(3);
    m_label.setText(u"word "_s.repeated(500));
    QCOMPARE(m_label.sizeHint(), QSize(usual, 3 * m_label.lineHeight()));
    QCOMPARE(m_label.minimumSizeHint(), QSize(0, m_label.lineHeight()));
}

void TestStatusLabel::asMuchIsShownAsFits_data()
{
    QTest::addColumn<int>("lines");
    QTest::newRow("one line") << 1;
    QTest::newRow("three lines") << 3;
}

void TestStatusLabel::asMuchIsShownAsFits()
{
    QFETCH(int, lines);
    m_label.setText(u"x"_s.repeated(1000));
    showIn(plainFont(), 400, lines);
    const QImage shown = picture();
    QCOMPARE(inkedRows(shown).size(), lines);
    // One more would not fit into the last line, nor into any other.
    const int line = m_label.lineHeight();
    const int letter = QFontMetrics(plainFont()).horizontalAdvance(u'x');
    for (int i = 0; i < lines; ++i) {
        const auto columns = inkedColumns(shown.copy(0, i * line, shown.width(), line));
        QVERIFY2(columns.constLast().second >= 400 - 2 * letter,
                 qPrintable(u"line %1 ends at %2"_s.arg(i).arg(columns.constLast().second)));
    }
}

void TestStatusLabel::aMessageIsCutInWhatItNames()
{
    const QString path = u"/"_s + u"M"_s.repeated(150);
    m_label.showMessage({u"I %1 I"_s, path});
    showIn(plainFont(), 500, 1);
    // The sentence around it is whole at both ends: thin letters, each followed by a gap.
    const auto columns = inkedColumns(picture());
    QVERIFY(columns.size() > 6);
    const int letter = QFontMetrics(plainFont()).horizontalAdvance(u'M');
    QVERIFY(columns.constFirst().second - columns.constFirst().first < 6);
    QVERIFY(columns.constLast().second - columns.constLast().first < 6);
    QVERIFY(columns.constLast().second > 500 - 2 * letter);
}

void TestStatusLabel::aTextBeginsAtItsOwnSide_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("atTheLeft");
    QTest::newRow("English") << u"Running"_s << true;
    QTest::newRow("Arabic") << u"يعمل"_s << false;
}

void TestStatusLabel::aTextBeginsAtItsOwnSide()
{
    QFETCH(QString, text);
    QFETCH(bool, atTheLeft);
    m_label.showMessage({text});
    showIn(plainFont(), 400, 1);
    const auto columns = inkedColumns(picture());
    QCOMPARE(columns.constFirst().first < 10, atTheLeft);
    QCOMPARE(columns.constLast().second >= 390, !atTheLeft);
}

void TestStatusLabel::itHasTheColourOfTexts()
{
    QPalette palette;
    palette.setColor(QPalette::WindowText, Qt::red);
    m_label.setPalette(palette);
    m_label.showMessage({u"||||"_s});
    showIn(plainFont(), 400, 1);
    bool found = false;
    const QImage shown = picture();
    for (int x = 0; x < shown.width(); ++x)
        found |= shown.pixelColor(x, shown.height() / 2) == QColor(Qt::red);
    QVERIFY(found);
}

void TestStatusLabel::moreLinesAreAskedForAtOnce()
{
    QWidget window;
    auto *column = new QVBoxLayout(&window);
    auto *label = new StatusLabel;
    label->setFont(plainFont());
    label->setMaximumLines(1);
    label->setText(u"word "_s.repeated(500));
    column->addWidget(label);
    column->addStretch();
    window.resize(400, 400);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_COMPARE(label->height(), label->lineHeight());
    label->setMaximumLines(2);
    QTRY_COMPARE(label->height(), 2 * label->lineHeight());
    label->setMaximumLines(1);
    QTRY_COMPARE(label->height(), label->lineHeight());
}

void TestStatusLabel::theTipTellsAlsoWhatNoLabelShows()
{
    // So wide that the line has room for all that is ever shown of a name.
    showIn(plainFont(), 20'000, 1);
    m_label.showMessage({u"Missing: %1"_s, u"/"_s + u"x"_s.repeated(199)});
    QCOMPARE(tip(), QString());
    m_label.showMessage({u"Missing: %1"_s, u"/"_s + u"x"_s.repeated(200)});
    QVERIFY(tip().contains(u"x"_s.repeated(100)));
}

void TestStatusLabel::anotherTextIsNotShownAsTheMessage()
{
    showIn(plainFont(), 400, 1);
    const QString path = u"/srv"_s + u"/folder"_s.repeated(60);
    m_label.showMessage({u"Missing: %1"_s, path});
    QVERIFY(tip().contains(u"folder"_s));
    m_label.setText(u"Input"_s);
    const QImage shown = picture();
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QCOMPARE(tip(), QString());
    m_label.showMessage({u"Input"_s});
    QCOMPARE(picture(), shown);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestStatusLabel))
#include "tst_statuslabel.moc"
