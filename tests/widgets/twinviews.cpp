#include "widgets/twinviews.h"

#include "support/meanthit.h"
#include "support/settling.h"
#include "support/transcripttesting.h"
#include "textlayout/lazydocumentlayout.h"
#include "textlayout/linepositions.h"

#include <QAbstractTextDocumentLayout>
#include <QCoreApplication>
#include <QFocusEvent>
#include <QFontMetricsF>
#include <QImage>
#include <QMouseEvent>
#include <QPixmap>
#include <QRegion>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Without the flag by which the plain view reaches the right edge.
QTextBlockFormat describedFormat(const QTextBlock &block)
{
    QTextBlockFormat format = block.blockFormat();
    if (format.hasProperty(QTextFormat::BlockAlignment))
        format.setAlignment(format.alignment() & ~Qt::AlignAbsolute);
    return format;
}

QString describe(const QTextBlock &block)
{
    QString line =
        u"block %1 at %2 '%3'"_s.arg(block.blockNumber()).arg(block.position()).arg(block.text());
    const QMap<int, QVariant> properties = describedFormat(block).properties();
    for (auto it = properties.begin(); it != properties.end(); ++it)
        line += u" %1=%2"_s.arg(QString::number(it.key(), 16), it.value().toString());
    return line;
}

QString describe(const QScrollBar *bar)
{
    const bool upright = bar->orientation() == Qt::Vertical;
    return u"scroll bar %1 of %2, page %3, shown %4"_s.arg(upright ? bar->value() : 0)
        .arg(bar->maximum())
        .arg(bar->pageStep())
        .arg(bar->isVisible());
}

/// Where a plain view has to be hit for a position; nothing where no point at a height does.
std::optional<QPoint> pointOf(const QTextEdit &view, int position, QPoint near)
{
    const QPoint scrolled(view.horizontalScrollBar()->value(), view.verticalScrollBar()->value());
    const auto isHit = [&](QPoint point) {
        return view.document()->documentLayout()->hitTest(point + scrolled, Qt::FuzzyHit)
               == position;
    };
    for (int away = 0; away < view.viewport()->width(); ++away) {
        for (const QPoint point : {near - QPoint(away, 0), near + QPoint(away, 0)}) {
            if (isHit(point))
                return point;
        }
    }
    return std::nullopt;
}

/// The positions of which each is right at a point.
QSet<int> meantPositions(const QTextEdit &view, QPoint point)
{
    const QPoint scrolled(view.horizontalScrollBar()->value(), view.verticalScrollBar()->value());
    return MeantHits(*view.document()).at(point + scrolled);
}

/// Beside tabs and characters of more than one unit, Qt takes the glyphs of one place for those of
/// another, unless the run is cut as in the real view.
bool hasUnsureGlyphs(const QString &text)
{
    return text.contains(u'\t') && std::any_of(text.begin(), text.end(), [](QChar character) {
               return character.isMark() || character.isSurrogate();
           });
}

/// The answer of the real view, if it is right, and else a position that is.
int meantPosition(const QTextEdit &plain, const QTextEdit &real, QPoint point, int answer)
{
    QSet<int> meant = meantPositions(plain, point);
    if (!meant.contains(answer) && hasUnsureGlyphs(real.document()->findBlock(answer).text()))
        meant |= meantPositions(real, point);
    return meant.contains(answer) ? answer : *meant.begin();
}

/// What a mouse event at a position makes of the cursor.
QTextCursor answerTo(QEvent::Type type, Qt::KeyboardModifiers modifiers, QTextCursor cursor,
                     int position)
{
    const bool isDoubleClick = type == QEvent::MouseButtonDblClick;
    const bool isClick = type == QEvent::MouseButtonPress && modifiers == Qt::NoModifier;
    cursor.setPosition(position, isClick || isDoubleClick ? QTextCursor::MoveAnchor
                                                          : QTextCursor::KeepAnchor);
    if (isDoubleClick)
        cursor.select(QTextCursor::WordUnderCursor);
    return cursor;
}

/// Changes the cursor, and shows what was shown before.
void putCursor(QTextEdit &view, const QTextCursor &cursor)
{
    const QSignalBlocker nothingIsScrolled(view.verticalScrollBar());
    const int value = view.verticalScrollBar()->value();
    view.setTextCursor(cursor);
    view.verticalScrollBar()->setValue(value);
}

/// Whether there is text anywhere that runs against its paragraph.
bool hasTextAgainst(const QTextDocument &document)
{
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const bool isRightToLeft = block.textDirection() == Qt::RightToLeft;
        const QString text = block.text();
        const bool isAgainst = std::any_of(text.begin(), text.end(), [=](QChar character) {
            const QChar::Direction direction = character.direction();
            return isRightToLeft ? direction == QChar::DirL
                                 : direction == QChar::DirR || direction == QChar::DirAL
                                       || direction == QChar::DirAN || character.isSurrogate();
        });
        if (isAgainst)
            return true;
    }
    return false;
}

/// Whether two positions are in the same line, and near each other.
bool isAsNear(const QTextEdit &view, int a, int b)
{
    const QTextBlock block = view.document()->findBlock(a);
    const QTextLine line = block.layout()->lineForTextPosition(a - block.position());
    const int offset = b - block.position();
    if (!line.isValid() || offset < line.textStart()
        || offset > line.textStart() + line.textLength())
        return false;
    const qreal blanks = QFontMetricsF(view.font()).horizontalAdvance(u"  m"_s);
    const int own = a - block.position();
    const qreal x = line.cursorToX(own);
    const qreal otherX = line.cursorToX(offset);
    // Beyond an edge of the line is one of its ends, which may be drawn at the other edge.
    const QRectF rect = line.naturalTextRect();
    const auto isAtEdge = [&](qreal place) {
        return std::min(place - rect.left(), rect.right() - place) <= blanks;
    };
    const LinePositions ends = positionsIn(*block.layout(), line);
    const auto isEnd = [&](int position) {
        return position <= ends.first || position >= ends.last;
    };
    return (std::abs(x - otherX) <= blanks || (isAtEdge(x) && isEnd(offset))
            || (isAtEdge(otherX) && isEnd(own)))
           && hasTextAgainst(*view.document());
}

/// Whether a cursor is where a click into its line would put it, at the column that it remembers.
bool isWhereItsColumnIs(const QTextEdit &view)
{
    const QTextCursor cursor = view.textCursor();
    const QTextLayout &layout = *cursor.block().layout();
    const QTextLine line = layout.lineForTextPosition(cursor.positionInBlock());
    if (!line.isValid())
        return false;
    const QPointF point(cursor.verticalMovementX(), line.y() + line.height() / 2);
    return view.document()->documentLayout()->hitTest(layout.position() + point, Qt::FuzzyHit)
           == cursor.position();
}

/// Wrapped text has nothing to scroll sideways but a pixel of rounding; where a view stands in it
/// is left open.
void leaveSidewaysAlone(QTextEdit &view)
{
    view.horizontalScrollBar()->setValue(0);
}

/// Cursor and geometry of a text widget.
QStringList describe(const QTextEdit &edit)
{
    const QTextCursor cursor = edit.textCursor();
    return {u"cursor %1 to %2"_s.arg(cursor.anchor()).arg(cursor.position()),
            u"viewport %1 x %2"_s.arg(edit.viewport()->width()).arg(edit.viewport()->height()),
            describe(edit.verticalScrollBar()), describe(edit.horizontalScrollBar())};
}

/// How far a letter at the end of a line leans out of it, Qt sees otherwise where there are pieces;
/// a selected line is so wide.
QRegion endOf(const QTextLine &line, QPointF position)
{
    constexpr int rounding = 2;
    const QRectF text = line.naturalTextRect().translated(position);
    const int end = qRound(text.left() + line.horizontalAdvance());
    return QRect(end - rounding, qFloor(text.top()), qRound(text.right()) - end + 2 * rounding + 1,
                 qCeil(text.height()) + 1);
}

/// Where the pieces of a long text meet, in the viewport. What of a letter leans into another piece
/// is drawn there, but not on a selection that ends or goes on in that one; and what leans into the
/// next line is drawn as selected there where its piece, not its line, is in part.
QRegion bordersOfPieces(const QTextEdit &view)
{
    constexpr int lean = 2;
    const QAbstractTextDocumentLayout &layout = *view.document()->documentLayout();
    const QPointF scrolled(view.horizontalScrollBar()->value(), view.verticalScrollBar()->value());
    QRegion region;
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
        layout.blockBoundingRect(block);
        const QPointF position = block.layout()->position() - scrolled;
        const auto pieces = block.layout()->formats();
        for (int i = 0; !pieces.isEmpty() && i < block.layout()->lineCount(); ++i)
            region += endOf(block.layout()->lineAt(i), position);
        for (const QTextLayout::FormatRange &piece : pieces) {
            const QTextLine line = block.layout()->lineForTextPosition(piece.start);
            const QRect row = line.rect().translated(position).toAlignedRect();
            for (const int beside : {piece.start - 1, piece.start}) {
                const int x = qRound(position.x() + line.cursorToX(std::max(0, beside)));
                region += QRect(x - lean, row.top(), 2 * lean + 1, row.height());
            }
            const QRect edge(0, -lean, view.viewport()->width(), 2 * lean);
            region += edge.translated(0, row.top());
            region += edge.translated(0, row.bottom());
        }
    }
    return region;
}

/// The lines in which Qt is unsure of the width of tabs: it counts the glyphs before a line as if
/// each character had one, where a run goes on from the line before. Another run begins where the
/// real view has cut a text.
QRegion linesWithUnsureTabs(const QTextEdit &view)
{
    const QPointF scrolled(view.horizontalScrollBar()->value(), view.verticalScrollBar()->value());
    QRegion region;
    for (QTextBlock block = view.document()->begin(); block.isValid(); block = block.next()) {
        const QString text = block.text();
        const bool isUnsure = hasUnsureGlyphs(text);
        const QPointF position = block.layout()->position() - scrolled;
        for (int i = 1; isUnsure && i < block.layout()->lineCount(); ++i) {
            const QTextLine line = block.layout()->lineAt(i);
            const QRect row = line.rect().translated(position).toAlignedRect();
            if (QStringView(text).sliced(line.textStart(), line.textLength()).contains(u'\t'))
                region += QRect(0, row.top() - 1, view.viewport()->width(), row.height() + 2);
        }
    }
    return region;
}

/// In which pixels two pictures of a size differ.
QRegion otherPixels(const QImage &a, const QImage &b)
{
    QRegion region;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != b.pixel(x, y))
                region += QRect(x, y, 1, 1);
        }
    }
    return region;
}

QString insteadOf(const QString &actual, const QString &expected)
{
    return u"'%1' instead of '%2'"_s.arg(actual, expected);
}

QString firstDifference(const QTextDocument &actual, const QTextDocument &expected)
{
    QTextBlock a = actual.begin();
    QTextBlock b = expected.begin();
    for (; a.isValid() && b.isValid(); a = a.next(), b = b.next()) {
        if (a.text() != b.text() || describedFormat(a) != describedFormat(b)
            || a.charFormat() != b.charFormat())
            return insteadOf(describe(a), describe(b));
    }
    if (a.isValid() || b.isValid())
        return u"%1 blocks instead of %2"_s.arg(actual.blockCount()).arg(expected.blockCount());
    if (actual.toRawText() != expected.toRawText())
        return u"other raw text"_s;
    return {};
}

QString firstDifference(const QStringList &actual, const QStringList &expected)
{
    for (qsizetype i = 0; i < actual.size(); ++i) {
        if (actual.at(i) != expected.at(i))
            return insteadOf(actual.at(i), expected.at(i));
    }
    return {};
}

} // namespace

TwinViews::TwinViews(QSize size)
    : m_real{Transcript(windowLimits())}
    , m_plain{Transcript(windowLimits())}
{
    // Qt's own layout cannot keep them.
    auto *layout = m_real.view->document()->documentLayout();
    qobject_cast<LazyDocumentLayout *>(layout)->setKeepsEscapes(false);
    show(m_real, size);
    show(m_plain, size);
    refresh();
    drain();
}

template<typename View>
void TwinViews::show(Side<View> &side, QSize size)
{
    auto *layout = new QVBoxLayout(&side.window);
    layout->addWidget(side.view, 1);
    layout->addWidget(side.draft);
    side.draft->setFixedHeight(40);
    side.view->setDraftEditor(side.draft);
    // The size hints of the two may differ.
    side.view->setMinimumSize(60, 30);
    // Only one of the views could have the focus, and its caret blinks.
    side.draft->setFocus();
    // A window manager may answer one of two resizes with an older size.
    side.window.setWindowFlag(Qt::X11BypassWindowManagerHint);
    side.window.resize(size);
    side.window.show();
}

void TwinViews::refresh()
{
    m_real.view->refresh();
    m_plain.view->refresh();
    m_plain.transcript.acknowledgePendingUpdates();
}

void TwinViews::setContentDirection(ContentDirection direction)
{
    m_real.view->setContentDirection(direction);
    m_plain.transcript.setDirection(direction);
    m_plain.view->present();
    m_plain.transcript.acknowledgePendingUpdates();
}

void TwinViews::resize(QSize size)
{
    m_real.window.resize(size);
    m_plain.window.resize(size);
    drain();
}

void TwinViews::sendToViewports(const QEvent &event)
{
    both([&event](Transcript &, QTextEdit &view, QTextEdit &) {
        leaveSidewaysAlone(view);
        const std::unique_ptr<QEvent> copy(event.clone());
        QCoreApplication::sendEvent(view.viewport(), copy.get());
    });
}

void TwinViews::sendMouse(QEvent::Type type, QPoint point, Qt::MouseButton button,
                          Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers)
{
    leaveSidewaysAlone(real());
    const int answer = real().cursorForPosition(point).position();
    both([&](Transcript &, QTextEdit &view, QTextEdit &) {
        leaveSidewaysAlone(view);
        const bool isPlain = &view == m_plain.view;
        const int meant = isPlain ? meantPosition(view, real(), point, answer) : 0;
        const auto hit = isPlain ? pointOf(view, meant, point) : point;
        const int before = view.textCursor().position();
        QMouseEvent event(type, hit.value_or(point), hit.value_or(point), button, buttons,
                          modifiers);
        QCoreApplication::sendEvent(view.viewport(), &event);
        if (hit)
            return;
        // After a press on what was selected, the release is the click.
        if (type == QEvent::MouseButtonRelease && view.textCursor().position() != before)
            putCursor(view,
                      answerTo(QEvent::MouseButtonPress, modifiers, view.textCursor(), meant));
        else if (type != QEvent::MouseButtonRelease)
            putCursor(view, answerTo(type, modifiers, view.textCursor(), meant));
    });
}

void TwinViews::pressKey(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    both([=](Transcript &, QTextEdit &view, QTextEdit &) {
        QTest::keyClick(&view, key, modifiers);
        // A key shows the caret, although the focus is elsewhere; hide it again.
        QFocusEvent focusOut(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
        QCoreApplication::sendEvent(&view, &focusOut);
    });
    agreeOnColumn();
}

/// Qt gives the blank after a line a place among its last words, where these run against their
/// paragraph. There, a key that looks for a column comes out a blank's width beside the right one.
void TwinViews::agreeOnColumn()
{
    const QTextCursor cursor = m_real.view->textCursor();
    QTextCursor meant = m_plain.view->textCursor();
    const bool isAlike = cursor.hasSelection() == meant.hasSelection()
                         && (!cursor.hasSelection() || cursor.anchor() == meant.anchor());
    if (cursor.position() == meant.position() || !isAlike)
        return;
    // Where directions meet, columns that lie near each other may belong to positions far apart.
    const int apart = std::abs(cursor.verticalMovementX() - meant.verticalMovementX());
    const bool meetsDirections = apart <= m_real.view->fontMetrics().horizontalAdvance(u"  m"_s)
                                 && hasTextAgainst(*m_real.view->document())
                                 && isWhereItsColumnIs(*m_real.view);
    if (!meetsDirections && !isAsNear(*m_real.view, cursor.position(), meant.position()))
        return;
    meant.setPosition(cursor.anchor());
    meant.setPosition(cursor.position(), QTextCursor::KeepAnchor);
    putCursor(*m_plain.view, meant);
    forgetColumn();
}

void TwinViews::forgetColumn()
{
    both([](Transcript &, QTextEdit &view, QTextEdit &) {
        QTextCursor cursor = view.textCursor();
        cursor.setPosition(view.textCursor().anchor());
        cursor.setPosition(view.textCursor().position(), QTextCursor::KeepAnchor);
        putCursor(view, cursor);
    });
}

bool TwinViews::disagreeOnScrollBarForItself()
{
    const QScrollBar *real = m_real.view->verticalScrollBar();
    const QScrollBar *plain = m_plain.view->verticalScrollBar();
    const bool isAlike = real->isVisible() == plain->isVisible();
    if (isAlike || !settle() || real->isVisible() == plain->isVisible())
        return false;
    const QScrollBar *shown = real->isVisible() ? real : plain;
    const QScrollBar *hidden = real->isVisible() ? plain : real;
    return shown->maximum() > 0 && hidden->maximum() == 0;
}

void TwinViews::drain()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

bool TwinViews::isSettled() const
{
    const QAbstractTextDocumentLayout *layout = m_real.view->document()->documentLayout();
    return qobject_cast<const LazyDocumentLayout *>(layout)->isExact();
}

bool TwinViews::settle()
{
    return waitWhileBusy(m_real.view->document()->documentLayout(), [this] { return isSettled(); });
}

template<typename View>
QStringList TwinViews::stateOf(const Side<View> &side)
{
    return describe(*side.view) + describe(*side.draft)
           << u"follows the end %1"_s.arg(side.view->followsEnd())
           << u"pending %1"_s.arg(side.transcript.pendingUpdateByteCount())
           << u"draft runs %1"_s.arg(side.draft->layoutDirection());
}

/// The first block that is drawn at another height, to find the reason of other scroll ranges.
QString firstMisplaced(QTextEdit &actual, QTextEdit &expected)
{
    const auto top = [](const QTextEdit &edit, const QTextBlock &block) {
        return edit.document()->documentLayout()->blockBoundingRect(block).top();
    };
    QTextBlock a = actual.document()->begin();
    QTextBlock b = expected.document()->begin();
    for (; a.isValid() && b.isValid(); a = a.next(), b = b.next()) {
        if (top(actual, a) != top(expected, b))
            return u"; misplaced after "_s + describe(a.previous());
    }
    return {};
}

QString TwinViews::difference() const
{
    const QString text = firstDifference(*m_real.view->document(), *m_plain.view->document());
    if (!text.isEmpty())
        return text;
    const QString draft = firstDifference(*m_real.draft->document(), *m_plain.draft->document());
    if (!draft.isEmpty())
        return u"draft: "_s + draft;
    return differenceInState();
}

QString TwinViews::differenceInState() const
{
    const QString state = firstDifference(stateOf(m_real), stateOf(m_plain));
    return state.isEmpty() ? state : state + firstMisplaced(*m_real.view, *m_plain.view);
}

bool TwinViews::samePixels()
{
    both([](Transcript &, QTextEdit &view, QTextEdit &) { leaveSidewaysAlone(view); });
    const QImage real = m_real.view->viewport()->grab().toImage();
    const QImage plain = m_plain.view->viewport()->grab().toImage();
    if (real == plain)
        return true;
    QRegion others = otherPixels(real, plain) - linesWithUnsureTabs(*m_plain.view);
    if (m_real.view->textCursor().hasSelection())
        others -= bordersOfPieces(*m_real.view);
    return others.isEmpty();
}

} // namespace tarn::console
