#include "window/pathlabel.h"

#include "textlayout/fontink.h"
#include "window/pathmarks.h"
#include "window/visibletext.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>
#include <QTextOption>

#include <algorithm>
#include <cmath>
#include <limits>

namespace tarn::console {

namespace {

constexpr QChar ellipsis(0x2026);

} // namespace

PathLabel::PathLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setLayoutDirection(Qt::LeftToRight);
    // Otherwise Qt raises negative margins to zero, the margins of a safe area.
    setAttribute(Qt::WA_ContentsMarginsRespectsSafeArea, false);
}

void PathLabel::showPath(const QString &path)
{
    m_path = path;
    setText(path);
    setToolTip(visibleToolTip(path));
    // Screen readers would take the tool tip, markup and all, as the description.
    setAccessibleDescription(path);
    showEnd();
}

void PathLabel::showRemark(const QString &remark)
{
    m_path.clear();
    setText(remark);
    setToolTip({});
    setAccessibleDescription({});
    showEnd();
}

QSize PathLabel::sizeHint() const
{
    return {0, lineHeight(QLabel::sizeHint().height())};
}

QSize PathLabel::minimumSizeHint() const
{
    return {0, lineHeight(QLabel::minimumSizeHint().height())};
}

/// A line break in a path is drawn as an escape and takes no line.
int PathLabel::lineHeight(int labelHeight) const
{
    if (visibleText(text()) == text())
        return labelHeight;
    return fontMetrics().height() + contentsMargins().top() + contentsMargins().bottom();
}

void PathLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    showEnd();
}

void PathLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        showEnd();
}

/// Moves a text that is too long to the left by what is too much. A negative margin does that for
/// painting, selecting and the cursor alike. QWidget keeps margins in 16 bits.
void PathLabel::showEnd()
{
    const int excess = QFontMetrics(font()).horizontalAdvance(shownText()) - width();
    const int largest = std::numeric_limits<qint16>::max();
    // What no ink needs reaches over the row in the same way.
    const InkReach spare = spareRoom(visibleText(text()), font());
    setContentsMargins(-std::clamp(excess + 1, 0, largest), -spare.above, 0, -spare.below);
}

/// What is copied is the path; what is seen must not be able to look like another one.
QString PathLabel::shownText() const
{
    return showsPath() ? withPathMarks(visibleText(text())) : visibleText(text());
}

/// Otherwise QLabel draws it as it should be.
bool PathLabel::isDrawnOtherwise() const
{
    return visibleText(text()) != text() || (showsPath() && hasRightToLeftLetters(text()));
}

void PathLabel::layOut(QTextLayout *layout) const
{
    constexpr qreal anyWidth = 1e7;
    // A path is read from its root, whatever letters follow.
    QTextOption option(Qt::AlignLeft);
    option.setTextDirection(Qt::LeftToRight);
    option.setWrapMode(QTextOption::NoWrap);
    layout->setTextOption(option);
    layout->beginLayout();
    layout->createLine().setLineWidth(anyWidth);
    layout->endLayout();
}

QPointF PathLabel::placeOfLayout(const QTextLayout &layout) const
{
    const QTextLine line = layout.lineAt(0);
    const QRectF within = contentsRect();
    const bool atTheRight = alignment().testFlag(Qt::AlignRight) && !isCut();
    return {atTheRight ? within.right() - line.naturalTextWidth() : within.left(),
            within.top() + (within.height() - line.height()) / 2};
}

void PathLabel::drawShownText(QPainter *painter) const
{
    QTextLayout layout(shownText(), font());
    layOut(&layout);
    QList<QTextLayout::FormatRange> selection;
    if (hasSelectedText()) {
        const qsizetype end = selectionStart() + selectedText().size();
        const qsizetype start = shownPosition(selectionStart());
        QTextLayout::FormatRange range{.start = int(start),
                                       .length = int(shownPosition(end) - start)};
        range.format.setBackground(palette().highlight());
        range.format.setForeground(palette().highlightedText());
        selection.append(range);
    }
    painter->setPen(palette().color(foregroundRole()));
    // The caret is QLabel's, and where that is nobody tells.
    layout.draw(painter, placeOfLayout(layout), selection);
}

void PathLabel::paintEvent(QPaintEvent *event)
{
    if (!isDrawnOtherwise())
        QLabel::paintEvent(event);
    QPainter painter(this);
    // Otherwise the interface decides the order of the path.
    painter.setLayoutDirection(layoutDirection());
    if (isDrawnOtherwise())
        drawShownText(&painter);
    if (!isCut())
        return;
    QRect corner = contentsRect();
    corner.setLeft(0);
    corner.setWidth(fontMetrics().horizontalAdvance(ellipsis));
    painter.fillRect(corner, palette().color(backgroundRole()));
    style()->drawItemText(&painter, corner, Qt::AlignCenter, palette(), isEnabled(), ellipsis,
                          foregroundRole());
}

/// Where a place of the text is in the shown text: each beginning of the text is shown as it is in
/// the whole.
qsizetype PathLabel::shownPosition(qsizetype position) const
{
    const QString beginning = visibleText(text().first(position));
    return (showsPath() ? withPathMarks(beginning) : beginning).size();
}

/// The character of the text that shows at a place of the shown text.
qsizetype PathLabel::positionOfShown(qsizetype shown) const
{
    qsizetype first = 0;
    qsizetype beyond = text().size();
    while (beyond - first > 1) {
        const qsizetype middle = (first + beyond) / 2;
        (shownPosition(middle) <= shown ? first : beyond) = middle;
    }
    return first;
}

/// Where QLabel has what is shown at a point: it knows only its own order of the text.
QPointF PathLabel::placeInLabel(QPointF point) const
{
    QTextLayout layout(shownText(), font());
    layOut(&layout);
    const QTextLine line = layout.lineAt(0);
    const qreal x = point.x() - placeOfLayout(layout).x();
    const qsizetype position = positionOfShown(line.xToCursor(x, QTextLine::CursorOnCharacter));
    // Where a character ends need not be where the next one begins: that may be of the other
    // direction.
    const qreal first = line.cursorToX(int(shownPosition(position)));
    const qreal last =
        line.cursorToX(int(shownPosition(position + 1)) - 1, QTextLine::Edge::Trailing);
    const bool secondHalf = std::abs(x - last) < std::abs(x - first);

    heightForWidth(width()); // It lays QLabel's text out.
    const auto *document = findChild<QTextDocument *>();
    const QTextBlock block = document->findBlock(int(position));
    const int offset = int(position) - block.position();
    const QTextLine labels = block.layout()->lineForTextPosition(offset);
    if (!labels.isValid())
        return point;
    const qreal before = labels.cursorToX(offset);
    const qreal after = labels.cursorToX(offset, QTextLine::Edge::Trailing);
    // Well inside the character, where no neighbour is meant.
    const qreal within = before + (after - before) * (secondHalf ? 0.75 : 0.25);
    const QRectF text = contentsRect();
    const qreal top = text.top() + std::max(0.0, (text.height() - document->size().height()) / 2);
    return QPointF(text.left() + within, top + labels.y() + labels.height() / 2)
           + block.layout()->position();
}

QMouseEvent PathLabel::inLabel(const QMouseEvent &event) const
{
    const bool differs = isDrawnOtherwise() && !text().isEmpty();
    return {event.type(),          differs ? placeInLabel(event.position()) : event.position(),
            event.scenePosition(), event.globalPosition(),
            event.button(),        event.buttons(),
            event.modifiers(),     event.pointingDevice()};
}

/// Double clicks come here too.
void PathLabel::mousePressEvent(QMouseEvent *event)
{
    QMouseEvent there = inLabel(*event);
    QLabel::mousePressEvent(&there);
    event->setAccepted(there.isAccepted());
    update();
}

void PathLabel::mouseMoveEvent(QMouseEvent *event)
{
    QMouseEvent there = inLabel(*event);
    QLabel::mouseMoveEvent(&there);
    event->setAccepted(there.isAccepted());
    update();
}

void PathLabel::mouseReleaseEvent(QMouseEvent *event)
{
    QMouseEvent there = inLabel(*event);
    QLabel::mouseReleaseEvent(&there);
    event->setAccepted(there.isAccepted());
    update();
}

} // namespace tarn::console
