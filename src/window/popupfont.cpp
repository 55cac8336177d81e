#include "window/popupfont.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

namespace tarn::console {

PopupFont::PopupFont(QMainWindow *window)
    : m_window(window)
{
    qApp->installEventFilter(this);
}

void PopupFont::set(const QFont &font)
{
    m_font = font;
    m_window->menuBar()->setFont(font);
    const QList<QWidget *> widgets = m_window->findChildren<QWidget *>();
    for (QWidget *widget : widgets) {
        if (isPopup(widget))
            widget->setFont(font);
    }
}

bool PopupFont::isPopup(const QWidget *widget) const
{
    if (!qobject_cast<const QMenu *>(widget) && !qobject_cast<const QDialog *>(widget))
        return false;
    // QWidget::isAncestorOf() ends at the edge of a window.
    const QObject *parent = widget;
    while (parent && parent != m_window)
        parent = parent->parent();
    return parent;
}

bool PopupFont::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Polish && watched->isWidgetType()) {
        auto *widget = static_cast<QWidget *>(watched);
        if (isPopup(widget))
            widget->setFont(m_font);
    }
    return QObject::eventFilter(watched, event);
}

} // namespace tarn::console
