#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "support/transcripttesting.h"
#include "widgets/shownview.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>
#include <QTranslator>
#include <QWindow>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace tarn::console {

namespace {

/// Characters that a text widget changes on its way to the clipboard.
const QString oddText = u"no\u00A0break\u2028line\u2029paragraph\uFDD0\uFDD1\nمرحبا\tend"_s;

/// What a context menu offered.
struct Offer
{
    QString name;
    QStringList texts;
    QList<bool> enabled;
};

enum class OpenBy { RightClick, MenuKey };

constexpr int nothing = -1;

/// Opens the context menu as a user does and picks the entry with this number, or nothing.
Offer openMenu(ShownView &shown, int pick, OpenBy how = OpenBy::RightClick)
{
    Offer offer;
    QTimer whenOpen;
    QObject::connect(&whenOpen, &QTimer::timeout, &whenOpen, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        if (!menu)
            return;
        whenOpen.stop();
        offer.name = menu->objectName();
        for (const QAction *action : menu->actions()) {
            offer.texts << action->text();
            offer.enabled << action->isEnabled();
        }
        if (pick == nothing)
            QTest::keyClick(menu, Qt::Key_Escape);
        else
            QTest::mouseClick(menu, Qt::LeftButton, {},
                              menu->actionGeometry(menu->actions().at(pick)).center());
    });
    whenOpen.start(1ms);

    shown.view.setFocus();
    QWindow *window = shown.window.windowHandle();
    const QPoint centre = shown.view.mapTo(&shown.window, shown.view.rect().center());
    if (how == OpenBy::MenuKey) {
        // What a platform makes of its menu key; the window finds the widget and the place.
        QContextMenuEvent event(QContextMenuEvent::Keyboard, centre, window->mapToGlobal(centre));
        QCoreApplication::sendEvent(window, &event);
    } else {
        // A pointer comes from somewhere; Qt 6.11 opens the menu of what it came to.
        QTest::mouseMove(window, centre - QPoint(1, 1));
        QTest::mouseMove(window, centre);
        QTest::mouseClick(window, Qt::RightButton, {}, centre);
    }
    if (!QTest::qWaitFor([&] { return !whenOpen.isActive(); }))
        offer.texts << u"no menu"_s;
    return offer;
}

QClipboard *clipboard()
{
    return QGuiApplication::clipboard();
}

/// Gives access to what goes into a drag or the X11 selection.
class OpenView : public TranscriptView
{
public:
    using TranscriptView::createMimeDataFromSelection;
    using TranscriptView::TranscriptView;
};

/// Texts of the context "QTextEdit" only.
class MenuTexts : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "QTextEdit") != 0)
            return {};
        if (qstrcmp(source, "Copy") == 0)
            return u"نسخ"_s;
        return qstrcmp(source, "Select all") == 0 ? u"تحديد الكل"_s : QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class TestTranscriptViewSelection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void findSelectsTheMatch();
    void findGoesOnAfterTheMatch();
    void findBackwardGoesOnBeforeTheMatch();
    void findStartsAtTheSelection_data();
    void findStartsAtTheSelection();
    void nothingFoundChangesNothing();
    void findPositionsAreThoseOfTheModel();
    void findShowsTheMatch();
    void findAwayFromTheEndKeepsFollowing();
    void findAtTheEndDoesNotStartFollowing();

    void copyTakesTheModelsText();
    void copyWithoutSelectionLeavesTheClipboard();
    void copyKeyCopies();
    void copyKeyIsConsumedWithoutSelection();
    void copyKeyIsLeftToTheAction();
    void copyKeyThatTheActionDoesNotTakeStillCopiesText();
    void aClearedCopyActionGivesTheKeyBack();
    void draggedTextIsTheModelsText();

    void menuWithoutActionOffersCopy_data();
    void menuWithoutActionOffersCopy();
    void menuCopies();
    void menuSelectsEverything();
    void dismissedMenuDoesNothing();
    void menuShowsTheSharedAction();
    void menuFiresTheSharedAction();
    void menuTextsAreTranslated();
    void menusAreGoneAfterwards();
    void keysMoveACaretAndSelect();
};

void TestTranscriptViewSelection::init()
{
    clipboard()->setText(u"untouched"_s);
}

void TestTranscriptViewSelection::findSelectsTheMatch()
{
    ShownView shown;
    shown.print("one two\nthree two\n");
    const TranscriptFindResult result = shown.view.findLiteral(u"two"_s, false);
    QCOMPARE(describe(result), describe(shown.transcript.findLiteral(u"two"_s, 0, false)));
    QCOMPARE(shown.view.textCursor().anchor(), 4);
    QCOMPARE(shown.view.textCursor().position(), 7);
}

void TestTranscriptViewSelection::findGoesOnAfterTheMatch()
{
    ShownView shown;
    shown.print("aaa\naaa");
    QList<qint64> positions;
    QList<bool> wrapped;
    for (int i = 0; i < 4; ++i) {
        const TranscriptFindResult result = shown.view.findLiteral(u"aa"_s, false);
        positions << result.position;
        wrapped << result.wrapped;
    }
    QCOMPARE(positions, (QList<qint64>{0, 4, 0, 4}));
    QCOMPARE(wrapped, (QList<bool>{false, false, true, false}));
}

void TestTranscriptViewSelection::findBackwardGoesOnBeforeTheMatch()
{
    ShownView shown;
    shown.print("two one two two");
    QList<qint64> positions;
    QList<bool> wrapped;
    for (int i = 0; i < 4; ++i) {
        const TranscriptFindResult result = shown.view.findLiteral(u"two"_s, true);
        QVERIFY(result.found);
        positions << result.position;
        wrapped << result.wrapped;
    }
    // From the very start the whole text is searched, which is no wrap.
    QCOMPARE(positions, (QList<qint64>{12, 8, 0, 12}));
    QCOMPARE(wrapped, (QList<bool>{false, false, false, false}));
}

void TestTranscriptViewSelection::findStartsAtTheSelection_data()
{
    QTest::addColumn<int>("anchor");
    QTest::addColumn<int>("position");
    QTest::addColumn<bool>("backward");
    QTest::addColumn<qint64>("found");
    QTest::newRow("forward, from the end") << 1 << 4 << false << qint64(6);
    QTest::newRow("forward, made backward") << 4 << 1 << false << qint64(6);
    QTest::newRow("backward, from the start") << 4 << 8 << true << qint64(3);
    QTest::newRow("backward, made backward") << 8 << 4 << true << qint64(3);
    QTest::newRow("forward, no selection") << 3 << 3 << false << qint64(3);
    QTest::newRow("backward, no selection") << 3 << 3 << true << qint64(0);
}

void TestTranscriptViewSelection::findStartsAtTheSelection()
{
    QFETCH(int, anchor);
    QFETCH(int, position);
    QFETCH(bool, backward);
    ShownView shown;
    shown.print("x..x..x..x");
    shown.select(anchor, position);
    const TranscriptFindResult result = shown.view.findLiteral(u"x"_s, backward);
    QTEST(result.position, "found");
}

void TestTranscriptViewSelection::nothingFoundChangesNothing()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    shown.select(3, 9);
    const int value = shown.scrollValue();
    for (const QString &text : {u"absent"_s, u"LINE"_s, QString()}) {
        const TranscriptFindResult result = shown.view.findLiteral(text, false);
        QCOMPARE(describe(result), u"found 0, wrapped 0, position -1, length 0"_s);
        QCOMPARE(shown.view.textCursor().anchor(), 3);
        QCOMPARE(shown.view.textCursor().position(), 9);
        QCOMPARE(shown.scrollValue(), value);
    }
}

void TestTranscriptViewSelection::findPositionsAreThoseOfTheModel()
{
    ShownView shown;
    shown.print(oddText.toUtf8());
    const QString document = shown.transcript.documentText();
    for (const QString &text : {u"\u00A0"_s, u"\u2029"_s, u"\uFDD0"_s, u"\n"_s, u"end"_s}) {
        shown.select(0, 0);
        QCOMPARE(shown.view.findLiteral(text, false).position, document.indexOf(text));
        QCOMPARE(shown.view.textCursor().selectionStart(), document.indexOf(text));
        shown.view.copySelection();
        QCOMPARE(clipboard()->text(), text);
    }
}

void TestTranscriptViewSelection::findShowsTheMatch()
{
    ShownView shown;
    shown.print(numberedLines(1, 500));
    shown.view.findLiteral(u"line 250"_s, false);
    const QRect rect = shown.view.cursorRect();
    QVERIFY(shown.view.viewport()->rect().contains(rect.center()));
    QVERIFY(shown.scrollValue() > 0 && shown.scrollValue() < shown.scrollMaximum());
}

void TestTranscriptViewSelection::findAwayFromTheEndKeepsFollowing()
{
    ShownView shown;
    shown.print(numberedLines(1, 500));
    shown.select(0, 0);
    shown.scrollTo(shown.scrollMaximum());
    shown.view.findLiteral(u"line 3"_s, false);
    QVERIFY(!shown.view.followsEnd());
    QVERIFY(!shown.isEndInSight());
    shown.print(numberedLines(501, 1));
    QVERIFY(shown.view.followsEnd());
    QVERIFY(shown.isEndInSight());
}

void TestTranscriptViewSelection::findAtTheEndDoesNotStartFollowing()
{
    ShownView shown;
    shown.print(numberedLines(1, 500) + "the very end");
    shown.scrollTo(0);
    shown.view.findLiteral(u"the very end"_s, false);
    QVERIFY(shown.isEndInSight());
    const int value = shown.scrollValue();
    shown.print("\n" + numberedLines(501, 50));
    QCOMPARE(shown.scrollValue(), value);
    QVERIFY(!shown.isEndInSight());
}

void TestTranscriptViewSelection::copyTakesTheModelsText()
{
    ShownView shown;
    shown.print(oddText.toUtf8());
    shown.view.selectAll();
    shown.view.copySelection();
    QCOMPARE(clipboard()->text(), oddText);
    QCOMPARE(clipboard()->mimeData()->formats(), QStringList{u"text/plain"_s});

    shown.select(8, 1);
    shown.view.copySelection();
    QCOMPARE(clipboard()->text(), oddText.mid(1, 7));
}

void TestTranscriptViewSelection::copyWithoutSelectionLeavesTheClipboard()
{
    ShownView shown;
    shown.print("abc");
    shown.select(1, 1);
    shown.view.copySelection();
    QCOMPARE(clipboard()->text(), u"untouched"_s);
}

void TestTranscriptViewSelection::copyKeyCopies()
{
    const QList<QKeySequence> bindings = QKeySequence::keyBindings(QKeySequence::Copy);
    QVERIFY(!bindings.isEmpty());
    for (const QKeySequence &binding : bindings) {
        ShownView shown;
        shown.print(oddText.toUtf8());
        shown.view.selectAll();
        shown.view.setFocus();
        clipboard()->setText(u"untouched"_s);
        QTest::keyClick(shown.window.windowHandle(), binding[0].key(),
                        binding[0].keyboardModifiers());
        QCOMPARE(clipboard()->text(), oddText);
        QCOMPARE(clipboard()->mimeData()->formats(), QStringList{u"text/plain"_s});
    }
}

void TestTranscriptViewSelection::copyKeyIsConsumedWithoutSelection()
{
    ShownView shown;
    shown.print("abc");
    QKeyEvent event(QEvent::KeyPress, Qt::Key_C, Qt::ControlModifier, u"\u0003"_s);
    event.ignore();
    QCoreApplication::sendEvent(&shown.view, &event);
    QVERIFY(event.isAccepted());
    QCOMPARE(clipboard()->text(), u"untouched"_s);
}

void TestTranscriptViewSelection::copyKeyIsLeftToTheAction()
{
    ShownView shown;
    shown.print("abc");
    QAction copy;
    copy.setShortcut(QKeySequence::Copy);
    shown.window.addAction(&copy);
    shown.view.setCopyAction(&copy);
    const QSignalSpy triggered(&copy, &QAction::triggered);
    shown.view.selectAll();
    shown.view.setFocus();
    QTest::keyClick(shown.window.windowHandle(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(triggered.size(), 1);
    // Nobody listened to the action, so nothing was copied.
    QCOMPARE(clipboard()->text(), u"untouched"_s);
}

void TestTranscriptViewSelection::copyKeyThatTheActionDoesNotTakeStillCopiesText()
{
    ShownView shown;
    shown.print(oddText.toUtf8());
    QAction copy;
    copy.setShortcut(QKeySequence::Copy);
    copy.setEnabled(false);
    shown.window.addAction(&copy);
    shown.view.setCopyAction(&copy);
    shown.view.selectAll();
    shown.view.setFocus();
    QTest::keyClick(shown.window.windowHandle(), Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard()->text(), oddText);
    QCOMPARE(clipboard()->mimeData()->formats(), QStringList{u"text/plain"_s});
}

void TestTranscriptViewSelection::aClearedCopyActionGivesTheKeyBack()
{
    ShownView shown;
    shown.print("abc");
    QAction copy;
    copy.setShortcut(QKeySequence::Copy);
    shown.view.setCopyAction(&copy);
    QVERIFY(copy.isEnabled());
    shown.view.setCopyAction(nullptr);
    shown.view.selectAll();
    QTest::keyClick(&shown.view, Qt::Key_C, Qt::ControlModifier);
    QCOMPARE(clipboard()->text(), u"abc"_s);
}

void TestTranscriptViewSelection::draggedTextIsTheModelsText()
{
    Transcript transcript(windowLimits());
    OpenView view(&transcript);
    transcript.appendStream(TranscriptStream::StandardOutput, oddText.toUtf8());
    view.refresh();
    view.selectAll();
    const std::unique_ptr<QMimeData> data(view.createMimeDataFromSelection());
    QCOMPARE(data->text(), oddText);
    QCOMPARE(data->formats(), QStringList{u"text/plain"_s});
}

void TestTranscriptViewSelection::menuWithoutActionOffersCopy_data()
{
    QTest::addColumn<bool>("byKey");
    QTest::addColumn<bool>("selected");
    QTest::newRow("right click, nothing selected") << false << false;
    QTest::newRow("right click, selection") << false << true;
    QTest::newRow("menu key, nothing selected") << true << false;
    QTest::newRow("menu key, selection") << true << true;
}

void TestTranscriptViewSelection::menuWithoutActionOffersCopy()
{
    QFETCH(bool, byKey);
    QFETCH(bool, selected);
    ShownView shown;
    shown.print("abc\ndef");
    if (selected)
        shown.select(1, 5);
    const Offer offer = openMenu(shown, nothing, byKey ? OpenBy::MenuKey : OpenBy::RightClick);
    QCOMPARE(offer.name, u"transcriptMenu"_s);
    QCOMPARE(offer.texts, (QStringList{u"Copy"_s, u"Select all"_s}));
    QCOMPARE(offer.enabled, (QList<bool>{selected, true}));
}

void TestTranscriptViewSelection::menuCopies()
{
    ShownView shown;
    shown.print(oddText.toUtf8());
    shown.select(0, 12);
    openMenu(shown, 0);
    QCOMPARE(clipboard()->text(), oddText.first(12));
    QCOMPARE(shown.view.textCursor().position(), 12);
}

void TestTranscriptViewSelection::menuSelectsEverything()
{
    ShownView shown;
    shown.print("abc\ndef\n");
    QAction copy;
    for (QAction *action : {static_cast<QAction *>(nullptr), &copy}) {
        shown.view.setCopyAction(action);
        shown.select(2, 2);
        const Offer offer = openMenu(shown, 1);
        QCOMPARE(offer.enabled, (QList<bool>{false, true}));
        QCOMPARE(shown.view.textCursor().selectionStart(), 0);
        QCOMPARE(shown.view.textCursor().selectionEnd(), 8);
        QCOMPARE(clipboard()->text(), u"untouched"_s);
    }
}

void TestTranscriptViewSelection::dismissedMenuDoesNothing()
{
    ShownView shown;
    shown.print("abc\ndef");
    shown.select(1, 5);
    openMenu(shown, nothing);
    QCOMPARE(clipboard()->text(), u"untouched"_s);
    QCOMPARE(shown.view.textCursor().anchor(), 1);
    QCOMPARE(shown.view.textCursor().position(), 5);
}

void TestTranscriptViewSelection::menuShowsTheSharedAction()
{
    ShownView shown;
    shown.print("abc");
    QAction copy(u"Shared"_s);
    shown.view.setCopyAction(&copy);
    const Offer empty = openMenu(shown, nothing);
    QCOMPARE(empty.texts, (QStringList{u"Shared"_s, u"Select all"_s}));
    QCOMPARE(empty.enabled, (QList<bool>{false, true}));
    // The state stays until somebody else sets it.
    QVERIFY(!copy.isEnabled());

    shown.view.selectAll();
    const Offer selected = openMenu(shown, nothing);
    QCOMPARE(selected.enabled, (QList<bool>{true, true}));
    QVERIFY(copy.isEnabled());
}

void TestTranscriptViewSelection::menuFiresTheSharedAction()
{
    ShownView shown;
    shown.print(oddText.toUtf8());
    QAction copy(u"Shared"_s);
    shown.view.setCopyAction(&copy);
    const QSignalSpy triggered(&copy, &QAction::triggered);
    shown.view.selectAll();
    openMenu(shown, 0);
    QCOMPARE(triggered.size(), 1);
    QCOMPARE(clipboard()->text(), oddText);
}

void TestTranscriptViewSelection::menuTextsAreTranslated()
{
    MenuTexts texts;
    QCoreApplication::installTranslator(&texts);
    ShownView shown;
    const Offer offer = openMenu(shown, nothing);
    QCoreApplication::removeTranslator(&texts);
    QCOMPARE(offer.texts, (QStringList{u"نسخ"_s, u"تحديد الكل"_s}));
}

void TestTranscriptViewSelection::menusAreGoneAfterwards()
{
    ShownView shown;
    shown.print("abc");
    for (const int pick : {nothing, 1, 0})
        openMenu(shown, pick);
    QVERIFY(!QApplication::activePopupWidget());
    QTRY_VERIFY(shown.view.findChildren<QMenu *>().isEmpty());
}

void TestTranscriptViewSelection::keysMoveACaretAndSelect()
{
    ShownView shown;
    shown.print("abc def\nghi\n");
    shown.view.setFocus();
    QWindow *window = shown.window.windowHandle();
    // A screen reader follows the caret, also in a text that cannot be edited.
    QTest::keyClick(window, Qt::Key_Right);
    QCOMPARE(shown.view.textCursor().position(), 1);
    QTest::keyClick(window, Qt::Key_Right, Qt::ShiftModifier);
    QCOMPARE(shown.view.textCursor().selectedText(), u"b"_s);
    shown.print("more\n");
    QTest::keyClick(window, Qt::Key_End, Qt::ShiftModifier);
    QCOMPARE(shown.view.textCursor().selectedText(), u"bc def"_s);
    QTest::keyClick(window, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(shown.view.textCursor().selectionEnd(), 17);
    QTest::keyClick(window, Qt::Key_X);
    QTest::keyClick(window, Qt::Key_Backspace);
    QTest::keyClick(window, Qt::Key_V, Qt::ControlModifier);
    QCOMPARE(characters(shown.view), u"abc def\nghi\nmore\n"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewSelection))

#include "tst_transcriptview_selection.moc"
