#include "textlayout/textpieces.h"

#include "support/testregistry.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// The pieces that a long text is cut into before it is shaped.
class TestTextPieces : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theyCoverALongText_data();
    void theyCoverALongText();
    void whatIsShortIsNotCut();
};

void TestTextPieces::theyCoverALongText_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("Latin") << u"words of a text "_s.repeated(1000);
    QTest::newRow("Arabic") << u"كلمات من نص "_s.repeated(1000);
    QTest::newRow("no blanks") << u"\u4E2D\u6587"_s.repeated(5000);
}

void TestTextPieces::theyCoverALongText()
{
    QFETCH(QString, text);
    const auto pieces = piecesAtBlanks(text);
    QVERIFY(pieces.size() > 3);
    int position = 0;
    for (const QTextLayout::FormatRange &piece : pieces) {
        QCOMPARE(piece.start, position);
        QVERIFY(piece.length > 0);
        position += piece.length;
    }
    QCOMPARE(position, int(text.size()));
}

void TestTextPieces::whatIsShortIsNotCut()
{
    QVERIFY(piecesAtBlanks(QString()).isEmpty());
    QVERIFY(piecesAtBlanks(u"words of a text"_s).isEmpty());
    QVERIFY(piecesBetween({0}, 100).isEmpty());
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestTextPieces))

#include "tst_textpieces.moc"
