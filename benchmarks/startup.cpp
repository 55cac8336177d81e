// From the start of a process to the first picture in its window, for the console and for a bare
// window with a text in it. Measured from outside, as an X client that watches all windows.

#include "measuring.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <set>

#include <xcb/damage.h>
#include <xcb/xcb.h>

using namespace tarn::benchmark;

namespace {

struct Freed
{
    void operator()(void *reply) const { std::free(reply); }
};
template<typename Reply>
using Owned = std::unique_ptr<Reply, Freed>;

/// Sees windows appear and change.
class Watcher
{
public:
    Watcher()
        : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection))
            qFatal("there is no X server");
        m_damageEvent = xcb_get_extension_data(m_connection, &xcb_damage_id)->first_event;
        const Owned<xcb_damage_query_version_reply_t> version(xcb_damage_query_version_reply(
            m_connection, xcb_damage_query_version(m_connection, 1, 1), nullptr));
        if (!version)
            qFatal("the X server does not report changes");
        const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(
            m_connection, xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root,
            XCB_CW_EVENT_MASK, &events);
        m_processId = atomNamed("_NET_WM_PID");
        // Everything has arrived when the answer comes.
        windowProcess(XCB_WINDOW_NONE);
    }
    ~Watcher() { xcb_disconnect(m_connection); }
    Q_DISABLE_COPY_MOVE(Watcher)

    /// Returns when a large window of the process shows more than its background.
    void waitForPicture(qint64 processId)
    {
        while (const Owned<xcb_generic_event_t> event{xcb_wait_for_event(m_connection)}) {
            const int type = event->response_type & 0x7f;
            if (type == XCB_CREATE_NOTIFY)
                watch(reinterpret_cast<const xcb_create_notify_event_t *>(event.get())->window);
            else if (type == m_damageEvent + XCB_DAMAGE_NOTIFY
                     && hasPicture(
                         *reinterpret_cast<const xcb_damage_notify_event_t *>(event.get()),
                         processId))
                return;
        }
        qFatal("the X server is gone");
    }

private:
    xcb_atom_t atomNamed(const char *name)
    {
        const auto length = uint16_t(std::char_traits<char>::length(name));
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            m_connection, xcb_intern_atom(m_connection, false, length, name), nullptr));
        return reply->atom;
    }

    void watch(xcb_window_t window)
    {
        const xcb_damage_damage_t damage = xcb_generate_id(m_connection);
        xcb_damage_create(m_connection, damage, window, XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
        xcb_flush(m_connection);
    }

    /// 0 for a window that does not say so, such as a frame of the window manager.
    qint64 windowProcess(xcb_window_t window)
    {
        const auto request =
            xcb_get_property(m_connection, false, window, m_processId, XCB_ATOM_CARDINAL, 0, 1);
        xcb_generic_error_t *error = nullptr;
        const Owned<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(m_connection, request, &error));
        std::free(error);
        if (!reply || xcb_get_property_value_length(reply.get()) < int(sizeof(uint32_t)))
            return 0;
        return *static_cast<const uint32_t *>(xcb_get_property_value(reply.get()));
    }

    bool hasPicture(const xcb_damage_notify_event_t &event, qint64 processId)
    {
        xcb_damage_subtract(m_connection, event.damage, XCB_NONE, XCB_NONE);
        xcb_flush(m_connection);
        constexpr int smallest = 300;
        return event.geometry.width >= smallest && event.geometry.height >= smallest
               && windowProcess(event.drawable) == processId && hasManyColours(event);
    }

    bool hasManyColours(const xcb_damage_notify_event_t &event)
    {
        const auto request = xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, event.drawable,
                                           0, 0, event.geometry.width, event.geometry.height, ~0U);
        xcb_generic_error_t *error = nullptr;
        const Owned<xcb_get_image_reply_t> image(
            xcb_get_image_reply(m_connection, request, &error));
        std::free(error);
        if (!image)
            return false; // not yet on the screen
        const auto *pixels = reinterpret_cast<const uint32_t *>(xcb_get_image_data(image.get()));
        const std::set<uint32_t> colours(
            pixels, pixels + size_t(event.geometry.width) * event.geometry.height);
        constexpr size_t background = 2;
        return colours.size() > background;
    }

    xcb_connection_t *m_connection;
    int m_damageEvent = 0;
    xcb_atom_t m_processId = XCB_ATOM_NONE;
};

Milliseconds timeStart(const QString &program)
{
    const QTemporaryDir home;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home.path());
    environment.remove(u"XDG_CONFIG_HOME"_s);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    Watcher watcher;
    const Milliseconds time = timeOf([&] {
        process.start(program, QStringList());
        if (!process.waitForStarted(-1))
            qFatal("%s does not start", qPrintable(program));
        watcher.waitForPicture(process.processId());
    });
    process.terminate();
    process.waitForFinished(-1);
    return time;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const Options options =
        parseOptions(u"Compares the start of the console with that of a bare window."_s, 15);
    Report report(u"startup: from the start of the process to the first picture"_s);
    const auto times = alternate(
        options.repetitions, [] { return timeStart(QStringLiteral(TARN_CONSOLE)); },
        [] { return timeStart(QStringLiteral(TARN_BARE_WINDOW)); });
    report.compare(u"the console, against a window with a QTextEdit"_s, median(times.first),
                   median(times.second), 1.15);
    return report.finish(options.jsonFile);
}
