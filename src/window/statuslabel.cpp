#include "window/statuslabel.h"

#include "window/visibletext.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <QTextOption>
#include <QToolTip>

#include <cmath>

namespace tarn::console {

namespace {

/// Lays a text out in lines of a width, breaking words only where a line has no other place.
void layOut(QTextLayout &layout, int width, Qt::Alignment alignment)
{
    const auto direction = layout.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    QTextOption option(QStyle::visualAlignment(direction, alignment) & Qt::AlignHorizontal_Mask);
    option.setTextDirection(direction);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    qreal height = 0;
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
}

} // namespace

StatusLabel::StatusLabel(QWidget *parent)
    : QLabel(parent)
{
    // Messages name files and errors that nobody has checked for markup.
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
}

void StatusLabel::showMessage(const StatusMessage &message)
{
    m_message = message;
    setText(message.text());
}

/// Otherwise the label has some other text, which it shows as it stands.
bool StatusLabel::showsMessage() const
{
    return !m_message.argument.isEmpty() && text() == m_message.text();
}

QSize StatusLabel::sizeHint() const
{
    constexpr int usualLineLength = 60;
    if (!showsMessage())
        return QLabel::sizeHint();
    const int width = usualLineLength * fontMetrics().averageCharWidth();
    return {width, heightForWidth(width)};
}

QSize StatusLabel::minimumSizeHint() const
{
    return showsMessage() ? QSize(0, fontMetrics().height()) : QLabel::minimumSizeHint();
}

int StatusLabel::heightForWidth(int width) const
{
    if (!showsMessage())
        return QLabel::heightForWidth(width);
    QTextLayout layout(m_message.isolatedText(), font());
    layOut(layout, width, alignment());
    return static_cast<int>(std::ceil(layout.boundingRect().height()));
}

bool StatusLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    if (showsMessage() && m_message.isShortened()) {
        QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                           visibleToolTip(m_message.argument), this);
    }
    return true;
}

void StatusLabel::paintEvent(QPaintEvent *event)
{
    if (!showsMessage()) {
        QLabel::paintEvent(event);
        return;
    }
    QTextLayout layout(m_message.isolatedText(), font());
    layOut(layout, width(), alignment());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, {0, (height() - layout.boundingRect().height()) / 2});
}

} // namespace tarn::console
