#pragma once

#include <QAccessibleObject>
#include <QString>
#include <QWidget>

namespace tarn::console {

/// A text that is announced, for as long as a screen reader may ask for it.
class Announcement : public QObject
{
public:
    explicit Announcement(QWidget *window)
        : window(window)
    {
    }

    QWidget *const window;
    QString text;
};

/// An announcement as a screen reader finds it: a notification of the window.
class AccessibleAnnouncement : public QAccessibleObject
{
public:
    explicit AccessibleAnnouncement(Announcement *announcement)
        : QAccessibleObject(announcement)
    {
    }

    QAccessibleInterface *parent() const override
    {
        return isValid() ? QAccessible::queryAccessibleInterface(announcement()->window) : nullptr;
    }
    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::Notification; }
    QAccessible::State state() const override { return {}; }
    QString text(QAccessible::Text kind) const override
    {
        return isValid() && kind == QAccessible::Name ? announcement()->text : QString();
    }

private:
    Announcement *announcement() const { return static_cast<Announcement *>(object()); }
};

} // namespace tarn::console
