#include "window/statuslabel.h"

#include "textlayout/fontink.h"
#include "window/visibletext.h"

#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <QTextOption>
#include <QToolTip>

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

/// Where the lines of a text are, in whole pixels.
struct LinePlace
{
    int height;
    int baseline;
};

/// Every line has room for the signs with which Arabic statuses begin ("sent", "closed"), or the
/// rows above would move at them. The baseline stays, but as far as rare ink pushes it.
LinePlace linePlace(const QString &text, const QFont &font)
{
    const InkReach usual = usualInk(font);
    const InkReach ink = inkOf(text, font);
    const InkReach tall = inkOf(QStringLiteral("\u0623\u064F\u064A"), font);
    const int height = std::max({usual.height(), tall.height(), ink.height()});
    const int middle = usual.above + (height - usual.height()) / 2;
    return {.height = height, .baseline = std::clamp(middle, ink.above, height - ink.below)};
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

void StatusLabel::setRemark(const QString &remark)
{
    setToolTip(remark);
    setAccessibleDescription(remark);
}

void StatusLabel::setMaximumLines(int lines)
{
    if (lines == m_maximumLines)
        return;
    m_maximumLines = lines;
    updateGeometry();
    update();
}

/// Otherwise the label has some other text, which it shows as it stands.
bool StatusLabel::showsMessage() const
{
    return !m_message.argument.isEmpty() && text() == m_message.text();
}

/// The text with so many characters at most; of a message, so many of its argument.
QString StatusLabel::shownText(qsizetype mostCharacters) const
{
    return showsMessage() ? m_message.isolatedText(mostCharacters)
                          : shortenedText(text(), mostCharacters);
}

qsizetype StatusLabel::longestText() const
{
    return showsMessage()
               ? std::min(StatusMessage::usualCharacters, visibleText(m_message.argument).size())
               : text().size();
}

/// Lays a text out in lines of a width, breaking words only where a line has no other place.
/// Returns the height of the lines.
int StatusLabel::layOut(QTextLayout &layout, int width) const
{
    const auto direction = layout.text().isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight;
    QTextOption option(QStyle::visualAlignment(direction, alignment()) & Qt::AlignHorizontal_Mask);
    option.setTextDirection(direction);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    const LinePlace place = linePlace(layout.text(), font());
    int height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        // Never more than the font asks for.
        const int declared = static_cast<int>(std::ceil(line.height()));
        const int spare = std::max(0, declared - place.height);
        const int above = std::clamp(qFloor(line.ascent()) - place.baseline, 0, spare);
        line.setPosition(QPointF(0, height - above));
        height += declared - spare;
    }
    layout.endLayout();
    return height;
}

int StatusLabel::lineHeight() const
{
    QTextLayout layout(QString(), font());
    return layOut(layout, width());
}

int StatusLabel::linesForWidth(int width) const
{
    QTextLayout layout(shownText(longestText()), font());
    layOut(layout, width);
    return std::max(1, layout.lineCount());
}

/// How much of the text can be shown in the lines that there are.
qsizetype StatusLabel::fittingCharacters(int width) const
{
    qsizetype most = longestText();
    if (linesForWidth(width) <= m_maximumLines)
        return most;
    qsizetype fitting = 1;
    while (most - fitting > 1) {
        const qsizetype middle = (fitting + most) / 2;
        QTextLayout layout(shownText(middle), font());
        layOut(layout, width);
        (layout.lineCount() <= m_maximumLines ? fitting : most) = middle;
    }
    return fitting;
}

QSize StatusLabel::sizeHint() const
{
    constexpr int usualLineLength = 60;
    const int width = usualLineLength * fontMetrics().averageCharWidth();
    return {width, heightForWidth(width)};
}

QSize StatusLabel::minimumSizeHint() const
{
    return {0, lineHeight()};
}

int StatusLabel::heightForWidth(int width) const
{
    QTextLayout layout(shownText(fittingCharacters(width)), font());
    return std::max(layOut(layout, width), lineHeight());
}

bool StatusLabel::event(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    const bool shortened =
        fittingCharacters(width()) < longestText() || (showsMessage() && m_message.isShortened());
    if (!shortened)
        return QLabel::event(event);
    QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                       visibleToolTip(showsMessage() ? m_message.argument : text()), this);
    return true;
}

void StatusLabel::paintEvent(QPaintEvent *)
{
    QTextLayout layout(shownText(fittingCharacters(width())), font());
    const int textHeight = layOut(layout, width());
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    layout.draw(&painter, QPointF(0, (height() - textHeight) / 2));
}

} // namespace tarn::console
