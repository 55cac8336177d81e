#include "support/testregistry.h"
#include "window/namefilters.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

class TestNameFilters : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void patternsBecomeAscii_data();
    void patternsBecomeAscii();
    void patternsMatchTheSameNames_data();
    void patternsMatchTheSameNames();
};

void TestNameFilters::patternsBecomeAscii_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("native");
    QTest::newRow("all") << u"All files (*)"_s << u"All files (*)"_s;
    QTest::newRow("Latin") << u"TARN source (*.tarn)"_s << u"TARN source (*.tarn)"_s;
    QTest::newRow("both") << u"TARN source (*.tarn *.ترن)"_s
                          << u"TARN source (*.tarn *.[!!-~][!!-~][!!-~])"_s;
    QTest::newRow("names stay") << u"ملفات (مصدر) (*.ت)"_s << u"ملفات (مصدر) (*.[!!-~])"_s;
    QTest::newRow("beyond 16 bits") << u"Face (*.😀)"_s << u"Face (*.[!!-~])"_s;
    QTest::newRow("the first that is not ASCII") << u"(*.\u0080\u007F)"_s << u"(*.[!!-~]\u007F)"_s;
    QTest::newRow("patterns alone") << u"*.ت"_s << u"*.ت"_s;
    QTest::newRow("nothing") << QString() << QString();
}

void TestNameFilters::patternsBecomeAscii()
{
    QFETCH(QString, filter);
    QFETCH(QString, native);
    QCOMPARE(nativeNameFilters({filter}), QStringList{native});
}

void TestNameFilters::patternsMatchTheSameNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("matches");
    QTest::newRow("ours") << u"برنامج.ترن"_s << true;
    QTest::newRow("Latin name") << u"program.ترن"_s << true;
    QTest::newRow("text") << u"برنامج.txt"_s << false;
    QTest::newRow("shorter") << u"برنامج.تر"_s << false;
    QTest::newRow("longer") << u"برنامج.ترنن"_s << false;
    QTest::newRow("none") << u"برنامج"_s << false;
}

void TestNameFilters::patternsMatchTheSameNames()
{
    QFETCH(QString, name);
    const QString native = nativeNameFilters({u"(*.ترن)"_s}).constFirst();
    const QString pattern = native.mid(1, native.size() - 2);
    const auto expression = QRegularExpression::fromWildcard(pattern);
    QVERIFY(expression.isValid());
    QTEST(expression.match(name).hasMatch(), "matches");
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestNameFilters))
#include "tst_namefilters.moc"
