#include "window/pathlabel.h"

#include "textlayout/fontink.h"
#include "window/visibletext.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QStyle>

#include <algorithm>
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
    setText(path);
    setToolTip(visibleToolTip(path));
    // Screen readers would take the tool tip, markup and all, as the description.
    setAccessibleDescription(path);
    showEnd();
}

void PathLabel::showRemark(const QString &remark)
{
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
    const int excess = QFontMetrics(font()).horizontalAdvance(visibleText(text())) - width();
    const int largest = std::numeric_limits<qint16>::max();
    // What no ink needs reaches over the row in the same way.
    const InkReach spare = spareRoom(visibleText(text()), font());
    setContentsMargins(-std::clamp(excess + 1, 0, largest), -spare.above, 0, -spare.below);
}

void PathLabel::paintEvent(QPaintEvent *event)
{
    const QString visible = visibleText(text());
    if (visible == text())
        QLabel::paintEvent(event);
    QPainter painter(this);
    // Otherwise the interface decides the order of the path.
    painter.setLayoutDirection(layoutDirection());
    if (visible != text()) {
        // What is copied is the path; what is seen must not be able to look like another one.
        style()->drawItemText(&painter, contentsRect(), int(alignment()), palette(), isEnabled(),
                              visible, foregroundRole());
    }
    if (!isCut())
        return;
    QRect corner = contentsRect();
    corner.setLeft(0);
    corner.setWidth(fontMetrics().horizontalAdvance(ellipsis));
    painter.fillRect(corner, palette().color(backgroundRole()));
    style()->drawItemText(&painter, corner, Qt::AlignCenter, palette(), isEnabled(), ellipsis,
                          foregroundRole());
}

} // namespace tarn::console
