#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"

#include <QImage>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextEdit>

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

/// What is inked of a text, without the white around it.
QImage picture(const QString &text, Qt::LayoutDirection direction)
{
    QTextEdit edit;
    auto *layout = new LazyDocumentLayout(edit.document(), edit.viewport());
    edit.document()->setDocumentLayout(layout);
    layout->setKeepsEscapes(true);
    QFont font(u"DejaVu Sans"_s, 12);
    font.setKerning(false);
    edit.setFont(font);
    edit.setPlainText(text);
    QTextBlockFormat format;
    format.setLayoutDirection(direction);
    // Both from a whole pixel on: letters are placed by fractions of one.
    format.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
    QTextCursor(edit.document()).setBlockFormat(format);
    edit.resize(500, 80);
    edit.show();
    const QImage image = edit.viewport()->grab().toImage();
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).lightness() < 128)
                ink |= QRect(x, y, 1, 1);
        }
    }
    return image.copy(ink);
}

int worst(const QImage &a, const QImage &b)
{
    if (a.size() != b.size())
        return 255;
    int worst = 0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            worst = std::max(
                worst, std::abs(a.pixelColor(x, y).lightness() - b.pixelColor(x, y).lightness()));
    }
    return worst;
}

} // namespace

/// Texts beside the same pictures, set letter by letter as they are to be seen.
class TestLookalikes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void lookTheSame_data();
    void lookTheSame();
};

static void addRightToLeft()
{
    const auto add = [](const char *name, const QString &text, const QString &seen) {
        QTest::newRow(name) << text << Qt::RightToLeft << seen;
    };
    add("words", u"שלום עולם"_s, u"םלוע םולש"_s);
    add("a number", u"שלום 123 סוף"_s, u"ףוס 123 םולש"_s);
    add("punctuation", u"מחיר: 12.5, סוף!"_s, u"!ףוס ,12.5 :ריחמ"_s);
    add("brackets", u"(שלום) [עולם]"_s, u"[םלוע] (םולש)"_s);
    add("an English word", u"שלום word סוף"_s, u"ףוס word םולש"_s);
    add("English words", u"שלום two words סוף"_s, u"ףוס two words םולש"_s);
    add("an English word in brackets", u"שלום (word) סוף"_s, u"ףוס (word) םולש"_s);
    add("a number after English", u"שלום word (12) סוף"_s, u"ףוס word (12) םולש"_s);
    add("English at the end", u"שלום, word!"_s, u"!word ,םולש"_s);
    add("a range", u"שלום 1-2"_s, u"1-2 םולש"_s);
    add("a path", u"שלום /usr/bin סוף"_s, u"ףוס usr/bin/ םולש"_s);
    add("a mark", u"שָלום"_s, u"םולשָ"_s);
    add("an escape", u"שלום \\u{202E} סוף"_s, u"ףוס \\u{202E} םולש"_s);
    add("an escape in a word", u"שלום\\xFFסוף"_s, u"ףוס\\xFFםולש"_s);
    add("an escape in brackets", u"שלום (\\xFF) סוף"_s, u"ףוס (\\xFF) םולש"_s);
    add("an escape at the start", u"\\xFF שלום"_s, u"םולש \\xFF"_s);
    add("two escapes", u"שלום \\xC3\\u{001B}[1m סוף"_s, u"ףוס \\xC3\\u{001B}[1m םולש"_s);
}

void TestLookalikes::lookTheSame_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Qt::LayoutDirection>("direction");
    QTest::addColumn<QString>("seen");
    addRightToLeft();
    const auto add = [](const char *name, const QString &text, const QString &seen) {
        QTest::newRow(name) << text << Qt::LeftToRight << seen;
    };
    add("in English", u"word שלום עולם end"_s, u"word םלוע םולש end"_s);
    add("in English, a number", u"word שלום 12 end"_s, u"word 12 םולש end"_s);
    add("in English, brackets", u"a (שלום) b"_s, u"a (םולש) b"_s);
    add("in English, at the end", u"a שלום!"_s, u"a םולש!"_s);
    add("in English, a comma", u"a שלום, עולם b"_s, u"a םלוע ,םולש b"_s);
    add("in English, a tab", u"a\tשלום עולם b"_s, u"a\tםלוע םולש b"_s);
    add("in English, a mark", u"a שָלום b"_s, u"a םולשָ b"_s);
    add("in English, an escape", u"a שלום \\xFF b"_s, u"a םולש \\xFF b"_s);
    add("in English, an escape in a word", u"a שלום\\u{202E}סוף b"_s, u"a םולש\\u{202E}ףוס b"_s);
}

void TestLookalikes::lookTheSame()
{
    QFETCH(QString, text);
    QFETCH(Qt::LayoutDirection, direction);
    QFETCH(QString, seen);
    // As the letters stand.
    const QString override = u"\u202D"_s;
    const QString alike = override + seen.replace(u'\t', u"\t"_s + override);
    // What stands for a backslash is nearly nothing.
    const int tolerance = text.contains(u'\\') ? 6 : 0;
    QVERIFY(worst(picture(text, direction), picture(alike, Qt::LeftToRight)) <= tolerance);
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLookalikes))

#include "tst_lookalikes.moc"
