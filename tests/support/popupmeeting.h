#pragma once

#include <QDialog>
#include <QEvent>
#include <QMenu>
#include <QObject>
#include <QTest>

#include <functional>
#include <memory>

namespace tarn::console {

/// Meets the next dialog or menu that is shown, also where the code that opens it waits until it
/// is closed: looks at it once it is on the screen, and closes it unless the look has done that.
template<typename Popup>
class PopupMeeting : public QObject
{
public:
    using Look = std::function<void(Popup *)>;

    explicit PopupMeeting(Look look)
        : m_look(std::move(look))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

    bool isOver() const { return *m_over; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        auto *popup = event->type() == QEvent::Show ? qobject_cast<Popup *>(watched) : nullptr;
        if (popup && !m_begun) {
            m_begun = true;
            // Later, when it is being waited for; in its context, so that it still exists then.
            QMetaObject::invokeMethod(
                popup,
                [popup, look = m_look, over = m_over] {
                    look(popup);
                    popup->close();
                    *over = true;
                },
                Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    Look m_look;
    bool m_begun = false;
    std::shared_ptr<bool> m_over = std::make_shared<bool>(false);
};

/// Opens a dialog by the given function and looks at it. Returns whether there was one.
inline bool meetDialog(const std::function<void()> &open,
                       const std::function<void(QDialog *)> &look)
{
    const PopupMeeting<QDialog> meeting(look);
    open();
    return QTest::qWaitFor([&] { return meeting.isOver(); });
}

/// The same for a menu.
inline bool meetMenu(const std::function<void()> &open, const std::function<void(QMenu *)> &look)
{
    const PopupMeeting<QMenu> meeting(look);
    open();
    return QTest::qWaitFor([&] { return meeting.isOver(); });
}

} // namespace tarn::console
