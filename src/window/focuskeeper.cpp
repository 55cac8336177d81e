#include "window/focuskeeper.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QFocusEvent>

namespace tarn::console {

bool isUsersReason(Qt::FocusReason reason)
{
    return reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
           || reason == Qt::MouseFocusReason || reason == Qt::ShortcutFocusReason;
}

FocusKeeper::FocusKeeper(QWidget *refuge)
    : m_refuge(refuge)
{
    refuge->installEventFilter(this);
    // Clicks arrive at the viewport of a scroll area.
    if (auto *scrollArea = qobject_cast<QAbstractScrollArea *>(refuge))
        scrollArea->viewport()->installEventFilter(this);
}

void FocusKeeper::leave(QWidget *widget, bool returning)
{
    // The window's focus widget, not the application's: the window may be inactive just now.
    if (!widget || widget->window()->focusWidget() != widget)
        return;
    m_waiting = returning ? widget : nullptr;
    m_refuge->setFocus(Qt::OtherFocusReason);
}

void FocusKeeper::comeBack(QWidget *widget)
{
    if (!widget || m_waiting != widget)
        return;
    forget();
    if (m_refuge->window()->focusWidget() == m_refuge)
        widget->setFocus(Qt::OtherFocusReason);
}

void FocusKeeper::forget()
{
    m_waiting.clear();
}

bool FocusKeeper::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::MouseButtonPress
        || (event->type() == QEvent::FocusOut
            && isUsersReason(static_cast<QFocusEvent *>(event)->reason())))
        forget();
    return QObject::eventFilter(watched, event);
}

} // namespace tarn::console
