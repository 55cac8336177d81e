#include "window/pathmarks.h"

#include "support/testregistry.h"
#include "window/statusmessage.h"
#include "window/statustexts.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// What keeps the parts of paths and messages in order on the screen, and nowhere else.
class TestPathMarks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMarkFollowsWhereFoldersCouldChangePlaces_data();
    void aMarkFollowsWhereFoldersCouldChangePlaces();
    void beginningsAreMarkedAsInTheWhole();
    void statusesMarkPaths();
    void theUnavailableInterpreterIsDrawnInTwoDirections();
};

void TestPathMarks::aMarkFollowsWhereFoldersCouldChangePlaces_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("marked");
    const auto unchanged = [](const char *name, const QString &path) {
        QTest::newRow(name) << path << path;
    };
    unchanged("empty", {});
    unchanged("Latin", u"/tmp/a/b.tarn"_s);
    unchanged("one Arabic folder", u"/tmp/أ"_s);
    QTest::newRow("neighbours") << u"/tmp/أ/ب/ج.ترن"_s << u"/tmp/أ/\u200Eب/\u200Eج.ترن"_s;
    QTest::newRow("Hebrew") << u"/א/ב"_s << u"/א/\u200Eב"_s;
    QTest::newRow("digits") << u"/أ/1/ب"_s << u"/أ/\u200E1/ب"_s;
    QTest::newRow("blanks") << u"/أ /ب"_s << u"/أ /\u200Eب"_s;
    QTest::newRow("beyond the BMP")
        << u"/\U0001E900/\U0001E901"_s << u"/\U0001E900/\u200E\U0001E901"_s;
    QTest::newRow("in a message") << u"Unusable: /أ/ب"_s << u"Unusable: /أ/\u200Eب"_s;
}

void TestPathMarks::aMarkFollowsWhereFoldersCouldChangePlaces()
{
    QFETCH(QString, path);
    QFETCH(QString, marked);
    QCOMPARE(withPathMarks(path), marked);
}

void TestPathMarks::beginningsAreMarkedAsInTheWhole()
{
    const QString path = u"/tmp/أ/ب/c/د/1/هـ/"_s;
    for (qsizetype length = 0; length <= path.size(); ++length)
        QVERIFY(withPathMarks(path).startsWith(withPathMarks(path.first(length))));
}

void TestPathMarks::statusesMarkPaths()
{
    const StatusMessage message{u"Missing: %1"_s, u"/أ/ب"_s};
    QCOMPARE(message.text(), u"Missing: /أ/ب"_s);
    QCOMPARE(message.isolatedText(), u"Missing: \u2066/أ/\u200Eب\u2069"_s);
}

void TestPathMarks::theUnavailableInterpreterIsDrawnInTwoDirections()
{
    const StatusMessage message = StatusTexts::interpreterUnavailable(u"Why"_s);
    QCOMPARE(message.text(), u"TARN executable is unavailable. Choose TARN / اختر TARN. Why"_s);
    QCOMPARE(
        message.isolatedText(),
        u"TARN executable is unavailable. Choose TARN / \u2067اختر TARN\u2069. \u2068Why\u2069"_s);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestPathMarks))
#include "tst_pathmarks.moc"
