#include "support/testregistry.h"
#include "transcript/transcript.h"
#include "widgets/transcriptview.h"
#include "window/findcontroller.h"
#include "window/interfacelanguage.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTextCursor>
#include <QWidget>

#include <algorithm>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

constexpr TranscriptLimits limits{.maxRetainedBytes = 1000,
                                  .maxParagraphs = 1000,
                                  .maxParagraphBytes = 1000,
                                  .maxPendingUpdateBytes = 1000,
                                  .maxInputBytes = 1000};

/// A field that notes the keys it gets.
class RecordingField : public QLineEdit
{
public:
    QList<QKeyCombination> pressed;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() != Qt::Key_Control && event->key() != Qt::Key_Shift)
            pressed.append(event->keyCombination());
        QLineEdit::keyPressEvent(event);
    }
};

/// A field, a view and a status, without the rest of the window.
struct FindWindow
{
    explicit FindWindow(const QByteArray &output = "one two\nthree two\n")
    {
        transcript.appendStream(TranscriptStream::StandardOutput, output);
        view->refresh();
        auto *row = new QHBoxLayout(&window);
        for (QWidget *widget : std::initializer_list<QWidget *>{view, field, status})
            row->addWidget(widget);
    }
    ~FindWindow() { delete view; }
    Q_DISABLE_COPY_MOVE(FindWindow)

    bool show()
    {
        window.show();
        return QTest::qWaitForWindowActive(&window);
    }
    QString match() const { return view->textCursor().selectedText(); }
    int matchStart() const { return view->textCursor().selectionStart(); }

    Transcript transcript{limits};
    QWidget window;
    TranscriptView *view = new TranscriptView(&transcript);
    RecordingField *field = new RecordingField;
    QLabel *status = new QLabel;
    FindController controller{field, view, status};
};

} // namespace

/// The search from the field to the status, without the rest of the window.
class TestFindController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { InterfaceLanguage({}).set(u"en"_s); }
    void statusTellsHowAMatchWasFound();
    void returnInTheFieldSearches();
    void commandSearchesForTheTextOfTheField();
    void commandOnlyGoesToAnEmptyField();
    void statusIsCleared();
    void statusHasRoomForEveryTextInEachLanguage();
    void everyStatusIsToldAlsoTheSameAgain();
    void theKeyThatClosesTheInputErasesNothing();
};

void TestFindController::statusTellsHowAMatchWasFound()
{
    FindWindow find;
    find.field->setText(u"two"_s);
    find.controller.findNext();
    QCOMPARE(find.matchStart(), 4);
    QCOMPARE(find.status->text(), QString());
    find.controller.findNext();
    QCOMPARE(find.matchStart(), 14);
    QCOMPARE(find.status->text(), QString());
    find.controller.findNext();
    QCOMPARE(find.matchStart(), 4);
    QCOMPARE(find.status->text(), u"Wrapped"_s);
    find.controller.findNext();
    QCOMPARE(find.status->text(), QString());

    find.field->setText(u"four"_s);
    find.controller.findNext();
    QCOMPARE(find.status->text(), u"No match"_s);
    QCOMPARE(find.match(), u"two"_s);
    find.field->clear();
    find.status->clear();
    find.controller.findNext();
    QCOMPARE(find.status->text(), u"No match"_s);
}

void TestFindController::returnInTheFieldSearches()
{
    FindWindow find;
    find.field->setText(u"three"_s);
    QTest::keyClick(find.field, Qt::Key_Return);
    QCOMPARE(find.match(), u"three"_s);
}

void TestFindController::commandSearchesForTheTextOfTheField()
{
    FindWindow find;
    QVERIFY(find.show());
    find.field->setText(u"two"_s);
    find.view->setFocus();
    find.controller.findFromField();
    QVERIFY(find.field->hasFocus());
    QCOMPARE(find.field->selectedText(), u"two"_s);
    QCOMPARE(find.matchStart(), 4);
}

void TestFindController::commandOnlyGoesToAnEmptyField()
{
    FindWindow find;
    QVERIFY(find.show());
    find.view->setFocus();
    find.status->setText(u"Wrapped"_s);
    find.controller.findFromField();
    QVERIFY(find.field->hasFocus());
    QCOMPARE(find.status->text(), u"Wrapped"_s);
}

void TestFindController::statusIsCleared()
{
    FindWindow find;
    find.controller.findNext();
    QVERIFY(!find.status->text().isEmpty());
    find.controller.clearStatus();
    QCOMPARE(find.status->text(), QString());
}

void TestFindController::statusHasRoomForEveryTextInEachLanguage()
{
    FindWindow find;
    QVERIFY(find.show());
    InterfaceLanguage language(InterfaceLanguage::catalogueDirectories());
    for (const QString &code : {u"en"_s, u"ar"_s}) {
        language.set(code);
        find.controller.reserveStatusWidth();
        for (const int pointSize : {8, 30, 11}) {
            QFont font = find.window.font();
            font.setPointSize(pointSize);
            find.window.setFont(font);
            int widest = 0;
            for (const QString &text : {u"four"_s, u"one"_s}) {
                find.field->setText(text);
                find.controller.findNext();
                find.controller.findNext();
                QVERIFY(!find.status->text().isEmpty());
                widest = std::max(widest, find.status->sizeHint().width());
            }
            QCOMPARE(find.status->minimumWidth(), widest);
        }
    }
}

void TestFindController::everyStatusIsToldAlsoTheSameAgain()
{
    FindWindow find;
    QStringList told;
    connect(&find.controller, &FindController::statusShown, &find.controller,
            [&told](const StatusMessage &status) { told.append(status.text()); });
    find.field->setText(u"four"_s);
    find.controller.findNext();
    find.controller.findNext();
    QCOMPARE(told, QStringList({u"No match"_s, u"No match"_s}));
    // A match is told by the view that shows it.
    find.field->setText(u"three"_s);
    find.controller.findNext();
    QCOMPARE(told.size(), 2);
    find.controller.findNext();
    QCOMPARE(told.mid(2), QStringList(u"Wrapped"_s));
    find.controller.clearStatus();
    QCOMPARE(told.size(), 3);
}

/// Some platforms erase a letter with it.
void TestFindController::theKeyThatClosesTheInputErasesNothing()
{
    FindWindow find;
    find.field->setText(u"text"_s);
    find.field->setCursorPosition(0);
    QTest::keyClick(find.field, Qt::Key_D, Qt::ControlModifier);
    QCOMPARE(find.field->pressed, QList<QKeyCombination>());
    QCOMPARE(find.field->text(), u"text"_s);
    QTest::keyClick(find.field, Qt::Key_D);
    QTest::keyClick(find.field, Qt::Key_E, Qt::ControlModifier);
    QTest::keyClick(find.field, Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(find.field->pressed, QList<QKeyCombination>({Qt::Key_D, Qt::CTRL | Qt::Key_E,
                                                          Qt::CTRL | Qt::SHIFT | Qt::Key_D}));
    QVERIFY(find.field->text().startsWith(u'd'));
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestFindController))
#include "tst_findcontroller.moc"
