#include "support/popupmeeting.h"
#include "support/testregistry.h"
#include "window/consolewindowfixture.h"
#include "window/dialogbuttons.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QProxyStyle>
#include <QStyleFactory>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// As some desktops have it.
class StyleWithIcons : public QProxyStyle
{
public:
    using QProxyStyle::QProxyStyle;

    int styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                  QStyleHintReturn *data) const override
    {
        return hint == SH_DialogButtonBox_ButtonsHaveIcons
                   ? 1
                   : QProxyStyle::styleHint(hint, option, widget, data);
    }
};

int iconsOf(const QDialogButtonBox *box)
{
    int icons = 0;
    const QList<QAbstractButton *> buttons = box->buttons();
    for (const QAbstractButton *button : buttons)
        icons += !button->icon().isNull();
    return icons;
}

} // namespace

/// Where the style gives the buttons of dialogs icons, ours have none.
class TestDialogButtons : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void iconsAreRemovedFromEveryButton();
    void aDialogWithoutButtonsStaysAsItIs();
    void ourDialogsHaveNone_data();
    void ourDialogsHaveNone();
};

void TestDialogButtons::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setStyle(new StyleWithIcons(QStyleFactory::create(u"Fusion"_s)));
    QDialogButtonBox usual(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(iconsOf(&usual), 2);
}

void TestDialogButtons::iconsAreRemovedFromEveryButton()
{
    QDialog dialog;
    auto *box = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QCOMPARE(iconsOf(box), 2);
    removeButtonIcons(&dialog);
    QCOMPARE(iconsOf(box), 0);
    QCOMPARE(box->buttons().size(), 2);
}

void TestDialogButtons::aDialogWithoutButtonsStaysAsItIs()
{
    const QDialog dialog;
    removeButtonIcons(&dialog);
    QVERIFY(dialog.children().isEmpty());
}

void TestDialogButtons::ourDialogsHaveNone_data()
{
    QTest::addColumn<QByteArray>("action");
    QTest::newRow("settings") << "settingsAction"_ba;
    QTest::newRow("help") << "helpAction"_ba;
    QTest::newRow("source chooser") << "openAction"_ba;
    QTest::newRow("interpreter chooser") << "chooseTarnAction"_ba;
}

void TestDialogButtons::ourDialogsHaveNone()
{
    QFETCH(QByteArray, action);
    const ConsoleWindowFixture fixture;
    QVERIFY(fixture.show());
    int icons = -1;
    QVERIFY(meetDialog(
        [&] { fixture.trigger(action.constData()); },
        [&](const QDialog *dialog) { icons = iconsOf(dialog->findChild<QDialogButtonBox *>()); }));
    QCOMPARE(icons, 0);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestDialogButtons))
#include "tst_dialogbuttons.moc"
