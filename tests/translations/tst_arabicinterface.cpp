#include "app/consolestartupoptions.h"
#include "support/popupmeeting.h"
#include "support/sourcefile.h"
#include "support/testregistry.h"
#include "support/visibletexts.h"
#include "window/consolewindow.h"
#include "window/statustexts.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTreeView>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Where the models of Qt's file dialog keep the URL of a place.
constexpr int urlRole = Qt::UserRole + 1;

} // namespace

/// What the window and its dialogs show in Arabic, read from the screen: no Latin letters but
/// those of names, paths and shortcuts.
class TestArabicInterface : public QObject
{
    Q_OBJECT

private:
    static ConsoleStartupOptions options(const QString &source = {});
    static void checkDialog(QDialog *dialog, qsizetype fewestTexts);
    static void checkFileDialog(QDialog *dialog);
    static QStringList listedFiles(QDialog *dialog);
    static QString status(const ConsoleWindow &window, const QString &label);
    static QStringList latinStatus(const ConsoleWindow &window, const QString &label,
                                   const QString &argument = {});
    static void trigger(const ConsoleWindow &window, const QString &action);

private Q_SLOTS:
    void initTestCase();
    void windowIsArabic();
    void helpIsArabic();
    void settingsAreArabic();
    void closeQuestionIsArabic();
    void sourceChooserIsArabic();
    void placesOfTheSourceChooserAreArabic();
    void noticeOfAMissingFileIsArabic();
    void tarnChooserIsArabic();
    void theUnavailableInterpreterIsDrawnInTwoDirections();
    void sourceChooserListsBothKindsOfSources_data();
    void sourceChooserListsBothKindsOfSources();
    void statusesBeforeARunAreArabic();
    void statusesOfARunAreArabic();
    void statusesOfAStoppedRunAreArabic();
    void statusesInTwoLanguagesBeginInArabic();
};

void TestArabicInterface::initTestCase()
{
    // The choosers of Qt, which the catalogue translates, whatever the desktop offers.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

ConsoleStartupOptions TestArabicInterface::options(const QString &source)
{
    return {.executablePath = scriptedChild(),
            .sourcePath = source,
            .interfaceLanguage = u"ar"_s,
            .usePersistentSettings = false};
}

void TestArabicInterface::checkDialog(QDialog *dialog, qsizetype fewestTexts)
{
    const QList<VisibleText> texts = visibleTexts(dialog);
    QCOMPARE(textsWithScript(QChar::Script_Latin, texts).join(u'\n'), QString());
    QVERIFY(textsWithScript(QChar::Script_Arabic, texts).size() >= fewestTexts);
    QCOMPARE(dialog->layoutDirection(), Qt::RightToLeft);
}

void TestArabicInterface::checkFileDialog(QDialog *dialog)
{
    QTRY_VERIFY(!listedFiles(dialog).isEmpty());
    QList<VisibleText> texts = visibleTexts(dialog);
    // The directories that were visited, as paths.
    texts.removeIf([](const VisibleText &visible) {
        return visible.place == "QComboBox lookInCombo item"_L1 && visible.text.startsWith(u'/');
    });
    QCOMPARE(textsWithScript(QChar::Script_Latin, texts).join(u'\n'), QString());
    QVERIFY(textsWithScript(QChar::Script_Arabic, texts).size() >= 20);
    QCOMPARE(qobject_cast<QFileDialog *>(dialog)->labelText(QFileDialog::LookIn).remove(u'&'),
             u"المكان:"_s);
    // The box shows paths, which are read from their root.
    auto *folder = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
    QVERIFY(folder->currentText().startsWith(u'/'));
    const QImage drawn = folder->grab().toImage();
    const QChar leftToRightMark(0x200E);
    folder->setItemText(folder->currentIndex(), leftToRightMark + folder->currentText());
    QCOMPARE(folder->grab().toImage(), drawn);
    // Beside an icon, the texts of buttons would be cut.
    const auto *box = dialog->findChild<QDialogButtonBox *>();
    for (const QAbstractButton *button : box->buttons())
        QVERIFY2(button->icon().isNull(), qPrintable(button->text()));

    const auto *view = dialog->findChild<QTreeView *>(u"treeView"_s);
    const auto kind = [=] {
        const QModelIndex first = view->model()->index(0, 0, view->rootIndex());
        const QModelIndexList found = view->model()->match(first, Qt::DisplayRole, u"sub"_s);
        return found.isEmpty() ? QString() : found.first().siblingAtColumn(2).data().toString();
    };
    QTRY_VERIFY(!kind().isEmpty());
    QVERIFY2(!textsWithScript(QChar::Script_Arabic, {{u"kind"_s, kind()}}).isEmpty(),
             qPrintable(kind()));
}

QStringList TestArabicInterface::listedFiles(QDialog *dialog)
{
    const auto *view = dialog->findChild<QTreeView *>(u"treeView"_s);
    QStringList files;
    for (int row = 0; row < view->model()->rowCount(view->rootIndex()); ++row)
        files.append(view->model()->index(row, 0, view->rootIndex()).data().toString());
    files.sort();
    return files;
}

QString TestArabicInterface::status(const ConsoleWindow &window, const QString &label)
{
    return window.findChild<QLabel *>(label)->text();
}

QStringList TestArabicInterface::latinStatus(const ConsoleWindow &window, const QString &label,
                                             const QString &argument)
{
    QString text = status(window, label);
    if (!argument.isEmpty())
        text.remove(argument);
    if (textsWithScript(QChar::Script_Arabic, {{label, text}}).isEmpty())
        return {label + u" is not Arabic: "_s + text};
    return textsWithScript(QChar::Script_Latin, {{label, text}});
}

void TestArabicInterface::trigger(const ConsoleWindow &window, const QString &action)
{
    window.findChild<QAction *>(action)->trigger();
}

void TestArabicInterface::windowIsArabic()
{
    ConsoleWindow window(options());
    window.show();
    const QList<VisibleText> texts = visibleTexts(&window);
    QCOMPARE(textsWithScript(QChar::Script_Latin, texts).join(u'\n'), QString());
    QVERIFY(textsWithScript(QChar::Script_Arabic, texts).size() > 60);
    QCOMPARE(window.layoutDirection(), Qt::RightToLeft);
    QVERIFY(translatablePart(window.windowTitle()).isRightToLeft());

    // Actions that are in no menu, too.
    QCOMPARE(textsWithScript(QChar::Script_Latin, actionTexts(window.actions())), QStringList());
}

void TestArabicInterface::helpIsArabic()
{
    ConsoleWindow window(options());
    window.show();
    QVERIFY(meetDialog([&] { trigger(window, u"helpAction"_s); },
                       [](QDialog *dialog) { checkDialog(dialog, 3); }));
}

void TestArabicInterface::settingsAreArabic()
{
    ConsoleWindow window(options());
    window.show();
    QVERIFY(meetDialog([&] { trigger(window, u"settingsAction"_s); },
                       [](QDialog *dialog) { checkDialog(dialog, 6); }));
}

void TestArabicInterface::closeQuestionIsArabic()
{
    const SourceFile source("wait-forever");
    ConsoleWindow window(options(source.path()));
    window.show();
    trigger(window, u"runAction"_s);
    QTRY_COMPARE(window.session().state(), ProgramSessionState::Running);
    QVERIFY(meetDialog([&] { window.close(); },
                       [](QDialog *dialog) {
                           checkDialog(dialog, 4);
                           QTest::mouseClick(qobject_cast<QMessageBox *>(dialog)->defaultButton(),
                                             Qt::LeftButton);
                       }));
    QVERIFY(window.isVisible());
    trigger(window, u"stopAction"_s);
    QTRY_VERIFY(!window.session().isActive());
}

void TestArabicInterface::sourceChooserIsArabic()
{
    const SourceFile source("exit 0");
    QVERIFY(QDir(source.directory()).mkdir(u"sub"_s));
    ConsoleWindow window(options(source.path()));
    window.show();
    QVERIFY(meetDialog([&] { trigger(window, u"openAction"_s); }, &checkFileDialog));
}

void TestArabicInterface::placesOfTheSourceChooserAreArabic()
{
    const SourceFile source("exit 0");
    ConsoleWindow window(options(source.path()));
    window.show();
    QVERIFY(meetDialog(
        [&] { trigger(window, u"openAction"_s); },
        [&](QDialog *dialog) {
            const auto *places = dialog->findChild<QAbstractItemView *>(u"sidebar"_s)->model();
            const QString computer = places->index(0, 0).data().toString();
            QCOMPARE(textsWithScript(QChar::Script_Latin, {{u"places"_s, computer}}),
                     QStringList());
            QVERIFY(!computer.isEmpty());

            auto *directories = dialog->findChild<QComboBox *>(u"lookInCombo"_s);
            directories->showPopup();
            QList<VisibleText> texts;
            for (int i = 0; i < directories->count(); ++i) {
                const QFileInfo directory(directories->itemData(i, urlRole).toUrl().toLocalFile());
                const QString text = directories->itemText(i);
                if (text != directory.filePath() && text != directory.fileName())
                    texts.append({u"place"_s, text});
            }
            directories->hidePopup();
            // The computer and the recent places; the others are directories.
            QVERIFY(texts.size() >= 2);
            QCOMPARE(textsWithScript(QChar::Script_Latin, texts).join(u'\n'), QString());
        }));
}

void TestArabicInterface::noticeOfAMissingFileIsArabic()
{
    const SourceFile source("exit 0");
    ConsoleWindow window(options(source.path()));
    window.show();
    bool noticed = false;
    QVERIFY(meetDialog([&] { trigger(window, u"openAction"_s); },
                       [&](QDialog *dialog) {
                           const QString name = u"no-such-file"_s;
                           dialog->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(name);
                           noticed =
                               meetDialog([&] { dialog->accept(); },
                                          [&](QDialog *notice) {
                                              QList<VisibleText> texts = visibleTexts(notice);
                                              for (VisibleText &visible : texts)
                                                  visible.text.remove(name);
                                              QCOMPARE(textsWithScript(QChar::Script_Latin, texts),
                                                       QStringList());
                                          });
                       }));
    QVERIFY(noticed);
}

void TestArabicInterface::tarnChooserIsArabic()
{
    const SourceFile source("exit 0");
    QVERIFY(QDir(source.directory()).mkdir(u"sub"_s));
    ConsoleWindow window(options(source.path()));
    window.show();
    QVERIFY(meetDialog([&] { trigger(window, u"chooseTarnAction"_s); }, &checkFileDialog));
}

void TestArabicInterface::theUnavailableInterpreterIsDrawnInTwoDirections()
{
    const ConsoleWindow window(options({}));
    const StatusMessage message = StatusTexts::interpreterUnavailable(u"Why"_s);
    const QString beginning = u"ملف TARN التنفيذي غير متاح. اختر TARN / "_s;
    QCOMPARE(message.text(), beginning + u"Choose TARN. Why"_s);
    QCOMPARE(message.isolatedText(), beginning + u"\u2066Choose TARN. \u2068Why\u2069\u2069"_s);
}

void TestArabicInterface::sourceChooserListsBothKindsOfSources_data()
{
    QTest::addColumn<QString>("language");
    QTest::newRow("Arabic") << u"ar"_s;
    QTest::newRow("English") << u"en"_s;
}

void TestArabicInterface::sourceChooserListsBothKindsOfSources()
{
    QFETCH(QString, language);
    const SourceFile source("exit 0");
    for (const QString &name : {u"برنامج.ترن"_s, u"notes.txt"_s})
        source.release(name);
    ConsoleStartupOptions inLanguage = options(source.path());
    inLanguage.interfaceLanguage = language;
    ConsoleWindow window(inLanguage);
    window.show();
    QVERIFY(meetDialog([&] { trigger(window, u"openAction"_s); },
                       [](QDialog *dialog) {
                           const QStringList sources{u"test.tarn"_s, u"برنامج.ترن"_s};
                           QTRY_COMPARE(listedFiles(dialog), sources);
                           QCOMPARE(qobject_cast<QFileDialog *>(dialog)->nameFilters().size(), 2);
                       }));
}

void TestArabicInterface::statusesBeforeARunAreArabic()
{
    const QTemporaryDir empty;
    const QString missing = empty.filePath(u"missing.tarn"_s);
    ConsoleWindow window(options(missing));
    auto *draft = window.findChild<QTextEdit *>(u"inputDraft"_s);

    window.rejectMultilinePaste();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    window.sendDraft();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    draft->setPlainText(QString(ProgramSession::maximumInputLineBytes + 1, u'x'));
    window.sendDraft();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    draft->setPlainText(u"two\nlines"_s);
    window.sendDraft();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());

    window.findInTranscript();
    QCOMPARE(latinStatus(window, u"searchStatus"_s), QStringList());
    window.runSelectedSource();
    QVERIFY(status(window, u"runStatus"_s).contains(missing));
    QCOMPARE(latinStatus(window, u"runStatus"_s, missing), QStringList());
}

void TestArabicInterface::statusesOfARunAreArabic()
{
    const SourceFile source("print hello\\n\nread-line\nread-line\nexit 3");
    ConsoleWindow window(options(source.path()));
    QStringList latin;
    connect(&window.session(), &ProgramSession::runStateChanged, &window, [&] {
        if (window.session().isActive())
            latin += latinStatus(window, u"runStatus"_s);
    });

    window.runSelectedSource();
    QTRY_VERIFY(window.transcript().documentText().contains("hello"_L1));
    window.findChild<QLineEdit *>(u"findOutput"_s)->setText(u"hello"_s);
    window.findInTranscript();
    window.findInTranscript();
    QCOMPARE(latinStatus(window, u"searchStatus"_s), QStringList());

    window.sendDraft();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    QTRY_VERIFY(!window.session().inputPending());
    window.closeProgramInput();
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    QTRY_VERIFY(!window.session().isActive());
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    QCOMPARE(latinStatus(window, u"runStatus"_s), QStringList());
    QVERIFY(status(window, u"runStatus"_s).contains(u'3'));
    QCOMPARE(latin, QStringList());
}

void TestArabicInterface::statusesOfAStoppedRunAreArabic()
{
    const SourceFile source("print x\\n\nwait-forever");
    ConsoleWindow window(options(source.path()));
    QStringList latin;
    connect(&window.session(), &ProgramSession::runStateChanged, &window, [&] {
        if (window.session().isActive())
            latin += latinStatus(window, u"runStatus"_s);
    });
    window.runSelectedSource();
    QTRY_VERIFY(!window.transcript().paragraphs().isEmpty());

    window.findChild<QTextEdit *>(u"inputDraft"_s)->setPlainText(u"draft"_s);
    window.closeProgramInput();
    const QString notice = status(window, u"inputStatus"_s);
    QCOMPARE(latinStatus(window, u"inputStatus"_s), QStringList());
    trigger(window, u"stopAction"_s);
    QTRY_VERIFY(!window.session().isActive());
    QCOMPARE(latinStatus(window, u"runStatus"_s), QStringList());
    // The user still learns that the draft was not sent.
    QCOMPARE(status(window, u"inputStatus"_s), notice);
    QCOMPARE(latin, QStringList());
}

void TestArabicInterface::statusesInTwoLanguagesBeginInArabic()
{
    ConsoleWindow window(options());
    window.runSelectedSource();
    const QString noSource = status(window, u"runStatus"_s);
    QVERIFY2(noSource.isRightToLeft(), qPrintable(noSource));
    QCOMPARE(latinStatus(window, u"runStatus"_s, u"Choose a source file."_s), QStringList());

    const SourceFile source("exit 0");
    ConsoleStartupOptions unusable = options(source.path());
    unusable.executablePath = source.beside(u"no-tarn"_s);
    ConsoleWindow other(unusable);
    other.runSelectedSource();
    const QString noTarn = status(other, u"runStatus"_s);
    QVERIFY2(noTarn.isRightToLeft(), qPrintable(noTarn));
    const QString english = noTarn.mid(noTarn.indexOf("Choose TARN."_L1));
    QVERIFY2(english.contains(unusable.executablePath), qPrintable(noTarn));
    QCOMPARE(latinStatus(other, u"runStatus"_s, english), QStringList());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestArabicInterface))
#include "tst_arabicinterface.moc"
