#pragma once

#include <QRect>
#include <QtGlobal>

#include <chrono>
#include <map>
#include <vector>

#include <xcb/xcb.h>

namespace tarn::benchmark {

/// What is on a part of a window.
struct Picture
{
    QRect area;
    std::vector<uint32_t> pixels; ///< row by row

    uint32_t at(int x, int y) const
    {
        return pixels[size_t(y - area.top()) * size_t(area.width()) + size_t(x - area.left())];
    }
    /// The smallest rectangle with everything that is not the same in another of the same area.
    QRect differenceTo(const Picture &other) const;
};

/// The window of a process as an X client sees it that is neither the process nor its window
/// manager: what is on it, when that changes, and keys for whoever has the focus.
class Screen
{
public:
    /// Waits for the window of the process.
    explicit Screen(qint64 processId);
    ~Screen();
    Q_DISABLE_COPY_MOVE(Screen)

    QSize size() const { return m_size; }
    /// In coordinates of the window.
    Picture pictureOf(const QRect &area);

    /// Whether the window has changed since the last call, before the time is over.
    bool waitForChange(std::chrono::milliseconds patience);
    /// Until it has not changed for a while.
    void settle();

    void press(xcb_keysym_t key);
    void release(xcb_keysym_t key);
    /// Presses and releases a key, with Ctrl.
    void pressWithControl(xcb_keysym_t key);
    /// Gives the window the keyboard.
    void focus();

private:
    xcb_window_t windowOf(qint64 processId);
    xcb_window_t search(xcb_window_t parent, xcb_atom_t property, qint64 processId);
    uint8_t codeOf(xcb_keysym_t key);
    void send(uint8_t type, xcb_keysym_t key);

    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_WINDOW_NONE;
    xcb_window_t m_window = XCB_WINDOW_NONE;
    QSize m_size;
    std::map<xcb_keysym_t, uint8_t> m_codes;
};

} // namespace tarn::benchmark
