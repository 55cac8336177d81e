#include "window/pathlabel.h"

#include <QEvent>
#include <QFontMetrics>

namespace tarn::console {

PathLabel::PathLabel(QWidget *parent)
    : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setLayoutDirection(Qt::LeftToRight);
}

void PathLabel::showPath(const QString &path)
{
    setText(path);
    // Tool tips guess rich text; only escaped text is sure to be shown as it is.
    setToolTip(path.toHtmlEscaped());
    alignText();
}

void PathLabel::showRemark(const QString &remark)
{
    setText(remark);
    setToolTip({});
    alignText();
}

QSize PathLabel::sizeHint() const
{
    return {0, QLabel::sizeHint().height()};
}

QSize PathLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

void PathLabel::resizeEvent(QResizeEvent *event)
{
    QLabel::resizeEvent(event);
    alignText();
}

void PathLabel::changeEvent(QEvent *event)
{
    QLabel::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        alignText();
}

void PathLabel::alignText()
{
    const bool fits = QFontMetrics(font()).horizontalAdvance(text()) <= contentsRect().width();
    setAlignment((fits ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

} // namespace tarn::console
