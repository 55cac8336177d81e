#include "support/testregistry.h"
#include "widgets/paragraphcolour.h"
#include "window/focusring.h"

#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QPaintEvent>
#include <QPushButton>
#include <QStyleFactory>
#include <QTest>
#include <QTextEdit>
#include <QVBoxLayout>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Where widgets have been painted since it was made.
class PaintRecorder : public QObject
{
public:
    explicit PaintRecorder(QWidget *widget)
        : QObject(widget)
    {
        widget->installEventFilter(this);
    }

    QRegion painted;

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
};

/// Named places where a picture and a ring differ; empty when the ring is there and nowhere else.
QString differenceToRing(const QImage &picture, const QColor &colour, const QRect &outer,
                         int thickness)
{
    const QRect inner = outer.adjusted(thickness, thickness, -thickness, -thickness);
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const bool expected = outer.contains(x, y) && !inner.contains(x, y);
            if ((picture.pixelColor(x, y) == colour) != expected)
                return u"%1 at %2, %3"_s.arg(expected ? u"no ring"_s : u"ring"_s).arg(x).arg(y);
        }
    }
    return {};
}

constexpr QColor ringColour(0, 0, 120);

/// A window with a button, a label and a text, and room around each of them.
struct RingWindow
{
    RingWindow()
    {
        QPalette palette(QColor(230, 230, 230), QColor(240, 240, 240));
        palette.setColor(QPalette::Highlight, ringColour);
        palette.setColor(QPalette::Base, Qt::white);
        window.setPalette(palette);
        window.resize(400, 300);
        button->setGeometry(20, 20, 100, 40);
        label->setGeometry(20, 80, 100, 40);
        label->setFocusPolicy(Qt::StrongFocus);
        text->setGeometry(20, 140, 100, 60);
        text->setFrameStyle(QFrame::Box | QFrame::Plain);
        text->setLineWidth(1);
        text->setCursorWidth(0);
    }
    bool show()
    {
        window.show();
        window.activateWindow();
        return QTest::qWaitForWindowActive(&window);
    }
    QString ringIsMissing(QWidget *focused, int outside)
    {
        focused->setFocus();
        if (!focused->hasFocus() || FocusRing::colourFor(focused) != ringColour)
            return u"no focus, or another colour"_s;
        return differenceToRing(window.grab().toImage(), ringColour,
                                focused->geometry().adjusted(-outside, -outside, outside, outside),
                                2);
    }

    QWidget window;
    QPushButton *button = new QPushButton(&window);
    QLabel *label = new QLabel(&window);
    QTextEdit *text = new QTextEdit(&window);
    FocusRing ring{&window};
};

} // namespace

/// The ring to the pixel, by itself.
class TestFocusRing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void theRingIsWithinAButton();
    void theRingOfALabelIsHalfOutside();
    void theRingOfATextIsOnItsFrame();
    void aTextWithoutAFrameHasHalfOfItOutside();
    void theRingFollowsTheFocus();
    void bothPlacesArePaintedAnew();
    void aWidgetThatMovesTakesTheRingAlong();
    void theRingIsInDialogsToo();
    void otherWindowsHaveNone();
    void popupsHaveNone();
    void theColourIsThatOfTheSelectionWhereItIsSeen();
    void theColourIsOnlyAsMuchDarkerAsNeeded();
    void theColourIsThatOfTextsWhereNothingElseIsSeen();
    void theColourIsSeenOnTheWidgetAndAroundIt();
};

void TestFocusRing::initTestCase()
{
    QApplication::setStyle(u"Fusion"_s);
}

void TestFocusRing::theRingIsWithinAButton()
{
    RingWindow some;
    QVERIFY(some.show());
    QCOMPARE(some.ringIsMissing(some.button, 0), QString());
}

void TestFocusRing::theRingOfALabelIsHalfOutside()
{
    RingWindow some;
    QVERIFY(some.show());
    QCOMPARE(some.ringIsMissing(some.label, 1), QString());
}

void TestFocusRing::theRingOfATextIsOnItsFrame()
{
    RingWindow some;
    QVERIFY(some.show());
    QCOMPARE(some.ringIsMissing(some.text, 1), QString());
    for (const int width : {2, 3}) {
        some.text->setLineWidth(width);
        QCOMPARE(some.ringIsMissing(some.text, 0), QString());
    }
}

void TestFocusRing::aTextWithoutAFrameHasHalfOfItOutside()
{
    RingWindow some;
    QVERIFY(some.show());
    some.text->setFrameStyle(QFrame::NoFrame);
    some.text->setFocus();
    // What would be within it would scroll with the text.
    QCOMPARE(differenceToRing(some.window.grab().toImage(), ringColour,
                              some.text->geometry().adjusted(-1, -1, 1, 1), 1),
             QString());
}

void TestFocusRing::theRingFollowsTheFocus()
{
    RingWindow some;
    QVERIFY(some.show());
    for (QWidget *focused : QList<QWidget *>{some.button, some.text, some.button})
        QCOMPARE(some.ringIsMissing(focused, focused == some.text ? 1 : 0), QString());
    some.button->clearFocus();
    QVERIFY(!differenceToRing(some.window.grab().toImage(), ringColour, some.button->geometry(), 2)
                 .isEmpty());
}

/// Of what lies outside the widget; widgets paint themselves anew.
void TestFocusRing::bothPlacesArePaintedAnew()
{
    RingWindow some;
    QVERIFY(some.show());
    some.label->setFocus();
    QCoreApplication::processEvents();
    PaintRecorder recorder(&some.window);
    PaintRecorder labelRecorder(some.label);
    some.text->setFocus();
    const auto around = [](const QWidget *widget) {
        return QRegion(widget->geometry().adjusted(-1, -1, 1, 1)).subtracted(widget->geometry());
    };
    QTRY_COMPARE(recorder.painted & around(some.text), around(some.text));
    QTRY_COMPARE(recorder.painted & around(some.label), around(some.label));
    QTRY_COMPARE(labelRecorder.painted, QRegion(some.label->rect()));
    // And not more than that.
    QVERIFY(!recorder.painted.contains(some.button->geometry().center()));
}

void TestFocusRing::aWidgetThatMovesTakesTheRingAlong()
{
    RingWindow some;
    QVERIFY(some.show());
    some.label->setFocus();
    QCoreApplication::processEvents();
    PaintRecorder recorder(&some.window);
    const QRect before = some.label->geometry();
    const auto around = [](const QRect &place) {
        return QRegion(place.adjusted(-1, -1, 1, 1)).subtracted(place);
    };
    some.label->move(200, 80);
    QTRY_COMPARE(recorder.painted & around(before), around(before));
    QTRY_COMPARE(recorder.painted & around(some.label->geometry()), around(some.label->geometry()));
    QCOMPARE(some.ringIsMissing(some.label, 1), QString());

    recorder.painted = {};
    some.label->resize(120, 50);
    QTRY_COMPARE(recorder.painted & around(some.label->geometry()), around(some.label->geometry()));
    QCOMPARE(some.ringIsMissing(some.label, 1), QString());
}

void TestFocusRing::theRingIsInDialogsToo()
{
    RingWindow some;
    QVERIFY(some.show());
    QDialog dialog(&some.window);
    dialog.setPalette(some.window.palette());
    dialog.resize(200, 100);
    QPushButton button(&dialog);
    button.setGeometry(20, 20, 100, 40);
    dialog.show();
    dialog.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    button.setFocus();
    QTRY_VERIFY(button.hasFocus());
    QCOMPARE(differenceToRing(dialog.grab().toImage(), ringColour, button.geometry(), 2),
             QString());
}

void TestFocusRing::otherWindowsHaveNone()
{
    RingWindow some;
    QVERIFY(some.show());
    QWidget other;
    other.setPalette(some.window.palette());
    other.resize(200, 100);
    QLabel label(&other);
    label.setGeometry(20, 20, 100, 40);
    label.setFocusPolicy(Qt::StrongFocus);
    const QImage before = other.grab().toImage();
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    label.setFocus();
    QVERIFY(label.hasFocus());
    QCOMPARE(other.grab().toImage(), before);
    // The window itself has none either.
    some.window.setFocusPolicy(Qt::StrongFocus);
    some.window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&some.window));
    some.window.setFocus();
    QVERIFY(some.window.hasFocus());
    const QImage picture = some.window.grab().toImage();
    QVERIFY(picture.pixelColor(0, 0) != ringColour);
}

void TestFocusRing::popupsHaveNone()
{
    RingWindow some;
    QVERIFY(some.show());
    QWidget popup(&some.window, Qt::Popup);
    popup.setPalette(some.window.palette());
    popup.resize(200, 100);
    QLabel label(&popup);
    label.setGeometry(20, 20, 100, 40);
    label.setFocusPolicy(Qt::StrongFocus);
    const QImage before = popup.grab().toImage();
    popup.show();
    QVERIFY(QTest::qWaitForWindowExposed(&popup));
    label.setFocus();
    QTRY_VERIFY(QApplication::focusWidget() == &label);
    QCOMPARE(popup.grab().toImage(), before);
}

namespace {

QColor colourOn(const QColor &widget, const QColor &window, const QColor &highlight,
                const QColor &text)
{
    QWidget some;
    QPalette palette;
    palette.setColor(QPalette::Base, widget);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::Text, text);
    some.setPalette(palette);
    some.setBackgroundRole(QPalette::Base);
    some.setForegroundRole(QPalette::Text);
    return FocusRing::colourFor(&some);
}

} // namespace

void TestFocusRing::theColourIsThatOfTheSelectionWhereItIsSeen()
{
    QCOMPARE(colourOn(Qt::white, Qt::white, QColor(0, 0, 120), Qt::black), QColor(0, 0, 120));
    QCOMPARE(colourOn(Qt::black, Qt::black, Qt::yellow, Qt::white), QColor(Qt::yellow));
}

void TestFocusRing::theColourIsOnlyAsMuchDarkerAsNeeded()
{
    const QColor highlight(0x3d, 0xae, 0xe9);
    const QColor colour = colourOn(Qt::white, Qt::white, highlight, Qt::black);
    QVERIFY(contrastRatio(colour, Qt::white) >= 7);
    QVERIFY(contrastRatio(colour, Qt::white) < 9);
    // A mixture of the two, in equal shares of every colour.
    QVERIFY(qAbs(colour.redF() / highlight.redF() - colour.blueF() / highlight.blueF()) < 0.03);
    QVERIFY(qAbs(colour.greenF() / highlight.greenF() - colour.blueF() / highlight.blueF()) < 0.03);
    QVERIFY(colour.blue() > 0);
    // Nothing is left of it before it is given up.
    const QColor last = colourOn(Qt::white, Qt::white, Qt::white, QColor(88, 88, 88));
    QVERIFY(contrastRatio(last, Qt::white) >= 7);
}

void TestFocusRing::theColourIsThatOfTextsWhereNothingElseIsSeen()
{
    const QColor grey(100, 100, 100);
    QCOMPARE(colourOn(Qt::white, QColor(140, 140, 140), Qt::yellow, grey), grey);
}

void TestFocusRing::theColourIsSeenOnTheWidgetAndAroundIt()
{
    const QColor highlight(0x3d, 0xae, 0xe9);
    const QColor darker(190, 190, 190);
    for (const auto &[widget, window] :
         {std::pair(QColor(Qt::white), darker), std::pair(darker, QColor(Qt::white))}) {
        const QColor colour = colourOn(widget, window, highlight, Qt::black);
        QVERIFY(contrastRatio(colour, widget) >= 7);
        QVERIFY(contrastRatio(colour, window) >= 7);
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestFocusRing))
#include "tst_focusring.moc"
