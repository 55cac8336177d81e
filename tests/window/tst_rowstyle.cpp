#include "support/testregistry.h"
#include "textlayout/fontink.h"
#include "window/rowstyle.h"

#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QPointer>
#include <QStyleFactory>
#include <QStyleOptionFocusRect>
#include <QStyleOptionFrame>
#include <QTest>
#include <QToolButton>

#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// One that declares much more height than its ink needs, and one that does not.
QFont roomyFont()
{
    QFont font(u"Noto Sans Arabic"_s);
    font.setPixelSize(20);
    return font;
}

QFont plainFont()
{
    QFont font(u"DejaVu Sans"_s);
    font.setPixelSize(20);
    return font;
}

int spare(const QString &text, const QFont &font)
{
    return spareRoom(text, font).height();
}

bool isBlank(const QImage &image)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != image.pixel(0, 0))
                return false;
        }
    }
    return true;
}

} // namespace

/// How much room rows take with the style of rows, and how much with the one it is made of.
class TestRowStyle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void theFontsAreWhatTheTestsNeed();
    void buttonsLoseTheirSpareRoomAndSomePadding();
    void fieldsLoseTheirSpareRoomAndSomePadding();
    void entriesOfMenusLoseTheirSpareRoom();
    void separatorsOfMenusStayAsTheyAre();
    void menuBarsLoseTheSpareRoomOfTheirItems();
    void labelsLoseTheirSpareRoom();
    void labelsShowPlainText();
    void textsStandInTheMiddle();
    void nobodyElseDrawsTheFocus();
    void lowFieldsHaveTheirFrame();
    void altLeadsToTheMenus();
    void theStyleGoesWithItsParent();

private:
    RowStyle *m_style = nullptr;
    QObject m_owner;
};

void TestRowStyle::initTestCase()
{
    QApplication::setStyle(u"Fusion"_s);
    m_style = new RowStyle(&m_owner);
}

void TestRowStyle::theFontsAreWhatTheTestsNeed()
{
    QVERIFY(spare(u"Run"_s, roomyFont()) > 5);
    QCOMPARE(spare(u"Run"_s, plainFont()), 0);
    QCOMPARE(m_style->baseStyle()->name(), QApplication::style()->name());
}

void TestRowStyle::buttonsLoseTheirSpareRoomAndSomePadding()
{
    for (const QFont &font : {roomyFont(), plainFont()}) {
        QToolButton usual;
        QToolButton low;
        low.setStyle(m_style);
        for (QToolButton *button : {&usual, &low}) {
            button->setFont(font);
            button->setText(u"Run"_s);
        }
        const int room = spare(u"Run"_s, font);
        QCOMPARE(low.sizeHint(), usual.sizeHint() - QSize(0, room > 0 ? room + 2 : 0));
    }
}

void TestRowStyle::fieldsLoseTheirSpareRoomAndSomePadding()
{
    for (const QFont &font : {roomyFont(), plainFont()}) {
        QLineEdit usual;
        QLineEdit low;
        low.setStyle(m_style);
        for (QLineEdit *field : {&usual, &low})
            field->setFont(font);
        const int room = spare({}, font);
        QCOMPARE(low.sizeHint(), usual.sizeHint() - QSize(0, room > 0 ? room + 2 : 0));
    }
}

void TestRowStyle::entriesOfMenusLoseTheirSpareRoom()
{
    for (const QFont &font : {roomyFont(), plainFont()}) {
        QMenu usual;
        QMenu low;
        low.setStyle(m_style);
        for (QMenu *menu : {&usual, &low}) {
            menu->setFont(font);
            menu->addAction(u"Open"_s);
            menu->ensurePolished();
        }
        const QRect before = usual.actionGeometry(usual.actions().constFirst());
        const QRect after = low.actionGeometry(low.actions().constFirst());
        QCOMPARE(after.height(), before.height() - spare(u"Open"_s, font));
    }
}

void TestRowStyle::separatorsOfMenusStayAsTheyAre()
{
    QMenu usual;
    QMenu low;
    low.setStyle(m_style);
    for (QMenu *menu : {&usual, &low}) {
        menu->setFont(roomyFont());
        menu->addAction(u"Open"_s);
        menu->addSeparator();
        menu->addAction(u"Quit"_s);
    }
    QCOMPARE(low.actionGeometry(low.actions().at(1)).height(),
             usual.actionGeometry(usual.actions().at(1)).height());
}

void TestRowStyle::menuBarsLoseTheSpareRoomOfTheirItems()
{
    QMenuBar usual;
    QMenuBar low;
    low.setStyle(m_style);
    for (QMenuBar *bar : {&usual, &low}) {
        bar->setFont(roomyFont());
        bar->addAction(u"File"_s);
        bar->resize(200, 100);
        bar->ensurePolished();
    }
    QCOMPARE(low.sizeHint().height(), usual.sizeHint().height() - spare(u"File"_s, roomyFont()));
}

void TestRowStyle::labelsLoseTheirSpareRoom()
{
    for (const QFont &font : {roomyFont(), plainFont()}) {
        QLabel usual(u"Source file"_s);
        RowLabel low;
        low.setText(u"Source file"_s);
        usual.setFont(font);
        low.setFont(font);
        const QSize room(0, spare(u"Source file"_s, font));
        QCOMPARE(low.sizeHint(), usual.sizeHint() - room);
        QCOMPARE(low.minimumSizeHint(), usual.minimumSizeHint() - room);
    }
}

void TestRowStyle::labelsShowPlainText()
{
    RowLabel label;
    label.setText(u"<b>bold</b>"_s);
    QCOMPARE(label.textFormat(), Qt::PlainText);
}

void TestRowStyle::textsStandInTheMiddle()
{
    // As high as the row of it is; without the style the text would stand too low or be cut.
    const QString text = u"Run"_s;
    const QFont font = roomyFont();
    const InkReach usual = usualInk(font);
    QImage image(100, usual.height(), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setFont(font);
    m_style->drawItemText(&painter, image.rect(), Qt::AlignLeft | Qt::AlignVCenter, QPalette(),
                          true, text, QPalette::WindowText);
    painter.end();
    int last = -1;
    for (int y = 0; y < image.height(); ++y) {
        if (!isBlank(image.copy(0, y, image.width(), 1)))
            last = y;
    }
    QVERIFY2(qAbs(last + 1 - usual.above) <= 1,
             qPrintable(u"%1 of %2, not %3"_s.arg(last + 1).arg(image.height()).arg(usual.above)));
    // At its own side, and whole.
    QVERIFY(!isBlank(image.copy(0, 0, 10, image.height())));
    QVERIFY(isBlank(image.copy(60, 0, 40, image.height())));
}

void TestRowStyle::nobodyElseDrawsTheFocus()
{
    QStyleOptionFocusRect option;
    option.rect = QRect(2, 2, 60, 20);
    option.state =
        QStyle::State_Enabled | QStyle::State_HasFocus | QStyle::State_KeyboardFocusChange;
    option.backgroundColor = Qt::white;
    const auto drawn = [&](const QStyle *style) {
        QImage image(64, 24, QImage::Format_RGB32);
        image.fill(Qt::white);
        QPainter painter(&image);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, nullptr);
        return image;
    };
    QVERIFY(!isBlank(drawn(QApplication::style())));
    QVERIFY(isBlank(drawn(m_style)));
}

void TestRowStyle::lowFieldsHaveTheirFrame()
{
    const std::unique_ptr<QStyle> usual(QStyleFactory::create(u"Fusion"_s));
    QStyleOptionFrame option;
    option.rect = QRect(0, 0, 60, 20);
    option.lineWidth = 1;
    option.state = QStyle::State_Enabled;
    option.palette = QPalette(Qt::lightGray);
    for (const auto element : {QStyle::PE_PanelLineEdit, QStyle::PE_FrameLineEdit,
                               QStyle::PE_FrameGroupBox, QStyle::PE_PanelButtonTool}) {
        const auto drawn = [&](const QStyle *style) {
            QImage image(60, 20, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            style->drawPrimitive(element, &option, &painter, nullptr);
            return image;
        };
        QCOMPARE(drawn(m_style), drawn(usual.get()));
    }
    QImage frame(60, 20, QImage::Format_RGB32);
    frame.fill(Qt::white);
    QPainter painter(&frame);
    m_style->drawPrimitive(QStyle::PE_PanelLineEdit, &option, &painter, nullptr);
    painter.end();
    QVERIFY(!isBlank(frame));
}

void TestRowStyle::altLeadsToTheMenus()
{
    QCOMPARE(m_style->styleHint(QStyle::SH_MenuBar_AltKeyNavigation, nullptr, nullptr, nullptr), 1);
    for (const auto hint : {QStyle::SH_Menu_FillScreenWithScroll, QStyle::SH_MenuBar_MouseTracking,
                            QStyle::SH_ToolTipLabel_Opacity, QStyle::SH_Menu_SubMenuPopupDelay})
        QCOMPARE(m_style->styleHint(hint, nullptr, nullptr, nullptr),
                 QApplication::style()->styleHint(hint));
}

void TestRowStyle::theStyleGoesWithItsParent()
{
    auto owner = std::make_unique<QObject>();
    const QPointer<RowStyle> style = new RowStyle(owner.get());
    QCOMPARE(style->parent(), owner.get());
    owner.reset();
    QVERIFY(!style);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestRowStyle))
#include "tst_rowstyle.moc"
