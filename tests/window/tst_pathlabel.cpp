#include "support/testregistry.h"
#include "window/pathlabel.h"

#include <QFontMetrics>
#include <QImage>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The label of a path by itself: what it asks for, what it cuts, and where it is selected.
class TestPathLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void itAsksForNoWidth();
    void itIsAsHighWithEscapesAsWithout();
    void aPathDescribesItselfAndARemarkDoesNot();
    void aRemarkIsNoPath();
    void whatIsCutOffLeavesAnEllipsisAlone();
    void aPathThatFitsIsNotCut();
    void aWiderFontCutsMore();
    void theEllipsisHasTheColourOfTheText();
    void escapesHaveTheColourOfTheText();
    void aSelectionBeginsAndEndsAtTheNearestCharacter_data();
    void aSelectionBeginsAndEndsAtTheNearestCharacter();
    void aSelectionOfAnArabicNameFollowsItsLetters();
    void anEscapeIsSelectedAsOneCharacter();
    void draggingBackSelectsTheSame();
    void aSelectionIsSeenInItsColours();

private:
    void showPath(const QString &path, int width = 600);
    void drag(int from, int to);
    QImage picture() { return m_label.grab().toImage().convertToFormat(QImage::Format_RGB32); }
    int advance(const QString &text) const
    {
        return QFontMetrics(m_label.font()).horizontalAdvance(text);
    }

    PathLabel m_label;
};

namespace {

bool has(const QImage &image, const QColor &colour)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y) == colour)
                return true;
        }
    }
    return false;
}

} // namespace

void TestPathLabel::init()
{
    m_label.setPalette({});
    m_label.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter);
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(20);
    m_label.setFont(font);
    m_label.showRemark({});
}

void TestPathLabel::showPath(const QString &path, int width)
{
    m_label.showPath(path);
    m_label.resize(width, 40);
    m_label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_label));
    // A layout asks for it too, and only then the label has forgotten what was selected.
    m_label.sizeHint();
}

void TestPathLabel::drag(int from, int to)
{
    const int middle = m_label.height() / 2;
    // A press within a selection would drag it.
    m_label.setSelection(0, 0);
    QTest::mousePress(&m_label, Qt::LeftButton, Qt::NoModifier, {from, middle});
    // A move by QTest says that no button is held.
    const QPointF place(to, middle);
    QMouseEvent move(QEvent::MouseMove, place, m_label.mapToGlobal(place), Qt::NoButton,
                     Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&m_label, &move);
    QTest::mouseRelease(&m_label, Qt::LeftButton, Qt::NoModifier, {to, middle});
}

void TestPathLabel::itAsksForNoWidth()
{
    for (const QString &path : {u"/a"_s, u"/folder"_s.repeated(100)}) {
        showPath(path);
        QCOMPARE(m_label.sizeHint().width(), 0);
        QCOMPARE(m_label.minimumSizeHint().width(), 0);
        QVERIFY(m_label.sizeHint().height() > 0);
        QVERIFY(m_label.minimumSizeHint().height() > 0);
    }
}

void TestPathLabel::itIsAsHighWithEscapesAsWithout()
{
    showPath(u"/one/line"_s);
    const int height = m_label.sizeHint().height();
    const int least = m_label.minimumSizeHint().height();
    showPath(u"/two\nlines\n/are/one"_s);
    QCOMPARE(m_label.sizeHint().height(), height);
    QCOMPARE(m_label.minimumSizeHint().height(), least);
}

void TestPathLabel::aPathDescribesItselfAndARemarkDoesNot()
{
    showPath(u"/a/<b>"_s);
    QCOMPARE(m_label.text(), u"/a/<b>"_s);
    QCOMPARE(m_label.accessibleDescription(), u"/a/<b>"_s);
    QVERIFY(m_label.toolTip().contains(u"/a/&lt;b&gt;"_s));
    m_label.showRemark(u"Nothing"_s);
    QCOMPARE(m_label.text(), u"Nothing"_s);
    QCOMPARE(m_label.accessibleDescription(), QString());
    QCOMPARE(m_label.toolTip(), QString());
}

/// It is drawn as it stands, in its own direction; a path has marks that keep its folders in order.
void TestPathLabel::aRemarkIsNoPath()
{
    const QString text = u"أول/ثان/c"_s;
    showPath(text);
    const QImage asPath = picture();
    m_label.showRemark(text);
    const QImage asRemark = picture();
    QVERIFY(asPath != asRemark);
    m_label.showPath(text);
    QCOMPARE(picture(), asPath);
}

void TestPathLabel::whatIsCutOffLeavesAnEllipsisAlone()
{
    // As wide as each other, so that both are cut at the same place.
    const QRect corner(0, 0, advance(u"…"_s), 40);
    QList<QImage> corners;
    for (const QString &folder : {u"MMMMMMMM"_s, u"||||||||"_s}) {
        showPath(u"/"_s + folder.repeated(30) + u"/name"_s, 300);
        QVERIFY(m_label.contentsMargins().left() < 0);
        corners.append(picture().copy(corner));
    }
    QCOMPARE(corners.at(0), corners.at(1));
    QVERIFY(has(corners.at(0), m_label.palette().color(QPalette::WindowText)));
    // Behind it is what would be there without it.
    showPath(u"/"_s + u"M"_s.repeated(240) + u"/name"_s, 300);
    QVERIFY(has(picture().copy(corner.right() + 1, 0, advance(u"M"_s), 40),
                m_label.palette().color(QPalette::WindowText)));
}

void TestPathLabel::aPathThatFitsIsNotCut()
{
    const QString path = u"/folder/name"_s;
    const int width = advance(path) + 1;
    showPath(path, width);
    QCOMPARE(m_label.contentsMargins().left(), 0);
    showPath(path, width - 1);
    QCOMPARE(m_label.contentsMargins().left(), -1);
    showPath(path, width - 21);
    QCOMPARE(m_label.contentsMargins().left(), -21);
    QCOMPARE(m_label.contentsMargins().right(), 0);
    showPath(u"/folder"_s.repeated(10'000));
    QCOMPARE(m_label.contentsMargins().left(), -32'767);
}

void TestPathLabel::aWiderFontCutsMore()
{
    const QString path = u"/folder/name"_s;
    showPath(path, advance(path) + 1);
    QCOMPARE(m_label.contentsMargins().left(), 0);
    QFont wider = m_label.font();
    wider.setPixelSize(30);
    m_label.setFont(wider);
    QCOMPARE(m_label.contentsMargins().left(), -(advance(path) - m_label.width() + 1));
}

void TestPathLabel::theEllipsisHasTheColourOfTheText()
{
    QPalette palette;
    palette.setColor(QPalette::WindowText, Qt::red);
    palette.setColor(QPalette::Window, Qt::yellow);
    m_label.setPalette(palette);
    showPath(u"/folder"_s.repeated(40), 300);
    const QImage corner = picture().copy(0, 0, advance(u"…"_s), 40);
    QVERIFY(has(corner, Qt::red));
    QVERIFY(has(corner, Qt::yellow));
}

void TestPathLabel::escapesHaveTheColourOfTheText()
{
    QPalette palette;
    palette.setColor(QPalette::WindowText, Qt::red);
    m_label.setPalette(palette);
    showPath(u"/a\nb"_s);
    QVERIFY(has(picture(), Qt::red));
    QVERIFY(!has(picture(), Qt::black));
}

void TestPathLabel::aSelectionBeginsAndEndsAtTheNearestCharacter_data()
{
    QTest::addColumn<QString>("path");
    QTest::newRow("as it stands") << u"/tmp/program.tarn"_s;
    QTest::newRow("with an escape") << u"/tmp/program.tarn\n"_s;
}

void TestPathLabel::aSelectionBeginsAndEndsAtTheNearestCharacter()
{
    QFETCH(QString, path);
    for (const Qt::Alignment side : {Qt::AlignLeft, Qt::AlignRight}) {
        m_label.setAlignment(side | Qt::AlignAbsolute | Qt::AlignVCenter);
        showPath(path);
        const QString shown = path.endsWith(u'\n') ? path.chopped(1) + u"\\u{000A}"_s : path;
        const int left = side == Qt::AlignLeft ? 0 : m_label.width() - advance(shown);
        const int before = left + advance(u"/tmp/"_s);
        const int after = left + advance(u"/tmp/program"_s);
        constexpr int nearby = 1;
        for (const int way : {-nearby, nearby}) {
            drag(before + way, after + way);
            QCOMPARE(m_label.selectedText(), u"program"_s);
        }
        drag(before + advance(u"p"_s) - nearby, after - advance(u"m"_s) + nearby);
        QCOMPARE(m_label.selectedText(), u"rogra"_s);
    }
}

void TestPathLabel::aSelectionOfAnArabicNameFollowsItsLetters()
{
    // The first folder is at the left, and within it the first letter is at the right.
    showPath(u"/ابد/ورز"_s);
    const int first = advance(u"/"_s);
    const int second = advance(u"/ابد/"_s);
    drag(second - 1 - advance(u"/"_s), first + 1);
    QCOMPARE(m_label.selectedText(), u"ابد"_s);
    drag(second + advance(u"ورز"_s) - 1, second + 1);
    QCOMPARE(m_label.selectedText(), u"ورز"_s);
    // "و" does not join what follows.
    drag(second + advance(u"ورز"_s) - 1, second + advance(u"ورز"_s) - advance(u"و"_s));
    QCOMPARE(m_label.selectedText(), u"و"_s);
}

void TestPathLabel::anEscapeIsSelectedAsOneCharacter()
{
    showPath(u"/a\nb"_s);
    const int start = advance(u"/a"_s);
    const int end = advance(u"/a\\u{000A}"_s);
    // QLabel has line feeds as separators of its own.
    for (const int way : {1, (end - start) / 3}) {
        drag(start + way, end + 1);
        QCOMPARE(m_label.selectedText().size(), 1);
        QCOMPARE(m_label.selectionStart(), 2);
        drag(0, start + way);
        QCOMPARE(m_label.selectedText(), u"/a"_s);
    }
    drag(end + 1, end + advance(u"b"_s) + 5);
    QCOMPARE(m_label.selectedText(), u"b"_s);
}

void TestPathLabel::draggingBackSelectsTheSame()
{
    for (const QString &path : {u"/tmp/program.tarn"_s, u"/tmp/program.tarn\n"_s}) {
        showPath(path);
        drag(advance(u"/tmp/program"_s), advance(u"/tmp/"_s));
        QCOMPARE(m_label.selectedText(), u"program"_s);
    }
}

void TestPathLabel::aSelectionIsSeenInItsColours()
{
    QPalette palette;
    palette.setColor(QPalette::Highlight, Qt::green);
    palette.setColor(QPalette::HighlightedText, Qt::blue);
    m_label.setPalette(palette);
    showPath(u"/tmp/|program|\n"_s);
    QVERIFY(!has(picture(), Qt::green));
    const int start = advance(u"/tmp/"_s);
    const int end = advance(u"/tmp/|program|"_s);
    drag(start, end);
    const QImage selected = picture();
    QVERIFY(has(selected.copy(start, 0, end - start, 40), Qt::blue));
    int first = selected.width();
    int last = 0;
    for (int x = 0; x < selected.width(); ++x) {
        if (has(selected.copy(x, 0, 1, 40), Qt::green)) {
            first = std::min(first, x);
            last = std::max(last, x);
        }
    }
    QVERIFY2(qAbs(first - start) <= 1 && qAbs(last + 1 - end) <= 1,
             qPrintable(u"%1 to %2, not %3 to %4"_s.arg(first).arg(last).arg(start).arg(end)));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestPathLabel))
#include "tst_pathlabel.moc"
