#include "widgets/readingplace.h"

#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"

#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// A text on the lazy layout, and its reader.
struct ReadText
{
    explicit ReadText(const QString &text = u"short\n"_s.repeated(200))
    {
        edit.document()->setDocumentLayout(layout);
        edit.resize(300, 200);
        edit.show();
        if (!QTest::qWaitForWindowExposed(&edit))
            qFatal("the window does not show");
        // Nothing is waited for from here on, and so no height becomes known by itself.
        edit.setPlainText(text);
        bar->setValue(bar->maximum());
    }

    void append()
    {
        QTextCursor cursor(edit.document());
        cursor.movePosition(QTextCursor::End);
        cursor.insertText(u"short\n"_s.repeated(10));
    }

    QTextEdit edit{};
    LazyDocumentLayout *layout = new LazyDocumentLayout(edit.document(), edit.viewport());
    ReadingPlace place{&edit, layout};
    QScrollBar *bar = edit.verticalScrollBar();
};

} // namespace

class TestReadingPlace : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whoFollowsTheEndStaysThereWhateverGrows();
    void whoWasShownSomethingElseIsLeftThere();
    void whoWasShownTheEndIsLeftThere();
    void aLookAroundElsewhereMakesNobodyFollowTheEnd();
};

void TestReadingPlace::whoFollowsTheEndStaysThereWhateverGrows()
{
    ReadText read;
    const int maximum = read.bar->maximum();
    read.append();
    QVERIFY(read.bar->maximum() > maximum);
    QVERIFY(read.place.isAtEnd());
}

/// Although the end is followed, and nobody has said that the text would grow.
void TestReadingPlace::whoWasShownSomethingElseIsLeftThere()
{
    ReadText read;
    const int value = read.bar->maximum() / 2;
    read.place.visit([&] { read.bar->setValue(value); });
    read.append();
    QCOMPARE(read.bar->value(), value);
}

/// Although it is not followed.
void TestReadingPlace::whoWasShownTheEndIsLeftThere()
{
    ReadText read;
    read.bar->setValue(read.bar->maximum() / 2);
    const int value = read.bar->maximum();
    read.place.visit([&] { read.bar->setValue(value); });
    read.append();
    QVERIFY(read.bar->maximum() > value);
    QCOMPARE(read.bar->value(), value);
}

/// Not even where the text turns out to be so short that the reader's place is behind its end.
void TestReadingPlace::aLookAroundElsewhereMakesNobodyFollowTheEnd()
{
    // Stacked letters, which take far less room than the guess.
    ReadText read(QString(u"\u1780\u17D2"_s.repeated(500) + u'\n').repeated(100)
                  + u"short\n"_s.repeated(20));
    QVERIFY(!read.layout->isExact());
    read.bar->setValue(read.bar->maximum() - 5);
    QVERIFY(!read.place.isAtEnd());
    const int maximum = read.bar->maximum();
    read.place.measureAround(read.edit.document()->findBlockByNumber(50).position());
    QVERIFY(read.bar->maximum() < maximum);
    QVERIFY(!read.place.isAtEnd());
    read.place.keep([&read] { read.append(); });
    QVERIFY(!read.place.isAtEnd());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestReadingPlace))

#include "tst_readingplace.moc"
