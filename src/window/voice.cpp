#include "window/voice.h"

#include "window/accessibleannouncement.h"

#include <QAccessible>
#include <QAccessibleEvent>
#include <QScrollBar>
#include <QWidget>

namespace tarn::console {

namespace {

QAccessible::UpdateHandler handlerBefore = nullptr;

/// Output that scrolls moves the scroll bar at every piece. A screen reader has nothing to say of
/// that, but is busy with it for so long that it drops what it is told.
bool isScrolling(const QAccessibleEvent *event)
{
    return event->type() == QAccessible::ValueChanged
           && qobject_cast<QScrollBar *>(event->object());
}

/// A label that can be selected reports changes of its text as an editor does, though a screen
/// reader finds no text in it that could have changed: Qt complains and drops them.
bool isTextOfNobody(QAccessibleEvent *event)
{
    switch (event->type()) {
    case QAccessible::TextCaretMoved:
    case QAccessible::TextInserted:
    case QAccessible::TextRemoved:
    case QAccessible::TextSelectionChanged:
    case QAccessible::TextUpdated:
        break;
    default:
        return false;
    }
    QAccessibleInterface *accessible = event->accessibleInterface();
    return !accessible || !accessible->textInterface();
}

void passWhatSaysSomething(QAccessibleEvent *event)
{
    if (!Voice::isWorthPassing(event))
        return;
    // There is no other way to Qt's own handler than to be none oneself.
    QAccessible::installUpdateHandler(handlerBefore);
    QAccessible::updateAccessibility(event);
    QAccessible::installUpdateHandler(passWhatSaysSomething);
}

void silenceTheRest()
{
    const auto before = QAccessible::installUpdateHandler(passWhatSaysSomething);
    if (before != passWhatSaysSomething)
        handlerBefore = before;
}

} // namespace

bool Voice::isWorthPassing(QAccessibleEvent *event)
{
    return !isScrolling(event) && !isTextOfNobody(event);
}

bool Voice::isHeard()
{
    return QAccessible::isActive();
}

// From 6.8 on Qt has an event for this, which screen readers speak as it stands. Before, they
// listen to notifications that appear: objects, whose name they ask for a moment later.
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)

Voice::Voice(QWidget *window)
    : m_window(window)
{
    silenceTheRest();
}

Voice::~Voice() = default;

void Voice::say(const QString &text)
{
    QAccessibleAnnouncementEvent event(m_window, text);
    QAccessible::updateAccessibility(&event);
}

#else

namespace {

QAccessibleInterface *accessibleAnnouncement(const QString &, QObject *object)
{
    auto *announcement = dynamic_cast<Announcement *>(object);
    return announcement ? new AccessibleAnnouncement(announcement) : nullptr;
}

/// So many may be announced before a screen reader asks for the first.
constexpr int announcementCount = 4;

} // namespace

Voice::Voice(QWidget *window)
    : m_window(window)
{
    silenceTheRest();
    QAccessible::installFactory(accessibleAnnouncement);
    for (int i = 0; i < announcementCount; ++i)
        m_announcements.push_back(std::make_unique<Announcement>(m_window));
}

Voice::~Voice() = default;

void Voice::say(const QString &text)
{
    Announcement *announcement = m_announcements[m_next].get();
    m_next = (m_next + 1) % m_announcements.size();
    announcement->text = text;
    QAccessibleEvent event(announcement, QAccessible::ObjectShow);
    QAccessible::updateAccessibility(&event);
}

#endif

} // namespace tarn::console
