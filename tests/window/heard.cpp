#include "window/heard.h"

#include <QAccessible>
#include <QAccessibleInterface>
#include <QtGlobal>

namespace tarn::console {

namespace {

struct Listener
{
    bool listening = false;
    QStringList texts;
    QList<QObject *> speakers;
    int eventCount = 0;
};

Listener listener;

QString spokenText(QAccessibleEvent *event)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    if (event->type() == QAccessible::Announcement)
        return static_cast<QAccessibleAnnouncementEvent *>(event)->message();
#else
    const QAccessibleInterface *shown = event->accessibleInterface();
    if (event->type() == QAccessible::ObjectShow && shown->role() == QAccessible::Notification)
        return shown->text(QAccessible::Name);
#endif
    return {};
}

void note(QAccessibleEvent *event)
{
    ++listener.eventCount;
    const QString text = spokenText(event);
    if (text.isNull())
        return;
    listener.texts.append(text);
    listener.speakers.append(event->object());
}

} // namespace

void Heard::listen()
{
    QAccessible::installUpdateHandler(note);
    reset();
}

void Heard::reset()
{
    listener = {};
    listener.listening = true;
}

void Heard::setListening(bool listening)
{
    listener.listening = listening;
}

const QStringList &Heard::texts()
{
    return listener.texts;
}

const QList<QObject *> &Heard::speakers()
{
    return listener.speakers;
}

int Heard::eventCount()
{
    return listener.eventCount;
}

} // namespace tarn::console

// Qt has no other way to say that somebody listens where there is no desktop. These two stand
// before Qt's own and do the same, with one listener in place of the desktop's.

bool QAccessible::isActive()
{
    return tarn::console::listener.listening;
}

void QAccessible::updateAccessibility(QAccessibleEvent *event)
{
    if (!isActive() || !event->accessibleInterface())
        return;
    const UpdateHandler handler = installUpdateHandler(nullptr);
    installUpdateHandler(handler);
    if (handler)
        handler(event);
}
