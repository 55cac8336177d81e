#include "window/minimumsize.h"

#include <QEvent>
#include <QLayout>
#include <QMainWindow>
#include <QScreen>

namespace tarn::console {

namespace {

constexpr QSize usualMinimumSize(800, 500);

} // namespace

MinimumSize::MinimumSize(QMainWindow *window)
    : QObject(window)
    , m_window(window)
{
    update();
    window->installEventFilter(this);
}

bool MinimumSize::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest)
        update();
    return QObject::eventFilter(watched, event);
}

void MinimumSize::update()
{
    QSize needed = m_window->minimumSizeHint();
    const QWidget *content = m_window->centralWidget();
    const QLayout *rows = content->layout();
    if (rows->hasHeightForWidth()) {
        // The status labels wrap, which the plain hint does not know.
        needed.rheight() +=
            rows->minimumHeightForWidth(content->width()) - rows->minimumSize().height();
    }
    const QSize available = m_window->screen()->availableSize();
    m_window->setMinimumSize(needed.boundedTo(available).expandedTo(usualMinimumSize));
}

} // namespace tarn::console
