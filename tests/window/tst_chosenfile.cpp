#include "support/patience.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "window/chosenfile.h"
#include "window/filechooser.h"
#include "window/pathmarks.h"

#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QFontInfo>
#include <QHeaderView>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QTest>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// Qt's own file chooser as the console shows it, without the console.
class TestChosenFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup() { QApplication::setLayoutDirection(Qt::LeftToRight); }

    void theChosenFileIsReturned();
    void nothingIsReturnedWhenItIsCancelled();
    void onlyFilesOfThisMachineCanBeChosen();
    void itsSizeGoesWithTheFont();
    void itsColumnsFillTheList();
    void itsFolderIsDrawnAsAPath_data();
    void itsFolderIsDrawnAsAPath();
    void itsFolderLeavesThePainterAsItWas();
    void theRestOfTheBoxIsDrawnAsUsual();

private:
    /// Opens a chooser of the window and looks at it.
    QString meet(const std::function<void(QFileDialog *)> &look);

    QWidget m_window;
    const SourceFile m_file{"exit 0"};
};

void TestChosenFile::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setStyle(u"Fusion"_s);
    m_window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_window));
}

QString TestChosenFile::meet(const std::function<void(QFileDialog *)> &look)
{
    QFileDialog dialog(&m_window, u"Choose"_s, m_file.directory(), u"All files (*)"_s);
    dialog.setFileMode(QFileDialog::ExistingFile);
    QString chosen;
    const bool met = meetDialog([&] { chosen = chosenFile(&dialog); },
                                [&](QDialog *shown) { look(qobject_cast<QFileDialog *>(shown)); });
    if (!met)
        qFatal("no dialog was shown");
    return chosen;
}

void TestChosenFile::theChosenFileIsReturned()
{
    QFileDialog dialog(&m_window, u"Choose"_s, m_file.directory());
    dialog.setFileMode(QFileDialog::ExistingFile);
    QString chosen;
    QVERIFY(chooseFile([&] { chosen = chosenFile(&dialog); }, m_file.path()));
    QCOMPARE(chosen, m_file.path());
}

void TestChosenFile::nothingIsReturnedWhenItIsCancelled()
{
    QCOMPARE(meet([this](QFileDialog *dialog) {
                 dialog->selectFile(m_file.path());
                 dialog->reject();
             }),
             QString());
}

void TestChosenFile::onlyFilesOfThisMachineCanBeChosen()
{
    QStringList schemes;
    QStringList filters;
    meet([&](const QFileDialog *dialog) {
        schemes = dialog->supportedSchemes();
        filters = dialog->nameFilters();
    });
    QCOMPARE(schemes, QStringList(u"file"_s));
    QCOMPARE(filters, QStringList(u"All files (*)"_s));
}

void TestChosenFile::itsSizeGoesWithTheFont()
{
    QFont font;
    for (const int pixels : {8, 12, 100}) {
        font.setPixelSize(pixels);
        m_window.setFont(font);
        QSize size;
        QFont shown;
        meet([&](const QFileDialog *dialog) {
            size = dialog->size();
            shown = dialog->font();
        });
        const QSize most = m_window.screen()->availableSize() * 0.9;
        QCOMPARE(shown, font);
        QVERIFY(size.width() >= qMin(50 * pixels, most.width()));
        QVERIFY(size.height() >= qMin(33 * pixels, most.height()));
        if (pixels == 12)
            QCOMPARE(size, QSize(600, 396));
    }
    m_window.setFont({});
}

void TestChosenFile::itsColumnsFillTheList()
{
    meet([](const QFileDialog *dialog) {
        const auto *list = dialog->findChild<QTreeView *>(u"treeView"_s);
        const QHeaderView *header = list->header();
        const QFontMetrics metrics(dialog->font());
        const QLocale locale = QLocale::system();
        const QString samples[] = {
            locale.formattedDataSize(1'234'567), u"plain text document"_s,
            locale.toString(QDateTime(QDate(2028, 12, 28), QTime(20, 58)), QLocale::ShortFormat)};
        int others = 0;
        for (int column = 1; column <= 3; ++column) {
            const int needed =
                metrics.horizontalAdvance(samples[column - 1]) + 2 * metrics.averageCharWidth();
            QTRY_COMPARE_WITH_TIMEOUT(header->sectionSize(column),
                                      qMax(needed, header->sectionSizeHint(column)), patience);
            others += header->sectionSize(column);
        }
        QTRY_COMPARE_WITH_TIMEOUT(
            header->sectionSize(0),
            qMax(list->viewport()->width() - others, header->sectionSizeHint(0)), patience);
    });
}

void TestChosenFile::itsFolderIsDrawnAsAPath_data()
{
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::newRow("from the left") << Qt::LeftToRight;
    QTest::newRow("from the right") << Qt::RightToLeft;
}

namespace {

/// The text of a box as a style draws it.
QImage drawn(const QStyle *style, const QString &text, Qt::LayoutDirection direction)
{
    QStyleOptionComboBox option;
    option.rect = QRect(0, 0, 300, 30);
    option.direction = direction;
    option.currentText = text;
    QImage image(300, 30, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setLayoutDirection(direction);
    style->drawControl(QStyle::CE_ComboBoxLabel, &option, &painter);
    return image;
}

} // namespace

void TestChosenFile::itsFolderIsDrawnAsAPath()
{
    QFETCH(Qt::LayoutDirection, direction);
    QApplication::setLayoutDirection(direction);
    const QString path = u"/tmp/دروس/برامج"_s;
    QVERIFY(withPathMarks(path) != path);
    meet([&](const QFileDialog *dialog) {
        const auto *folder = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
        const QImage shown = drawn(folder->style(), path, direction);
        QStyleOptionComboBox option;
        option.rect = QRect(0, 0, 300, 30);
        option.direction = direction;
        option.currentText = withPathMarks(path);
        QImage expected(300, 30, QImage::Format_RGB32);
        expected.fill(Qt::white);
        QPainter painter(&expected);
        painter.setLayoutDirection(Qt::LeftToRight);
        QApplication::style()->drawControl(QStyle::CE_ComboBoxLabel, &option, &painter);
        painter.end();
        QCOMPARE(shown, expected);
        QVERIFY(shown != drawn(QApplication::style(), path, direction));
        QCOMPARE(folder->view()->layoutDirection(), Qt::LeftToRight);
        // It goes with the box.
        QCOMPARE(folder->style()->parent(), folder);
    });
}

void TestChosenFile::itsFolderLeavesThePainterAsItWas()
{
    meet([](const QFileDialog *dialog) {
        const auto *folder = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
        QStyleOptionComboBox option;
        option.rect = QRect(0, 0, 300, 30);
        QImage image(300, 30, QImage::Format_RGB32);
        QPainter painter(&image);
        painter.setLayoutDirection(Qt::RightToLeft);
        folder->style()->drawControl(QStyle::CE_ComboBoxLabel, &option, &painter);
        QCOMPARE(painter.layoutDirection(), Qt::RightToLeft);
    });
}

void TestChosenFile::theRestOfTheBoxIsDrawnAsUsual()
{
    meet([](const QFileDialog *dialog) {
        const auto *folder = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
        QStyleOptionButton option;
        option.rect = QRect(0, 0, 300, 30);
        option.text = u"Open"_s;
        option.state = QStyle::State_Enabled;
        const auto picture = [&](const QStyle *style) {
            QImage image(300, 30, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            style->drawControl(QStyle::CE_PushButton, &option, &painter);
            return image;
        };
        QImage blank(300, 30, QImage::Format_RGB32);
        blank.fill(Qt::white);
        QVERIFY(picture(folder->style()) != blank);
        QCOMPARE(picture(folder->style()), picture(QApplication::style()));
    });
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestChosenFile))
#include "tst_chosenfile.moc"
