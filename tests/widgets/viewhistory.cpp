#include "widgets/viewhistory.h"

#include "textlayout/fontink.h"

#include <QScrollBar>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QWheelEvent>

#include <algorithm>
#include <iterator>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

const char *const tokens[] = {
    "word ",
    "longer words than these ",
    "x",
    " ",
    "\n",
    "\n",
    "\r\n",
    "\n\n",
    "\r",
    "\t",
    "12.5 ",
    "(!)",
    "\xD9\x85\xD8\xB1\xD8\xAD\xD8\xA8\xD8\xA7 ",                 // Arabic
    "\xD8\xB3\xD8\xB7\xD8\xB1 \xD8\xB7\xD9\x88\xD9\x8A\xD9\x84", // Arabic
    "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D ",                         // Hebrew
    "\xD9\xA3\xD9\xA4",                                          // Arabic digits
    "\xE2\x80\xA9",                                              // U+2029
    "\xE2\x80\xA8",                                              // U+2028
    "\xEF\xB7\x90",                                              // U+FDD0
    "\xEF\xB7\x91",                                              // U+FDD1
    "\xC2\xA0",                                                  // no-break space
    "\xEF\xBF\xBC",                                              // object replacement character
    "\xEF\xBB\xBF",                                              // byte order mark
    "\x1B[31m",
    "\xFF",
    "\xC3",
    "\xE2\x80\xAE", // right-to-left override
    "\xF0\x9F\x98\x80",
    "e\xCC\x81",
    "\xF0\x90\xA4\x80", // Phoenician
};

/// What a program may repeat without an end of line. Qt shapes 4,096 characters at a time, whatever
/// it tears apart: lengths that divide this number keep joined letters together.
const char *const progress[] = {
    ".",
    "12 of 345 done. ",
    "[\\|/-] ",
    "word\t",
    "\xD8\xAE\xD8\xB7\xD9\x88\xD8\xA9 \xD8\xA8\xD8\xB9 ", // Arabic
    "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D 1, ",               // Hebrew
};

bool isUnusual(QChar character)
{
    return character > u'~';
}

bool hasUnusual(const QString &text)
{
    return std::any_of(text.begin(), text.end(), isUnusual);
}

/// How much of a text there is at most without a letter or an unusual character.
qsizetype longestWithoutLetters(const QString &text)
{
    qsizetype longest = 0;
    qsizetype length = 0;
    for (const QChar character : text) {
        length = character.isLetter() || isUnusual(character) ? 0 : length + 1;
        longest = std::max(longest, length);
    }
    return longest;
}

const char *const searched[] = {"word", "x", "\xD9\x85\xD8\xB1", "\n", "\xE2\x80\xA9", "no such"};

const Qt::Key keys[] = {Qt::Key_Left, Qt::Key_Right, Qt::Key_Up,       Qt::Key_Down,
                        Qt::Key_Home, Qt::Key_End,   Qt::Key_PageUp,   Qt::Key_PageDown,
                        Qt::Key_A,    Qt::Key_Space, Qt::Key_Backspace};

} // namespace

struct ViewHistory::Step
{
    int weight;
    const char *name;
    void (ViewHistory::*run)();
};

const ViewHistory::Step ViewHistory::steps[] = {
    {30, "print some", &ViewHistory::printSome},
    {8, "print lines", &ViewHistory::printLines},
    {1, "print a flood", &ViewHistory::printFlood},
    {2, "print a long line", &ViewHistory::printLongLine},
    {8, "grow a line", &ViewHistory::growLine},
    {2, "show progress", &ViewHistory::showProgress},
    {4, "echo", &ViewHistory::echo},
    {2, "end streams", &ViewHistory::endStreams},
    {1, "clear", &ViewHistory::clear},
    {3, "refresh for nothing", &ViewHistory::refreshForNothing},
    {3, "turn content", &ViewHistory::turnContent},
    {1, "turn without the view", &ViewHistory::turnWithoutTheView},
    {2, "acknowledge elsewhere", &ViewHistory::acknowledgeElsewhere},
    {2, "format again", &ViewHistory::formatAgain},
    {6, "place cursor", &ViewHistory::placeCursor},
    {5, "click", &ViewHistory::clickSomewhere},
    {3, "double click", &ViewHistory::doubleClickSomewhere},
    {3, "shift click", &ViewHistory::shiftClickSomewhere},
    {5, "drag", &ViewHistory::drag},
    {3, "drag while printing", &ViewHistory::dragWhilePrinting},
    {20, "press key", &ViewHistory::pressKey},
    {6, "turn wheel", &ViewHistory::turnWheel},
    {8, "scroll", &ViewHistory::scroll},
    {4, "resize", &ViewHistory::resize},
    {2, "change font", &ViewHistory::changeFont},
    {5, "find", &ViewHistory::find},
    {4, "type into draft", &ViewHistory::typeIntoDraft},
};

ViewHistory::ViewHistory(quint32 seed)
    : m_random(seed)
    , m_views(QSize(between(260, 500), between(180, 380)))
{
}

QString ViewHistory::step()
{
    int total = 0;
    for (const Step &candidate : steps)
        total += candidate.weight;
    int drawn = below(total);
    const Step *step = std::begin(steps);
    for (; drawn >= step->weight; ++step)
        drawn -= step->weight;
    (this->*step->run)();
    return QString::fromLatin1(step->name);
}

QByteArray ViewHistory::output(int count)
{
    QByteArray bytes;
    for (int i = 0; i < count; ++i)
        bytes += tokens[below(std::size(tokens))];
    // A cut through the last character, now and then.
    return count > 0 && chance(10) ? bytes.chopped(1) : bytes;
}

TranscriptStream ViewHistory::anyStream()
{
    return chance(65) ? TranscriptStream::StandardOutput : TranscriptStream::StandardError;
}

/// Qt makes every line of a word as high as the highest of the word's characters, also those that
/// are in other lines or right after it. The real view does not in very long words: there are no
/// unusual characters in or after them.
bool ViewHistory::needsWordBefore(const QByteArray &bytes) const
{
    constexpr qsizetype longWord = 300;
    const QList<TranscriptParagraph> &paragraphs = m_views.transcript().paragraphs();
    // Each stream may have an open one, with lines of the other after it.
    constexpr qsizetype last = 200;
    for (const auto &paragraph : paragraphs.last(std::min(last, paragraphs.size()))) {
        const QString text = paragraph.text.trimmed();
        const QString word = text.sliced(text.lastIndexOf(u' ') + 1);
        if (word.size() + bytes.size() > longWord
            && (hasUnusual(word) || hasUnusual(QString::fromUtf8(bytes))))
            return true;
    }
    return false;
}

/// Qt makes all of a line of one script, up to 4,096 characters, as high as the highest character
/// in it, the real view up to 2,048: dots beside a letter that another font draws. There are no
/// such letters far from their line's dots.
bool ViewHistory::needsLineBefore(const QByteArray &bytes) const
{
    constexpr qsizetype longLine = 2048;
    constexpr qsizetype manyDots = 1024;
    const QString added = QString::fromUtf8(bytes);
    const auto &paragraphs = m_views.transcript().paragraphs();
    const auto last = paragraphs.last(std::min<qsizetype>(200, paragraphs.size()));
    return std::any_of(last.begin(), last.end(), [&added](const TranscriptParagraph &paragraph) {
        const QString text = paragraph.text + added;
        return text.size() > longLine && hasUnusual(text) && longestWithoutLetters(text) > manyDots;
    });
}

void ViewHistory::append(QByteArray bytes)
{
    const TranscriptStream stream = anyStream();
    if (needsWordBefore(bytes))
        bytes.prepend(" x ");
    if (needsLineBefore(bytes))
        bytes.prepend("\n");
    m_views.both(
        [&](Transcript &transcript, auto &, auto &) { transcript.appendStream(stream, bytes); });
    m_stale = true;
    if (chance(80)) {
        m_views.refresh();
        m_stale = false;
    }
}

void ViewHistory::printSome()
{
    append(output(between(1, 40)));
}

void ViewHistory::printLines()
{
    QByteArray bytes;
    for (int i = between(3, 40); i > 0; --i)
        bytes += output(between(0, 8)) + '\n';
    append(bytes);
}

void ViewHistory::printFlood()
{
    const QByteArray lines = output(30) + '\n';
    append(lines.repeated(between(20, 150)));
}

void ViewHistory::printLongLine()
{
    append(QByteArray(chance(50) ? "abc def " : "\xD9\x85\xD8\xB1 ").repeated(between(50, 400)));
}

/// Bit by bit, as a progress display does; the first strong character may come late.
void ViewHistory::growLine()
{
    append(QByteArray("...").repeated(between(1, 3)));
    append(output(1));
    append(output(1));
}

/// One line that gets as long as no other.
void ViewHistory::showProgress()
{
    const QByteArray shown = progress[below(std::size(progress))];
    append("\n");
    for (int i = between(2, 5); i > 0; --i)
        append(shown.repeated(between(1, 3000 / int(shown.size()))));
}

void ViewHistory::echo()
{
    const QByteArray line = output(between(0, 5));
    m_views.both([&](Transcript &transcript, auto &, auto &) {
        transcript.appendInputEcho(u"input"_s, line);
    });
    m_views.refresh();
    m_stale = false;
}

void ViewHistory::endStreams()
{
    const bool anew = chance(50);
    m_views.both([&](Transcript &transcript, auto &, auto &) {
        transcript.finalizeStream(TranscriptStream::StandardOutput);
        transcript.finalizeStream(TranscriptStream::StandardError);
        if (anew)
            transcript.beginStreams();
    });
    m_views.refresh();
    m_stale = false;
}

void ViewHistory::clear()
{
    const QByteArray after = chance(50) ? output(20) : QByteArray();
    m_views.both([&](Transcript &transcript, auto &, auto &) {
        transcript.clear();
        transcript.appendStream(TranscriptStream::StandardOutput, after);
    });
    m_views.refresh();
    m_stale = false;
}

void ViewHistory::refreshForNothing()
{
    m_views.refresh();
    m_stale = false;
}

void ViewHistory::turnContent()
{
    m_views.setContentDirection(ContentDirection(below(3)));
    m_stale = false;
}

void ViewHistory::turnWithoutTheView()
{
    const auto direction = ContentDirection(below(3));
    m_views.both(
        [&](Transcript &transcript, auto &, auto &) { transcript.setDirection(direction); });
    m_stale = true;
}

void ViewHistory::acknowledgeElsewhere()
{
    m_views.both(
        [](Transcript &transcript, auto &, auto &) { transcript.acknowledgePendingUpdates(); });
    append(output(between(0, 20)));
}

void ViewHistory::formatAgain()
{
    if (!m_stale)
        m_views.real().applyParagraphFormats();
}

int ViewHistory::anyPosition()
{
    return below(m_views.real().document()->characterCount());
}

void ViewHistory::placeCursor()
{
    const int anchor = anyPosition();
    const int position = chance(30) ? anchor : chance(20) ? anyPosition() : anchor / 2;
    m_views.both([&](auto &, QTextEdit &view, auto &) {
        QTextCursor cursor = view.textCursor();
        cursor.setPosition(anchor);
        cursor.setPosition(position, QTextCursor::KeepAnchor);
        view.setTextCursor(cursor);
    });
}

QPoint ViewHistory::anyPoint()
{
    const QSize size = m_views.real().viewport()->size();
    return {below(size.width()), below(size.height())};
}

void ViewHistory::press(QPoint point, Qt::KeyboardModifiers modifiers)
{
    m_views.sendMouse(QEvent::MouseButtonPress, point, Qt::LeftButton, Qt::LeftButton, modifiers);
}

void ViewHistory::move(QPoint point)
{
    m_views.sendMouse(QEvent::MouseMove, point, Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
}

void ViewHistory::release(QPoint point)
{
    m_views.sendMouse(QEvent::MouseButtonRelease, point, Qt::LeftButton, Qt::NoButton,
                      Qt::NoModifier);
}

void ViewHistory::click(QPoint point)
{
    press(point);
    release(point);
}

void ViewHistory::clickSomewhere()
{
    click(anyPoint());
}

void ViewHistory::doubleClickSomewhere()
{
    const QPoint point = anyPoint();
    click(point);
    m_views.sendMouse(QEvent::MouseButtonDblClick, point, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    release(point);
}

/// After a plain click, and none on a selection: after a double click the widget would go on
/// selecting whole words, which a rebuild makes it forget.
void ViewHistory::shiftClickSomewhere()
{
    m_views.both([](auto &, QTextEdit &view, auto &) {
        QTextCursor cursor = view.textCursor();
        cursor.clearSelection();
        view.setTextCursor(cursor);
    });
    click(anyPoint());
    if (chance(50))
        refreshForNothing();
    const QPoint point = anyPoint();
    press(point, Qt::ShiftModifier);
    release(point);
}

/// The click empties the selection: a press within it would start a real drag.
void ViewHistory::drag()
{
    const QPoint start = anyPoint();
    click(start);
    press(start);
    for (int i = between(1, 4); i > 0; --i)
        move(anyPoint());
    release(anyPoint());
}

void ViewHistory::dragWhilePrinting()
{
    const QPoint start = anyPoint();
    click(start);
    press(start);
    move(anyPoint());
    append(output(between(1, 30)));
    move(anyPoint());
    release(anyPoint());
}

void ViewHistory::pressKey()
{
    const Qt::Key key = keys[below(std::size(keys))];
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    if (chance(40))
        modifiers |= Qt::ShiftModifier;
    if (chance(20) || key == Qt::Key_A)
        modifiers |= Qt::ControlModifier;
    for (int i = between(1, 4); i > 0; --i) {
        m_views.pressKey(key, modifiers);
        if (chance(20))
            append(output(between(1, 10)));
    }
}

void ViewHistory::turnWheel()
{
    const int notches = between(-5, 5);
    const Qt::KeyboardModifiers modifiers = chance(15) ? Qt::ControlModifier : Qt::NoModifier;
    const QPoint point = anyPoint();
    m_views.sendToViewports(QWheelEvent(point, point, QPoint(), QPoint(0, 120 * notches),
                                        Qt::NoButton, modifiers, Qt::NoScrollPhase, false));
}

void ViewHistory::scroll()
{
    const int maximum = m_views.real().verticalScrollBar()->maximum();
    const int value = chance(30) ? maximum : below(maximum + 1);
    m_views.both(
        [&](auto &, QTextEdit &view, auto &) { view.verticalScrollBar()->setValue(value); });
}

void ViewHistory::resize()
{
    m_views.resize(QSize(between(200, 600), between(120, 420)));
    m_views.forgetColumn();
}

void ViewHistory::changeFont()
{
    QFont font(chance(50) ? u"DejaVu Sans Mono"_s : u"Noto Sans"_s);
    font.setPointSize(between(7, 16));
    // Where the fonts of a system are so generous that lines follow their ink, a plain view's do
    // not.
    if (plainInk(font, m_views.real().viewport()))
        return;
    m_views.both([&](auto &, QTextEdit &view, auto &) { view.setFont(font); });
    m_views.forgetColumn();
}

void ViewHistory::find()
{
    refreshForNothing();
    const QString text = QString::fromUtf8(searched[below(std::size(searched))]);
    const bool backward = chance(40);
    for (int i = between(1, 3); i > 0; --i)
        m_views.both([&](auto &, auto &view, auto &) { view.findLiteral(text, backward); });
}

void ViewHistory::typeIntoDraft()
{
    const QString typed = chance(50) ? u"ab"_s : QString(QChar(0x0645));
    const bool erasing = chance(40);
    m_views.both([&](auto &, auto &, QTextEdit &draft) {
        if (erasing) {
            QTest::keyClick(&draft, Qt::Key_Home);
            QTest::keyClick(&draft, Qt::Key_Delete);
        } else {
            for (const QChar letter : typed)
                QTest::sendKeyEvent(QTest::Click, &draft, Qt::Key_unknown, letter, Qt::NoModifier);
        }
    });
}

} // namespace tarn::console
