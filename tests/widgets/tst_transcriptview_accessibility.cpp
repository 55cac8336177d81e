#include "widgets/transcriptview.h"

#include "support/testregistry.h"
#include "widgets/shownview.h"

#include <QAccessible>
#include <QTest>
#include <QTextDocument>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// What a text widget tells assistive technology: for every change of its document, how much was
/// taken away and the text that is there now. Recorded at the document, because the events
/// themselves are only sent on a desktop where a screen reader runs.
class Announcements
{
public:
    explicit Announcements(const QTextDocument *document)
        : m_document(document)
    {
        QObject::connect(document, &QTextDocument::contentsChange, &m_context,
                         [this](int from, int removed, int added) { add(from, removed, added); });
    }

    QString inserted;
    int removed = 0;
    int events = 0;

private:
    void add(int from, int charactersRemoved, int charactersAdded)
    {
        ++events;
        removed += charactersRemoved;
        inserted += QStringView(m_document->toRawText()).mid(from, charactersAdded);
    }

    const QTextDocument *m_document;
    QObject m_context;
};

/// The announced text without what ends blocks, which is announced together with its neighbours.
QString words(QString text)
{
    return text.remove(QChar::ParagraphSeparator);
}

} // namespace

/// A screen reader reads out what changes: that must be what the program printed, not everything.
class TestTranscriptViewAccessibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anAppendAnnouncesOnlyWhatIsNew_data();
    void anAppendAnnouncesOnlyWhatIsNew();
    void anExtensionAnnouncesOnlyWhatIsNew();
    void aParagraphThatTurnsIsNotAnnouncedAgain();
    void refreshAloneAnnouncesNothing();
    void aChangeOfDirectionAnnouncesNothing();
    void theWholeTextCanBeRead();
};

void TestTranscriptViewAccessibility::anAppendAnnouncesOnlyWhatIsNew_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QString>("added");
    const QByteArray lines = numberedLines(1, 500);
    const QByteArray open = lines + "open";
    QTest::newRow("a line") << lines << u"next\n"_s;
    QTest::newRow("an unfinished line") << lines << u"next"_s;
    QTest::newRow("a right-to-left line") << lines << u"مرحبا\n"_s;
    QTest::newRow("lines of both directions") << lines << u"one\nمرحبا\ntwo\n"_s;
    QTest::newRow("to a line") << open << u" line\n"_s;
    QTest::newRow("to a line, and more") << open << u" line\nمرحبا\nmore"_s;
}

void TestTranscriptViewAccessibility::anAppendAnnouncesOnlyWhatIsNew()
{
    QFETCH(QByteArray, before);
    QFETCH(QString, added);
    ShownView shown;
    shown.print(before);
    const Announcements announced(shown.view.document());
    shown.print(added.toUtf8());
    QCOMPARE(words(announced.inserted), QString(added).remove(u'\n'));
    // The empty last block may change its format; nothing else is taken away.
    QVERIFY(announced.removed <= announced.events);
}

void TestTranscriptViewAccessibility::anExtensionAnnouncesOnlyWhatIsNew()
{
    ShownView shown;
    shown.print("open", TranscriptStream::StandardOutput);
    shown.print(numberedLines(1, 500), TranscriptStream::StandardError);
    const Announcements announced(shown.view.document());
    shown.print(" line", TranscriptStream::StandardOutput);
    QCOMPARE(announced.inserted, u" line"_s);
    QCOMPARE(announced.removed, 0);
    QCOMPARE(announced.events, 1);
}

void TestTranscriptViewAccessibility::aParagraphThatTurnsIsNotAnnouncedAgain()
{
    ShownView shown;
    shown.print("12", TranscriptStream::StandardOutput);
    shown.print(numberedLines(1, 500), TranscriptStream::StandardError);
    const Announcements announced(shown.view.document());
    shown.print(" \xD9\x85", TranscriptStream::StandardOutput);
    QCOMPARE(sides(shown.view).left(2), u"RL"_s);
    QCOMPARE(announced.inserted, u" م"_s);
    QCOMPARE(announced.removed, 0);
    QCOMPARE(announced.events, 1);
}

void TestTranscriptViewAccessibility::refreshAloneAnnouncesNothing()
{
    ShownView shown;
    shown.print(numberedLines(1, 100));
    const Announcements announced(shown.view.document());
    shown.view.refresh();
    QCOMPARE(announced.events, 0);
}

void TestTranscriptViewAccessibility::aChangeOfDirectionAnnouncesNothing()
{
    ShownView shown;
    shown.print("one\ntwo\n");
    const Announcements announced(shown.view.document());
    shown.view.setContentDirection(ContentDirection::RightToLeft);
    QCOMPARE(sides(shown.view).left(2), u"RR"_s);
    QCOMPARE(announced.events, 0);
}

void TestTranscriptViewAccessibility::theWholeTextCanBeRead()
{
    ShownView shown;
    shown.print(numberedLines(1, 3000));
    QAccessibleInterface *view = QAccessible::queryAccessibleInterface(&shown.view);
    QVERIFY(view);
    QAccessibleTextInterface *text = view->textInterface();
    QVERIFY(text);
    const QString document = shown.transcript.documentText();
    QCOMPARE(text->characterCount(), document.size());
    QCOMPARE(text->text(0, 6), u"line 1"_s);
    // Also of text that nobody has looked at yet.
    const int last = int(document.size()) - 2;
    QVERIFY(!text->characterRect(last).isEmpty());
    QVERIFY(text->characterRect(last).top() > text->characterRect(0).top());
    QVERIFY(view->state().readOnly);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestTranscriptViewAccessibility))

#include "tst_transcriptview_accessibility.moc"
