#include "support/testregistry.h"
#include "widgets/clipboardoffer.h"
#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QMenu>
#include <QMimeData>
#include <QProcess>
#include <QTest>
#include <QUrl>

#include <csignal>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Qt itself waits for 5 seconds for a clipboard that does not answer, and for each question anew.
/// Who gets through in less has not waited.
constexpr int lessThanQtWaits = 4'000;

/// What a third application is given.
QByteArray clipboardText(const QString &format)
{
    QProcess reader;
    reader.start(u"xclip"_s, {u"-selection"_s, u"clipboard"_s, u"-out"_s, u"-target"_s, format});
    reader.waitForFinished();
    return reader.readAllStandardOutput();
}

/// Another application that has the clipboard. The events that tell of it wait meanwhile.
class ClipboardOwner
{
public:
    /// Offers the text in one format; in those of text when it is empty.
    explicit ClipboardOwner(const QByteArray &text, const QString &format = {})
    {
        // Nobody would answer for us while we wait.
        QApplication::clipboard()->clear();
        QStringList arguments{u"-selection"_s, u"clipboard"_s, u"-in"_s, u"-quiet"_s};
        if (!format.isEmpty())
            arguments += {u"-target"_s, format};
        m_process.start(u"xclip"_s, arguments);
        m_process.write(text);
        m_process.closeWriteChannel();
        m_process.waitForBytesWritten();
        const QString asked = format.isEmpty() ? u"UTF8_STRING"_s : format;
        const QDeadlineTimer end(patience);
        while (clipboardText(asked) != text && !end.hasExpired()) {
        }
    }
    ~ClipboardOwner()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(ClipboardOwner)

    void stop() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGSTOP); }
    void goOn() const { ::kill(static_cast<pid_t>(m_process.processId()), SIGCONT); }

private:
    QProcess m_process;
};

bool hasText()
{
    const QMimeData *content = QApplication::clipboard()->mimeData();
    return content && content->hasText();
}

} // namespace

/// Paste follows the clipboard, whoever has it, and nothing waits for whoever has it.
class TestConsoleWindowClipboard : public QObject
{
    Q_OBJECT

private:
    static bool hasOtherClients() { return QGuiApplication::platformName() == "xcb"_L1; }

private Q_SLOTS:
    void pasteFollowsOurOwnClipboard_data();
    void pasteFollowsOurOwnClipboard();
    void pasteFollowsAnotherApplication_data();
    void pasteFollowsAnotherApplication();
    void pasteIsDisabledWhenTheOwnerEnds();
    void aSilentOwnerHoldsNothingUp();
    void aWindowMayOpenWhileTheOwnerIsSilent();
    void aPasteComesWhenTheOwnerAnswers();
    void aPasteIsForgotten_data();
    void aPasteIsForgotten();
};

void TestConsoleWindowClipboard::pasteFollowsOurOwnClipboard_data()
{
    QTest::addColumn<QString>("format");
    QTest::addColumn<bool>("isText");
    QTest::newRow("text") << u"text/plain"_s << true;
    QTest::newRow("files") << u"text/uri-list"_s << true;
    QTest::newRow("HTML alone") << u"text/html"_s << false;
    QTest::newRow("nothing") << QString() << false;
    QTest::newRow("bytes") << u"application/octet-stream"_s << false;
}

void TestConsoleWindowClipboard::pasteFollowsOurOwnClipboard()
{
    QFETCH(QString, format);
    QFETCH(bool, isText);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    for (const bool before : {true, false}) {
        if (before)
            QApplication::clipboard()->setText(u"before"_s);
        else
            QApplication::clipboard()->setMimeData(new QMimeData);
        QCOMPARE(fixture.action("pasteAction")->isEnabled(), before);
        auto *data = new QMimeData;
        if (!format.isEmpty())
            data->setData(format, "file:///tmp\r\n"_ba);
        QApplication::clipboard()->setMimeData(data);
        QCOMPARE(hasText(), isText);
        QCOMPARE(fixture.action("pasteAction")->isEnabled(), isText);
    }
}

void TestConsoleWindowClipboard::pasteFollowsAnotherApplication_data()
{
    QTest::addColumn<QString>("format");
    for (const char *format :
         {"", "UTF8_STRING", "STRING", "text/plain", "text/uri-list", "text/x-moz-url",
          "text/plain;charset=utf-8", "text/html", "image/png", "x"})
        QTest::addRow("%s", format) << QString::fromLatin1(format);
}

void TestConsoleWindowClipboard::pasteFollowsAnotherApplication()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    QFETCH(QString, format);
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    for (const bool before : {true, false}) {
        const ClipboardOwner earlier("before", before ? QString() : u"image/png"_s);
        QTRY_COMPARE(fixture.action("pasteAction")->isEnabled(), before);
        const ClipboardOwner owner("text", format);
        const bool isText = hasText();
        QTRY_COMPARE(fixture.action("pasteAction")->isEnabled(), isText);
    }
    QTRY_VERIFY(!fixture.action("pasteAction")->isEnabled());
}

void TestConsoleWindowClipboard::pasteIsDisabledWhenTheOwnerEnds()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    {
        const ClipboardOwner owner("text");
        QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
        owner.stop();
    }
    QTRY_VERIFY(!fixture.action("pasteAction")->isEnabled());
}

void TestConsoleWindowClipboard::aSilentOwnerHoldsNothingUp()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    const ClipboardOwner owner("text");
    owner.stop();
    QElapsedTimer took;
    took.start();
    fixture.trigger("runAction");
    QTRY_VERIFY(fixture.action("stopAction")->isEnabled());
    QTRY_VERIFY(fixture.draft()->isEnabled());
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
    fixture.trigger("zoomInAction");
    fixture.trigger("focusTranscriptAction");
    fixture.draft()->setPlainText(u"line"_s);
    fixture.trigger("sendAction");
    QTRY_COMPARE(fixture.inputStatus(), u"Input sent."_s);
    std::unique_ptr<QMenu> menu(fixture.draft()->createStandardContextMenu());
    QVERIFY(fixture.draft()->canPaste());
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
    QCOMPARE(fixture.runStatus(), u"Program stopped by user"_s);
    QVERIFY2(took.elapsed() < lessThanQtWaits, qPrintable(QString::number(took.elapsed())));
}

void TestConsoleWindowClipboard::aWindowMayOpenWhileTheOwnerIsSilent()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    const ClipboardOwner owner("text");
    owner.stop();
    QElapsedTimer took;
    took.start();
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QVERIFY(fixture.action("pasteAction")->isEnabled());
    QVERIFY2(took.elapsed() < lessThanQtWaits, qPrintable(QString::number(took.elapsed())));
    owner.goOn();
    fixture.trigger("pasteAction");
    QTRY_COMPARE(fixture.window->draftText(), u"text"_s);
}

void TestConsoleWindowClipboard::aPasteComesWhenTheOwnerAnswers()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    const ClipboardOwner owner("text");
    owner.stop();
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QElapsedTimer took;
    took.start();
    QTRY_VERIFY(fixture.window->findChild<ClipboardOffer *>()->isSilent());
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.focus(), u"inputDraft"_s);
    fixture.trigger("stopAction");
    QVERIFY(fixture.waitForEnd());
    QVERIFY2(took.elapsed() < lessThanQtWaits, qPrintable(QString::number(took.elapsed())));
    QVERIFY(fixture.run());
    fixture.trigger("pasteAction");
    QCOMPARE(fixture.window->draftText(), QString());
    owner.goOn();
    QTRY_COMPARE(fixture.window->draftText(), u"text"_s);
}

void TestConsoleWindowClipboard::aPasteIsForgotten_data()
{
    QTest::addColumn<bool>("byAKey");
    QTest::newRow("after another key") << true;
    QTest::newRow("when the clipboard has another owner") << false;
}

void TestConsoleWindowClipboard::aPasteIsForgotten()
{
    if (!hasOtherClients())
        QSKIP("only X11 has other applications here");
    QFETCH(bool, byAKey);
    const ClipboardOwner owner("text");
    owner.stop();
    const ConsoleWindowFixture fixture("wait-forever");
    QVERIFY(fixture.show());
    QVERIFY(fixture.run());
    QTRY_VERIFY(fixture.window->findChild<ClipboardOffer *>()->isSilent());
    fixture.trigger("pasteAction");
    const QString typed = byAKey ? u"x"_s : QString();
    if (byAKey)
        fixture.type(typed);
    const ClipboardOwner other("image", u"image/png"_s);
    QTRY_VERIFY(!hasText());
    QTRY_VERIFY(!fixture.action("pasteAction")->isEnabled());
    owner.goOn();
    QApplication::clipboard()->setText(u"ours"_s);
    QTRY_VERIFY(fixture.action("pasteAction")->isEnabled());
    QCOMPARE(fixture.window->draftText(), typed);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestConsoleWindowClipboard))
#include "tst_consolewindow_clipboard.moc"
