#include "window/statuslabel.h"

#include "window/visibletext.h"

#include <QPainter>
#include <QStyle>

namespace tarn::console {

namespace {

constexpr QChar leftToRightIsolate(0x2066);
constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popDirectionalIsolate(0x2069);

QString withArgument(const QString &pattern, const QString &argument)
{
    return pattern.contains(QLatin1StringView("%1")) ? pattern.arg(argument) : pattern;
}

} // namespace

QString StatusMessage::text() const
{
    return withArgument(pattern, argument);
}

QString StatusMessage::isolatedText() const
{
    // A path is read from its root, whatever letters follow.
    const QChar isolate = argument.startsWith(u'/') ? leftToRightIsolate : firstStrongIsolate;
    const QString isolated = isolate + visibleText(argument) + popDirectionalIsolate;
    return withArgument(pattern, isolated);
}

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

void StatusLabel::paintEvent(QPaintEvent *event)
{
    if (m_message.argument.isEmpty() || text() != m_message.text()) {
        QLabel::paintEvent(event);
        return;
    }
    const QString drawn = m_message.isolatedText();
    const bool rightToLeft = drawn.isRightToLeft();
    const auto direction = rightToLeft ? Qt::RightToLeft : Qt::LeftToRight;
    const int flags = int(QStyle::visualAlignment(direction, alignment())) | Qt::TextWordWrap
                      | (rightToLeft ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight);
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), flags, palette(), isEnabled(), drawn,
                          foregroundRole());
}

} // namespace tarn::console
