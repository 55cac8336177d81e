#include "screen.h"

#include <QString>

#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xtest.h>

namespace tarn::benchmark {

using namespace std::chrono_literals;

namespace {

struct Freed
{
    void operator()(void *reply) const { std::free(reply); }
};
template<typename Reply>
using Owned = std::unique_ptr<Reply, Freed>;

constexpr xcb_keysym_t controlKey = 0xFFE3;

} // namespace

QRect Picture::differenceTo(const Picture &other) const
{
    QRect difference;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (at(x, y) != other.at(x, y))
                difference |= QRect(x, y, 1, 1);
        }
    }
    return difference;
}

Screen::Screen(qint64 processId)
    : m_connection(xcb_connect(nullptr, nullptr))
{
    if (xcb_connection_has_error(m_connection))
        qFatal("there is no X server");
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    const Owned<xcb_damage_query_version_reply_t> version(xcb_damage_query_version_reply(
        m_connection, xcb_damage_query_version(m_connection, 1, 1), nullptr));
    if (!version)
        qFatal("the X server does not report changes");
    m_window = windowOf(processId);
    const xcb_damage_damage_t damage = xcb_generate_id(m_connection);
    xcb_damage_create(m_connection, damage, m_window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    settle();
    const Owned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), nullptr));
    m_size = QSize(geometry->width, geometry->height);
}

Screen::~Screen()
{
    xcb_disconnect(m_connection);
}

xcb_window_t Screen::windowOf(qint64 processId)
{
    const std::string name = "_NET_WM_PID";
    const Owned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, false, uint16_t(name.size()), name.data()),
        nullptr));
    constexpr int patience = 1500;
    for (int i = 0; i < patience; ++i) {
        if (const xcb_window_t found = search(m_root, atom->atom, processId))
            return found;
        std::this_thread::sleep_for(20ms);
    }
    qFatal("the process has no window");
}

/// The window is inside a frame of the window manager.
xcb_window_t Screen::search(xcb_window_t parent, xcb_atom_t property, qint64 processId)
{
    const Owned<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, parent), nullptr));
    if (!tree)
        return XCB_WINDOW_NONE;
    const xcb_window_t *children = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = children[i];
        const Owned<xcb_get_property_reply_t> owner(xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, false, window, property, XCB_ATOM_CARDINAL, 0, 1),
            nullptr));
        const bool isOfProcess =
            owner && xcb_get_property_value_length(owner.get()) == int(sizeof(uint32_t))
            && *static_cast<const uint32_t *>(xcb_get_property_value(owner.get())) == processId;
        const Owned<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        const Owned<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
            m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        constexpr int smallest = 300;
        if (isOfProcess && geometry && geometry->width >= smallest && attributes
            && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            return window;
        if (const xcb_window_t found = search(window, property, processId))
            return found;
    }
    return XCB_WINDOW_NONE;
}

Picture Screen::pictureOf(const QRect &area)
{
    const auto request =
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_window, int16_t(area.x()),
                      int16_t(area.y()), uint16_t(area.width()), uint16_t(area.height()), ~0U);
    const Owned<xcb_get_image_reply_t> image(xcb_get_image_reply(m_connection, request, nullptr));
    if (!image)
        qFatal("the window is not on the screen");
    const auto *pixels = reinterpret_cast<const uint32_t *>(xcb_get_image_data(image.get()));
    return {area, {pixels, pixels + size_t(area.width()) * size_t(area.height())}};
}

bool Screen::waitForChange(std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    bool changed = false;
    for (;;) {
        while (Owned<xcb_generic_event_t>(xcb_poll_for_event(m_connection)))
            changed = true;
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (changed || rest <= 0ms)
            return changed;
        xcb_flush(m_connection);
        pollfd connection{xcb_get_file_descriptor(m_connection), POLLIN, 0};
        poll(&connection, 1, int(rest.count()));
        if (xcb_connection_has_error(m_connection))
            qFatal("the X server is gone");
    }
}

void Screen::settle()
{
    // Shorter than a caret is shown or hidden.
    while (waitForChange(350ms)) {
    }
}

/// Without Shift.
uint8_t Screen::codeOf(xcb_keysym_t key)
{
    if (const auto known = m_codes.find(key); known != m_codes.end())
        return known->second;
    const xcb_setup_t *setup = xcb_get_setup(m_connection);
    const int count = setup->max_keycode - setup->min_keycode + 1;
    const Owned<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
        m_connection, xcb_get_keyboard_mapping(m_connection, setup->min_keycode, uint8_t(count)),
        nullptr));
    const xcb_keysym_t *symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
    for (int i = 0; i < count; ++i) {
        if (symbols[i * mapping->keysyms_per_keycode] == key)
            return m_codes[key] = uint8_t(setup->min_keycode + i);
    }
    qFatal("the keyboard has no key 0x%x", key);
}

void Screen::send(uint8_t type, xcb_keysym_t key)
{
    xcb_test_fake_input(m_connection, type, codeOf(key), XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(m_connection);
}

void Screen::press(xcb_keysym_t key)
{
    send(XCB_KEY_PRESS, key);
}

void Screen::release(xcb_keysym_t key)
{
    send(XCB_KEY_RELEASE, key);
}

void Screen::pressWithControl(xcb_keysym_t key)
{
    press(controlKey);
    press(key);
    release(key);
    release(controlKey);
}

void Screen::focus()
{
    xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_PARENT, m_window, XCB_CURRENT_TIME);
    xcb_flush(m_connection);
}

} // namespace tarn::benchmark
