#include "support/testregistry.h"
#include "transcript/incrementaloutputdecoder.h"
#include "transcript/visibleescape.h"
#include "window/visibletext.h"

#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// Line ends, what Unicode ignores by default, and annotations; but for joiners and the style of
/// emoji, which change how their neighbours look.
bool isNeverSeen(uint codePoint)
{
    if (codePoint == 0x200C || codePoint == 0x200D || codePoint == 0xFE0E || codePoint == 0xFE0F)
        return false;
    for (const uint single : {0xADu, 0x34Fu, 0x61Cu, 0x3164u, 0xFEFFu, 0xFFA0u}) {
        if (codePoint == single)
            return true;
    }
    for (const auto &[first, last] :
         {std::pair(0x115Fu, 0x1160u), std::pair(0x17B4u, 0x17B5u), std::pair(0x180Bu, 0x180Fu),
          std::pair(0x200Bu, 0x200Fu), std::pair(0x2028u, 0x202Eu), std::pair(0x2060u, 0x206Fu),
          std::pair(0xFE00u, 0xFE0Fu), std::pair(0xFFF0u, 0xFFFBu), std::pair(0x1BCA0u, 0x1BCA3u),
          std::pair(0x1D173u, 0x1D17Au), std::pair(0xE0000u, 0xE0FFFu)}) {
        if (first <= codePoint && codePoint <= last)
            return true;
    }
    return false;
}

/// The lines of a tip, without what surrounds them.
QStringList linesOf(QString tip)
{
    const qsizetype start = tip.indexOf(u'>') + 1;
    tip = tip.sliced(start, tip.size() - start - "</div>"_L1.size());
    return tip.split(u"<br>"_s);
}

} // namespace

/// Texts of others as labels and tips show them.
class TestVisibleText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void labelsEscapeWhatTheOutputEscapes();
    void nothingElseIsLost();
    void shortTextsStayWhole();
    void longTextsKeepMoreOfTheirEnd();
    void noCharacterIsCutInHalf();
    void aTipIsRichTextThatShowsPlainText();
    void aTipOfAPathBeginsAtItsRoot();
    void linesOfATipEndBehindFolders();
    void aLineOfATipIsAlmostFull();
    void namesWithoutFoldersAreCutAnywhere();
    void theLongestTip();
};

/// Line ends and characters that are drawn as nothing too, which the output keeps.
void TestVisibleText::labelsEscapeWhatTheOutputEscapes()
{
    for (uint codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        if (QChar::isSurrogate(codePoint))
            continue;
        const auto units = QChar::fromUcs4(codePoint);
        const QString text = u"a"_s + QStringView(units).toString() + u'b';
        const bool escaped = isShownAsEscape(codePoint) || isNeverSeen(codePoint);
        const QString expected =
            escaped ? u"a"_s + IncrementalOutputDecoder::codePointEscape(codePoint) + u'b' : text;
        if (visibleText(text) != expected)
            QFAIL(qPrintable(u"U+%1: %2"_s.arg(codePoint, 4, 16).arg(visibleText(text))));
    }
    for (const QString &needed : {u"می\u200Cخواهم.ترن"_s, u"ه\u200D"_s, u"👩\u200D💻❤\uFE0F"_s})
        QCOMPARE(visibleText(needed), needed);
    const QString loneHalves = QString(QChar(0xDE00)) + u'x' + QChar(0xD83D);
    QCOMPARE(visibleText(loneHalves), loneHalves);
    QCOMPARE(visibleText(loneHalves + u'\n'), loneHalves + u"\\u{000A}"_s);
}

void TestVisibleText::nothingElseIsLost()
{
    QCOMPARE(visibleText(QString()), QString());
    QCOMPARE(visibleText(u"a\nb\n"_s), u"a\\u{000A}b\\u{000A}"_s);
    QCOMPARE(visibleText(u"\U000E0041x"_s), u"\\u{E0041}x"_s);
    QCOMPARE(visibleText(u"😀\u202E😀"_s), u"😀\\u{202E}😀"_s);
}

void TestVisibleText::shortTextsStayWhole()
{
    QCOMPARE(shortenedText(QString(), 0), QString());
    QCOMPARE(shortenedText(u"123456789"_s, 9), u"123456789"_s);
    QCOMPARE(shortenedText(u"123456789"_s, 10), u"123456789"_s);
}

void TestVisibleText::longTextsKeepMoreOfTheirEnd()
{
    QCOMPARE(shortenedText(u"1234567890"_s, 9), u"123…67890"_s);
    QCOMPARE(shortenedText(u"12345678901234"_s, 9), u"123…01234"_s);
    QCOMPARE(shortenedText(u"1234567890"_s, 1), u"…"_s);
}

void TestVisibleText::noCharacterIsCutInHalf()
{
    // The first half of one would be the last of the beginning, the second half the first of the
    // end.
    QCOMPARE(shortenedText(u"12😀4567890"_s, 9), u"12…567890"_s);
    QCOMPARE(shortenedText(u"12345😀7890"_s, 9), u"123…😀7890"_s);
    QCOMPARE(shortenedText(u"1234567890😀"_s, 2), u"…😀"_s);
}

void TestVisibleText::aTipIsRichTextThatShowsPlainText()
{
    QCOMPARE(visibleToolTip(u"a <b> & \"c\"  d"_s),
             u"<div style=\"white-space:pre\">a &lt;b&gt; &amp; &quot;c&quot;  d</div>"_s);
    QCOMPARE(visibleToolTip(u"a\nb"_s), u"<div style=\"white-space:pre\">a\\u{000A}b</div>"_s);
    QVERIFY(Qt::mightBeRichText(visibleToolTip(u"plain"_s)));
}

void TestVisibleText::aTipOfAPathBeginsAtItsRoot()
{
    QCOMPARE(visibleToolTip(u"/أ/ب"_s),
             u"<div dir=\"ltr\" style=\"white-space:pre\">/أ/\u200Eب</div>"_s);
    QCOMPARE(visibleToolTip(u"أ/ب"_s), u"<div style=\"white-space:pre\">أ/\u200Eب</div>"_s);
}

void TestVisibleText::linesOfATipEndBehindFolders()
{
    const QString folder = u"/"_s + u"f"_s.repeated(99);
    QCOMPARE(linesOf(visibleToolTip(folder + folder + u"/name"_s)),
             QStringList({folder + u'/', folder.sliced(1) + u"/name"_s}));
}

void TestVisibleText::aLineOfATipIsAlmostFull()
{
    // 120 characters fit, and the last of them may be the one to end with.
    const QString full = u"/"_s + u"f"_s.repeated(118) + u'/';
    QCOMPARE(linesOf(visibleToolTip(full)), QStringList(full));
    QCOMPARE(linesOf(visibleToolTip(full + u"name"_s)), QStringList({full, u"name"_s}));
    // Half a line is enough for an end, less is not.
    const QString half = u"/"_s + u"f"_s.repeated(58) + u'/';
    const QString name = u"n"_s.repeated(100);
    QCOMPARE(linesOf(visibleToolTip(half + name)), QStringList({half, name}));
    const QString less = u"/"_s + u"f"_s.repeated(57) + u'/';
    QCOMPARE(linesOf(visibleToolTip(less + name)),
             QStringList({less + name.first(61), name.sliced(61)}));
}

void TestVisibleText::namesWithoutFoldersAreCutAnywhere()
{
    const QString name = u"n"_s.repeated(250);
    QCOMPARE(linesOf(visibleToolTip(name)),
             QStringList({name.first(120), name.first(120), name.first(10)}));
    QCOMPARE(linesOf(visibleToolTip(u"n"_s.repeated(119) + u"😀"_s)),
             QStringList({u"n"_s.repeated(119), u"😀"_s}));
}

void TestVisibleText::theLongestTip()
{
    const QString longest = u"b"_s + u"x"_s.repeated(4094) + u"e"_s;
    QCOMPARE(linesOf(visibleToolTip(longest)).join(QString()), longest);
    const QString shown = linesOf(visibleToolTip(longest + u'!')).join(QString());
    QCOMPARE(shown.size(), 4096);
    QVERIFY(shown.contains(u'…') && shown.startsWith(u'b') && shown.endsWith(u"e!"_s));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestVisibleText))
#include "tst_visibletext.moc"
