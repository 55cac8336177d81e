#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/contrast.h"

#include <QApplication>
#include <QImage>
#include <QPalette>
#include <QScrollBar>
#include <QTest>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

// What the Web Content Accessibility Guidelines 2.1 ask of texts (1.4.3).
constexpr double enoughForText = 4.5;

/// The largest contrast of any pixel with the colour.
double strongestInk(const QImage &image, QRgb background)
{
    double strongest = 1.0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            strongest = std::max(strongest, contrast(image.pixel(x, y), background));
    }
    return strongest;
}

} // namespace

/// That the window can be read in every palette of the desktop.
class TestConsoleWindowContrast : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void textsStandOut_data() { addPalettes(); }
    void textsStandOut();
    void outputAndEchoesStandOut_data() { addPalettes(); }
    void outputAndEchoesStandOut();
    void whoSaidItIsSeen_data() { addPalettes(); }
    void whoSaidItIsSeen();
    void aNewPaletteIsTakenAtOnce();

private:
    QPalette m_before;
};

void TestConsoleWindowContrast::initTestCase()
{
    QApplication::setStyle(u"Fusion"_s);
    m_before = QApplication::palette();
}

void TestConsoleWindowContrast::cleanup()
{
    QApplication::setPalette(m_before);
}

void TestConsoleWindowContrast::textsStandOut()
{
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const ConsoleWindowFixture fixture("exit 3");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    const QList<QWidget *> widgets = fixture.window->centralWidget()->findChildren<QWidget *>();
    int looked = 0;
    for (QWidget *widget : widgets) {
        const bool hasText =
            (qobject_cast<QLabel *>(widget) && !qobject_cast<QLabel *>(widget)->text().isEmpty())
            || qobject_cast<QToolButton *>(widget);
        if (!hasText || !widget->isVisible() || !widget->isEnabled())
            continue;
        ++looked;
        const QRgb background = widget->palette().color(widget->backgroundRole()).rgb();
        const double ink = strongestInk(pictureOf(widget), background);
        QVERIFY2(ink >= enoughForText, qPrintable(u"%1: %2"_s.arg(widget->objectName()).arg(ink)));
    }
    QVERIFY(looked >= 12);
}

void TestConsoleWindowContrast::outputAndEchoesStandOut()
{
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const ConsoleWindowFixture fixture("print out\\n\nerror err\\n\nread-line\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"err"_s));
    fixture.draft()->setPlainText(u"echo"_s);
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForText(u"echo"_s));
    QVERIFY(fixture.waitForEnd());
    QTextEdit *view = fixture.view();
    const QImage picture = pictureOf(view->viewport());
    const QRgb background = view->palette().color(QPalette::Base).rgb();
    for (const QString &text : {u"out"_s, u"err"_s, u"echo"_s}) {
        QTextCursor cursor(view->document());
        cursor.setPosition(int(fixture.output().indexOf(text)));
        const QRect line(0, view->cursorRect(cursor).top(), picture.width(),
                         view->cursorRect(cursor).height());
        const double ink = strongestInk(picture.copy(line), background);
        QVERIFY2(ink >= enoughForText, qPrintable(u"%1: %2"_s.arg(text).arg(ink)));
    }
}

void TestConsoleWindowContrast::whoSaidItIsSeen()
{
    QFETCH(QPalette, palette);
    QApplication::setPalette(palette);
    const QString solid(u"█"_s);
    const ConsoleWindowFixture fixture(
        u"print %1\\n\nerror %1\\n\nread-line\n"_s.arg(solid).toUtf8());
    QVERIFY(fixture.show());
    QVERIFY(fixture.runUntil(u"\n%1\n"_s.arg(solid)));
    fixture.draft()->setPlainText(solid);
    fixture.trigger("sendAction");
    QVERIFY(fixture.waitForEnd());
    const QTextEdit *view = fixture.view();
    const QImage picture = pictureOf(view->viewport());
    QList<QRgb> colours;
    for (int position = 0; position < 6; position += 2) {
        QTextCursor cursor(view->document());
        cursor.setPosition(position);
        const QRect letter = view->cursorRect(cursor);
        colours.append(picture.pixel(letter.center() + QPoint(3, 0)));
    }
    const QRgb background = view->palette().color(QPalette::Base).rgb();
    for (const QRgb colour : std::as_const(colours)) {
        QVERIFY(contrast(colour, background) >= enoughForText);
        QCOMPARE(colours.count(colour), 1);
    }
}

void TestConsoleWindowContrast::aNewPaletteIsTakenAtOnce()
{
    const ConsoleWindowFixture fixture("print text\\n\n");
    QVERIFY(fixture.show());
    QVERIFY(fixture.runToEnd());
    QApplication::setPalette(highContrastPalette());
    const auto middleOfTheOutput = [&] {
        const QImage picture = pictureOf(fixture.view()->viewport());
        return picture.pixelColor(picture.rect().center());
    };
    QTRY_COMPARE(middleOfTheOutput(), QColor(Qt::black));
    const QImage picture = pictureOf(fixture.view()->viewport());
    QVERIFY(strongestInk(picture, QColor(Qt::black).rgb()) >= enoughForText);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowContrast))
#include "tst_consolewindow_contrast.moc"
