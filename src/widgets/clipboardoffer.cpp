#include "widgets/clipboardoffer.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <xcb/xcb.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <utility>

namespace tarn::console {

using namespace std::chrono_literals;

namespace {

struct Free
{
    void operator()(void *reply) const { std::free(reply); }
};
template<typename Reply>
using ReplyPointer = std::unique_ptr<Reply, Free>;

/// What Qt takes for text, as QMimeData::hasText() says: plain text by its several names, and
/// files.
constexpr const char *textFormats[] = {
    "UTF8_STRING", "STRING", "TEXT", "text/plain", "text/uri-list", "text/x-moz-url",
};

/// A question of ours that is never answered leaves a window: no more than so many.
constexpr qsizetype mostQuestions = 16;
/// Nobody offers more formats; the rest of a longer list is left where it is.
constexpr quint32 mostFormats = 16 * 1024;
constexpr auto shortWait = 100ms;

xcb_connection_t *x11Connection()
{
#if QT_CONFIG(xcb)
    if (auto *x11 = qApp->nativeInterface<QNativeInterface::QX11Application>())
        return x11->connection();
#endif
    return nullptr;
}

quint32 atom(xcb_connection_t *connection, const char *name)
{
    const auto length = static_cast<quint16>(qstrlen(name));
    const ReplyPointer<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, xcb_intern_atom(connection, 0, length, name), nullptr));
    return reply ? reply->atom : quint32(XCB_ATOM_NONE);
}

/// The clipboard's content, if another application has it; those of Qt's own are plain QMimeData.
bool isForeign(const QMimeData *content)
{
    return content && content->inherits("QInternalMimeData");
}

} // namespace

ClipboardOffer::ClipboardOffer(QObject *parent)
    : QObject(parent)
    , m_connection(x11Connection())
{
    if (m_connection) {
        m_textFormats.append(atom(m_connection, "TARGETS"));
        for (const char *format : textFormats)
            m_textFormats.append(atom(m_connection, format));
        qApp->installNativeEventFilter(this);
    }
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this,
            &ClipboardOffer::forgetAndAsk);
    ask();
}

ClipboardOffer::~ClipboardOffer()
{
    for (const quint32 window : std::as_const(m_questions))
        xcb_destroy_window(m_connection, window);
}

bool ClipboardOffer::hasText() const
{
    const QMimeData *content = QGuiApplication::clipboard()->mimeData();
    if (m_connection && isForeign(content))
        return m_answer.value_or(true);
    return content && content->hasText();
}

bool ClipboardOffer::isSilent() const
{
    return m_asked.isValid() && m_asked.hasExpired(shortWait.count());
}

void ClipboardOffer::forgetAndAsk()
{
    ask();
    Q_EMIT changed();
}

/// A window of its own for each question: an answer names its window, so that late answers of an
/// earlier owner are told from those of the current one. A window lives until its answer comes, for
/// the owner would get an error, and might die of it, if the window that it answers were gone.
void ClipboardOffer::ask()
{
    m_answer.reset();
    m_asked.invalidate();
    if (!m_connection || !isForeign(QGuiApplication::clipboard()->mimeData()))
        return;
    if (m_questions.size() == mostQuestions)
        xcb_destroy_window(m_connection, m_questions.takeFirst());

    const quint32 window = xcb_generate_id(m_connection);
    const quint32 root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    const quint32 targets = m_textFormats.constFirst();
    xcb_convert_selection(m_connection, window, atom(m_connection, "CLIPBOARD"), targets, targets,
                          XCB_CURRENT_TIME);
    xcb_flush(m_connection);
    m_questions.append(window);
    m_asked.start();
}

bool ClipboardOffer::nativeEventFilter(const QByteArray &eventType, void *message,
                                       qintptr * /*result*/)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    constexpr quint8 sentByAClient = 0x80;
    const auto *event = static_cast<xcb_generic_event_t *>(message);
    if ((event->response_type & ~sentByAClient) != XCB_SELECTION_NOTIFY)
        return false;
    const auto *answer = static_cast<xcb_selection_notify_event_t *>(message);
    if (!m_questions.contains(answer->requestor))
        return false;

    if (answer->requestor == m_questions.constLast() && m_asked.isValid()) {
        read(answer->requestor, answer->property);
        m_asked.invalidate();
        Q_EMIT answered();
    }
    xcb_destroy_window(m_connection, answer->requestor);
    m_questions.removeOne(answer->requestor);
    return true;
}

/// Who refuses to say what there is has nothing that Qt could paste.
void ClipboardOffer::read(quint32 window, quint32 property)
{
    m_answer = false;
    if (property == XCB_ATOM_NONE)
        return;
    const ReplyPointer<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(m_connection,
                               xcb_get_property(m_connection, 0, window, property,
                                                XCB_GET_PROPERTY_TYPE_ANY, 0, mostFormats),
                               nullptr));
    if (!reply)
        return;
    if (reply->type == atom(m_connection, "INCR")) {
        m_answer = true; // It comes piece by piece, if at all; nobody needs to know so much.
        return;
    }
    const auto *formats = static_cast<quint32 *>(xcb_get_property_value(reply.get()));
    const int count = xcb_get_property_value_length(reply.get()) / int(sizeof(quint32));
    m_answer = offersText(formats, count);
}

bool ClipboardOffer::offersText(const quint32 *formats, int count) const
{
    return std::any_of(formats, formats + count, [this](quint32 format) {
        return format != XCB_ATOM_NONE && m_textFormats.indexOf(format, 1) > 0;
    });
}

} // namespace tarn::console
