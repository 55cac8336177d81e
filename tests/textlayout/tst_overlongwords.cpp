#include "textlayout/overlongwords.h"

#include "support/testregistry.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestOverlongWords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWordOfEachPosition_data();
    void theWordOfEachPosition();
};

void TestOverlongWords::theWordOfEachPosition_data()
{
    QTest::addColumn<QString>("text");
    // The ends of the overlong words that are found from the start on, one after the other.
    QTest::addColumn<QList<int>>("begins");
    QTest::addColumn<QList<int>>("ends");
    const QString word(600, u'x');
    QTest::newRow("nothing") << QString() << QList<int>() << QList<int>();
    QTest::newRow("short words") << u"some words "_s.repeated(500) << QList<int>() << QList<int>();
    QTest::newRow("the shortest") << QString(512, u'x') << QList<int>{0} << QList<int>{512};
    QTest::newRow("one character less") << QString(511, u'x') << QList<int>() << QList<int>();
    QTest::newRow("within others") << QString(u"a " + word + u" b " + word + u"   ")
                                   << QList<int>{2, 605} << QList<int>{602, 1205};
    QTest::newRow("other boundaries than blanks")
        << QString(u"漢字"_s.repeated(500) + word + u'\t' + word) << QList<int>{1000, 1601}
        << QList<int>{1600, 2201};
    QTest::newRow("soft hyphens") << u"hyphen\u00AD"_s.repeated(200) << QList<int>()
                                  << QList<int>();
    QTest::newRow("up to a no-break space")
        << QString(word + u'\u00A0' + word) << QList<int>{0} << QList<int>{600};
}

void TestOverlongWords::theWordOfEachPosition()
{
    QFETCH(QString, text);
    QFETCH(QList<int>, begins);
    QFETCH(QList<int>, ends);
    const OverlongWords words(text);
    qsizetype found = 0;
    for (int position = 0; position < text.size(); ++position) {
        if (found < ends.size() && position == ends[found])
            ++found;
        const bool inside = found < begins.size() && position >= begins[found];
        QCOMPARE(words.endAt(position), inside ? ends[found] : position);
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestOverlongWords))

#include "tst_overlongwords.moc"
