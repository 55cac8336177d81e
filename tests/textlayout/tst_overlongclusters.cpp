#include "textlayout/overlongclusters.h"

#include "support/testregistry.h"
#include "textlayout/linebreaker.h"

#include <QTest>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

using Piece = std::pair<int, int>; ///< start and length, in code units

const QString acute = u"\u0301"_s;

} // namespace

class TestOverlongClusters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void clustersAreShapedApart_data();
    void clustersAreShapedApart();
    void marksShapedApartTakeTheSameLines();
};

void TestOverlongClusters::clustersAreShapedApart_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QList<Piece>>("pieces");
    const QString musicalStem = u"\U0001D165"_s;
    QTest::newRow("nothing") << QString() << QList<Piece>();
    QTest::newRow("no marks") << u"x"_s.repeated(1000) << QList<Piece>();
    QTest::newRow("many, each on its own")
        << QString(u'e' + acute).repeated(1000) << QList<Piece>();
    QTest::newRow("as many as may be one") << QString(u'e' + acute.repeated(63)) << QList<Piece>();
    QTest::newRow("one more") << QString(u'e' + acute.repeated(64)) << QList<Piece>{{0, 65}};
    QTest::newRow("without a letter") << acute.repeated(64) << QList<Piece>{{0, 64}};
    QTest::newRow("three pieces, the last without an end")
        << QString(u"abc"_s + acute.repeated(150) + u"def"_s) << QList<Piece>{{2, 65}, {67, 64}};
    QTest::newRow("twice") << QString(u'a' + acute.repeated(64) + u'b' + acute.repeated(64))
                           << QList<Piece>{{0, 65}, {65, 65}};
    QTest::newRow("after a pair") << QString(u"😀"_s + acute.repeated(64)) << QList<Piece>{{0, 66}};
    QTest::newRow("marks that are pairs")
        << QString(u'a' + musicalStem.repeated(100)) << QList<Piece>{{0, 129}};
    QTest::newRow("stacked letters")
        << QString(u"\u1780\u17D2"_s.repeated(40) + u'\u1780') << QList<Piece>{{0, 65}};
    QTest::newRow("joined emoji") << QString(u"\U0001F468\u200D"_s.repeated(40))
                                  << QList<Piece>{{0, 98}};
    QTest::newRow("words of stacked letters")
        << QString(u"\u0915\u094D\u0937"_s.repeated(200)) << QList<Piece>();
    QTest::newRow("half a pair") << QString(QChar(0xD800) + acute.repeated(64))
                                 << QList<Piece>{{0, 65}};
}

void TestOverlongClusters::clustersAreShapedApart()
{
    QFETCH(QString, text);
    QFETCH(QList<Piece>, pieces);
    QTextLayout layout(text);
    layout.setFormats(overlongClusterPieces(text));
    QList<Piece> actual;
    for (const QTextLayout::FormatRange &range : layout.formats())
        actual.append({range.start, range.length});
    QCOMPARE(actual, pieces);
    QCOMPARE(hasOverlongClusters(text), !pieces.isEmpty());
}

void TestOverlongClusters::marksShapedApartTakeTheSameLines()
{
    const QString text = QString(u"word and word"_s + acute.repeated(200) + u' ').repeated(20);
    const QTextOption option;
    QTextLayout whole(text);
    const ParagraphSize expected = breakIntoLines(&whole, text, option, 300);
    QTextLayout apart(text);
    apart.setFormats(overlongClusterPieces(text));
    const ParagraphSize actual = breakIntoLines(&apart, text, option, 300);
    QCOMPARE(actual.height, expected.height);
    QCOMPARE(apart.lineCount(), whole.lineCount());
    for (int line = 0; line < whole.lineCount(); ++line)
        QCOMPARE(apart.lineAt(line).textStart(), whole.lineAt(line).textStart());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestOverlongClusters))

#include "tst_overlongclusters.moc"
