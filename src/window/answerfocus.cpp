#include "window/answerfocus.h"

#include "window/focuskeeper.h"

#include <QApplication>
#include <QEvent>
#include <QFocusEvent>

namespace tarn::console {

AnswerFocus::AnswerFocus(QWidget *draft, QWidget *field)
    : m_draft(draft)
    , m_field(field)
{
}

AnswerFocus::~AnswerFocus() = default;

void AnswerFocus::expectInput()
{
    m_isExpecting = true;
    qApp->installEventFilter(this);
}

void AnswerFocus::takeInput()
{
    if (!m_isExpecting)
        return;
    forget();
    const bool isBusy = QApplication::activePopupWidget() || QApplication::activeModalWidget();
    // The window's focus widget, not the application's: the window may be inactive just now.
    if (!isBusy && m_draft->window()->focusWidget() != m_field)
        m_draft->setFocus(Qt::OtherFocusReason);
}

void AnswerFocus::forget()
{
    m_isExpecting = false;
    qApp->removeEventFilter(this);
}

bool AnswerFocus::eventFilter(QObject *watched, QEvent *event)
{
    const auto *widget = qobject_cast<const QWidget *>(watched);
    if (widget && widget->window() == m_draft->window() && isUsersMove(widget, event))
        forget();
    return QObject::eventFilter(watched, event);
}

bool AnswerFocus::isUsersMove(const QWidget *widget, QEvent *event) const
{
    if (event->type() == QEvent::FocusIn)
        return isUsersReason(static_cast<QFocusEvent *>(event)->reason());
    if (event->type() != QEvent::MouseButtonPress)
        return false;
    // A click where the focus is already; it arrives at the viewport of a text.
    const QWidget *focused = m_draft->window()->focusWidget();
    return focused && (widget == focused || widget->focusProxy() == focused);
}

} // namespace tarn::console
