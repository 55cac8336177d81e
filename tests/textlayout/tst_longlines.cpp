#include "support/testregistry.h"
#include "textlayout/lazydocumentlayout.h"
#include "textlayout/twinedits.h"

#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QStringList arabicWords = u"كتاب التنفيذ إذا من البرنامج، خطوة سطر المكتبة يستطيعون في على "
                                "الاستمرار ثلاثة لا إلى المستخدم ملف تم هذا 12 ٣٤ (مثال) "
                                "المعلومات"_s.split(u' ');
const QStringList englishWords =
    u"AVATAR execution if To Wait the program, step LTd library VAST in on continue three 12 (for "
    "instance) information"_s.split(u' ');

QString words(const QStringList &list, int length, QRandomGenerator *random)
{
    QString text;
    while (text.size() < length)
        text += list.at(random->bounded(list.size())) + u' ';
    return text;
}

/// What two pictures differ in, in some rows. In others, Qt clips what leans out of a line.
QRect changed(const QImage &before, const QImage &after, int top, int bottom)
{
    QRect rect;
    for (int y = std::max(0, top); y < std::min(bottom, before.height()); ++y) {
        for (int x = 0; x < before.width(); ++x) {
            if (before.pixel(x, y) != after.pixel(x, y))
                rect |= QRect(x, y, 1, 1);
        }
    }
    return rect;
}

QImage picture(QTextEdit &edit)
{
    return edit.viewport()->grab().toImage();
}

void select(QTextEdit &edit, int anchor, int position)
{
    QTextCursor cursor(edit.document());
    cursor.setPosition(anchor);
    cursor.setPosition(position, QTextCursor::KeepAnchor);
    const int value = edit.verticalScrollBar()->value();
    edit.setTextCursor(cursor);
    edit.verticalScrollBar()->setValue(value);
}

/// Beside text of another direction, a caret is drawn where the text around it goes on.
bool isAmongItsLike(QTextCursor word)
{
    const int start = std::max(0, word.selectionStart() - 4);
    const int end = word.selectionEnd() + 4;
    word.setPosition(start);
    word.setPosition(end, QTextCursor::KeepAnchor);
    const QString text = word.selectedText();
    // Qt's carets are off by the blank at the end of a line that ends in the other direction.
    const QTextBlock block = word.block();
    const QTextLine line = block.layout()->lineForTextPosition(start - block.position());
    const QString ending = block.text().mid(line.textStart() + line.textLength() - 3, 2);
    const bool rightToLeft = block.textDirection() == Qt::RightToLeft;
    if (end - block.position() > line.textStart() + line.textLength() || !ending.front().isLetter()
        || (ending.front().script() == QChar::Script_Arabic) != rightToLeft)
        return false;
    return std::all_of(text.begin(), text.end(), [&text](QChar c) {
        return c == u' ' || (c.isLetter() && c.script() == text.trimmed().front().script());
    });
}

} // namespace

/// A line of output that is far too long for one line on the screen: what is drawn is what clicks,
/// carets and selections find, whatever parts it was shaped in.
class TestLongLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void aSelectionOutOfSightChangesNothingInSight_data();
    void aSelectionOutOfSightChangesNothingInSight();
    void aSelectionCoversItsCharacters_data();
    void aSelectionCoversItsCharacters();
    void aSelectedLineEndLeavesTheMarginAlone();
    void doubleClicksSelectTheWordThatIsSeen_data();
    void doubleClicksSelectTheWordThatIsSeen();
    void theHeightIsThatOfTheLines_data();
    void theHeightIsThatOfTheLines();
    void noWordIsTorn_data();
    void noWordIsTorn();

private:
    void showText();
    /// Scrolls to a part of the text, the same in each run.
    void scrollSomewhere();

    QRandomGenerator m_random;
    std::unique_ptr<TwinEdits> m_twins;
};

static void addTexts()
{
    QTest::addColumn<QString>("text");
    QRandomGenerator random(13);
    for (const int length : {3000, 5000, 9000, 16'000, 30'000}) {
        QTest::addRow("Arabic, %d", length) << words(arabicWords, length, &random);
        QTest::addRow("English, %d", length) << words(englishWords, length, &random);
        QTest::addRow("both, %d", length) << words(arabicWords + englishWords, length, &random);
    }
}

void TestLongLines::init()
{
    m_random.seed(5);
    m_twins = std::make_unique<TwinEdits>();
    m_twins->show(QSize(420, 300));
}

void TestLongLines::cleanup()
{
    m_twins.reset();
}

void TestLongLines::showText()
{
    QFETCH(QString, text);
    m_twins->lazy().setPlainText(u"first\n"_s + text + u"\nlast"_s);
    m_twins->present();
    m_twins->lazy().clearFocus();
    QVERIFY(m_twins->settle());
}

void TestLongLines::scrollSomewhere()
{
    QScrollBar *bar = m_twins->lazy().verticalScrollBar();
    bar->setValue(m_random.bounded(bar->maximum() / 2, bar->maximum()));
}

void TestLongLines::aSelectionOutOfSightChangesNothingInSight_data()
{
    addTexts();
}

void TestLongLines::aSelectionOutOfSightChangesNothingInSight()
{
    showText();
    QTextEdit &edit = m_twins->lazy();
    for (int i = 0; i < 8; ++i) {
        select(edit, 0, 0);
        scrollSomewhere();
        const QImage before = picture(edit);
        select(edit, 6, 7);
        QCOMPARE(picture(edit), before);
    }
}

void TestLongLines::aSelectionCoversItsCharacters_data()
{
    addTexts();
}

void TestLongLines::aSelectionCoversItsCharacters()
{
    showText();
    QTextEdit &edit = m_twins->lazy();
    for (int i = 0; i < 20; ++i) {
        select(edit, 0, 0);
        scrollSomewhere();
        const QImage before = picture(edit);
        const QPoint point(60 + m_random.bounded(300), 20 + m_random.bounded(200));
        QTextCursor word = edit.cursorForPosition(point);
        word.select(QTextCursor::WordUnderCursor);
        select(edit, word.anchor(), word.position());
        QRect carets = edit.cursorRect(word);
        word.setPosition(word.anchor());
        carets |= edit.cursorRect(word);
        const QRect painted = changed(before, picture(edit), carets.top(), carets.bottom());
        if (!isAmongItsLike(edit.textCursor()))
            continue;
        const int off = std::max(std::abs(painted.left() - carets.left()),
                                 std::abs(painted.right() - carets.right()));
        QVERIFY2(off <= 2, qPrintable(u"'%1' is painted from %2 to %3, and not from %4 to %5"_s
                                          .arg(edit.textCursor().selectedText())
                                          .arg(painted.left())
                                          .arg(painted.right())
                                          .arg(carets.left())
                                          .arg(carets.right())));
    }
}

/// Whatever room its last line leaves.
void TestLongLines::aSelectedLineEndLeavesTheMarginAlone()
{
    QTextEdit &edit = m_twins->lazy();
    const QString text = u"words "_s.repeated(350);
    for (int more = 0; more < 80; ++more) {
        edit.setPlainText(text + QString(more, u'.') + u'\n');
        QVERIFY(m_twins->settle());
        edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
        const QImage before = picture(edit);
        edit.selectAll();
        edit.verticalScrollBar()->setValue(edit.verticalScrollBar()->maximum());
        const QRect painted = changed(before, picture(edit), 0, before.height());
        QVERIFY(painted.isValid());
        QVERIFY(painted.right() < before.width() - edit.document()->documentMargin());
    }
}

void TestLongLines::doubleClicksSelectTheWordThatIsSeen_data()
{
    addTexts();
}

void TestLongLines::doubleClicksSelectTheWordThatIsSeen()
{
    showText();
    QTextEdit &edit = m_twins->lazy();
    for (int i = 0; i < 20; ++i) {
        scrollSomewhere();
        select(edit, 0, 0);
        const QImage before = picture(edit);
        const QPoint point(60 + m_random.bounded(300), 20 + m_random.bounded(200));
        QTest::mouseDClick(edit.viewport(), Qt::LeftButton, Qt::NoModifier, point);
        const QRect painted = changed(before, picture(edit), 0, before.height());
        QVERIFY2(painted.adjusted(-8, -2, 8, 2).contains(point),
                 qPrintable(edit.textCursor().selectedText()));
    }
}

void TestLongLines::theHeightIsThatOfTheLines_data()
{
    addTexts();
}

void TestLongLines::theHeightIsThatOfTheLines()
{
    showText();
    const QTextEdit &edit = m_twins->lazy();
    const QTextBlock block = edit.document()->findBlockByNumber(1);
    const int known = block.lineCount();
    const QRectF rect = edit.document()->documentLayout()->blockBoundingRect(block);
    QCOMPARE(int(std::ceil(rect.height())), known);
    QCOMPARE(block.lineCount(), known);
}

void TestLongLines::noWordIsTorn_data()
{
    QTest::addColumn<QString>("text");
    QRandomGenerator random(13);
    for (const int length : {5000, 30'000}) {
        QTest::addRow("Arabic, %d", length) << words(arabicWords, length, &random);
        QTest::addRow("English, %d", length) << words(englishWords, length, &random);
    }
}

/// Joined letters are narrower than torn ones. A pixel more or less is for what leans out.
void TestLongLines::noWordIsTorn()
{
    showText();
    QFETCH(QString, text);
    const QTextEdit &edit = m_twins->lazy();
    const QTextBlock block = edit.document()->findBlockByNumber(1);
    edit.document()->documentLayout()->blockBoundingRect(block);
    const QTextLayout &layout = *block.layout();
    for (int i = 0; i < layout.lineCount() - 1; ++i) {
        const QTextLine line = layout.lineAt(i);
        QTextLayout alone(text.mid(line.textStart(), line.textLength()).trimmed(),
                          edit.document()->defaultFont(), edit.viewport());
        alone.setTextOption(layout.textOption());
        alone.beginLayout();
        QTextLine same = alone.createLine();
        same.setLineWidth(10'000);
        alone.endLayout();
        QVERIFY2(std::abs(same.naturalTextWidth() - line.naturalTextWidth()) < 2.5,
                 qPrintable(u"%1: %2 instead of %3"_s.arg(line.textStart())
                                .arg(line.naturalTextWidth())
                                .arg(same.naturalTextWidth())));
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestLongLines))

#include "tst_longlines.moc"
