#pragma once

#include <QString>

#include <memory>
#include <vector>

class QAccessibleEvent;
class QWidget;

namespace tarn::console {

class Announcement;

/// Has the user's assistive technology say something, wherever the focus is.
class Voice
{
public:
    /// Speaks for the window, which must outlive the voice.
    explicit Voice(QWidget *window);
    ~Voice();

    /// Whether anybody listens. While nobody does, there is no need to find words.
    static bool isHeard();

    /// Whether assistive technology is to hear of an event of a widget while there is a voice.
    static bool isWorthPassing(QAccessibleEvent *event);

    /// Not to be called so often that one is not yet fetched when the fourth after it comes.
    void say(const QString &text);

private:
    QWidget *m_window;
    /// What was said last; none where Qt has an event for it.
    std::vector<std::unique_ptr<Announcement>> m_announcements;
    std::size_t m_next = 0;
};

} // namespace tarn::console
